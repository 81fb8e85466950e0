// kpkp end to end: the generator solves it with every table its promotions
// and captures lead into (some twenty four-man tables, which is why this
// test is a long one), and each of its en-passant positions, with a sample
// of the others, must agree with one ply of the reference move generator,
// which knows en passant and promotion on its own.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "tablebase/registry.h"
#include "tablebase/table_probe.h"
#include "tbgen/tb_solver.h"

namespace {

TEST(EnPassantTable, KpkpFollowsFromOnePly) {
  char name[] = "/tmp/quorl-kpkp-XXXXXX";
  const std::string folder = mkdtemp(name);
  const int row = tb_row_by_name("kpkp");
  tbgen::Solve(row);
  for (int solved : tbgen::SolvedRows()) ASSERT_TRUE(tbgen::WriteTable(tbgen::Solve(solved), folder, false));
  UseTablebaseCache(8 << 20);
  ASSERT_EQ(RegisterTablebases(folder.c_str()), 4);
  // The en-passant positions follow 81664 first-pawn places times 47.
  constexpr uint64_t EN_PASSANT_START = 3838208;
  for (int side = 0; side < 2; ++side)
    for (uint64_t index = side; index < TB_ROW_SIZES[row][side]; index += index < EN_PASSANT_START ? 61 : 1)
      ASSERT_EQ(table_probe::CheckOnePly(row, side, index), "");
  std::system(("rm -rf " + folder).c_str());
}

}  // namespace
