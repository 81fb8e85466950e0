// quorl-tbgen: solves endings of up to four men and writes them as table
// files.
//
// Usage: quorl-tbgen [--compressed] FOLDER ENDING...
//   ENDING is a table name such as kqk or kbnk, or "all" for every ending of
//   three and four men. The tables that captures and promotions lead into
//   are solved too, but only the named ones are written.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <vector>

#include "tablebase/tb_rows.h"
#include "tbgen/tb_solver.h"

int main(int argc, char** argv) {
  int arg = 1;
  const bool compressed = arg < argc && !std::strcmp(argv[arg], "--compressed");
  if (compressed) ++arg;
  if (argc - arg < 2) {
    std::fprintf(stderr, "usage: quorl-tbgen [--compressed] FOLDER ENDING...\n");
    return 2;
  }
  const char* folder = argv[arg++];
  std::vector<int> rows;
  for (; arg < argc; ++arg) {
    if (!std::strcmp(argv[arg], "all")) {
      for (int row = 1; row < TB_ROWS && tb_row_men(row).men <= 4; ++row) rows.push_back(row);
      continue;
    }
    const int row = tb_row_by_name(argv[arg]);
    if (!row || tb_row_men(row).men > 4) {
      std::fprintf(stderr, "quorl-tbgen: %s is not an ending of three or four men\n", argv[arg]);
      return 2;
    }
    rows.push_back(row);
  }
  for (int row : rows) {
    const auto start = std::chrono::steady_clock::now();
    const tbgen::Table& table = tbgen::Solve(row);
    if (!tbgen::WriteTable(table, folder, compressed)) {
      std::fprintf(stderr, "quorl-tbgen: cannot write %s into %s\n", tb_row_name(row), folder);
      return 1;
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("%s written (%.2f s)\n", tb_row_name(row), seconds);
  }
  return 0;
}
