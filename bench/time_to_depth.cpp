// Time to depth: every position of a fixed set searched to a fixed depth by a
// pool of one process and by a pool of two, on a fresh table each time. The
// figure is the geometric mean of the ratio of the times: how much sooner two
// processes sharing one table reach the same depth.
//
// Usage: quorl_time_to_depth [depth [positions file]]   (whole plies)
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "support/engine_process.h"

namespace {

using quorl_test::EngineProcess;
using Clock = std::chrono::steady_clock;

constexpr int DEFAULT_DEPTH = 14;
constexpr int REPLY_MS = 600000;

struct Result {
  double ms = 0;
  std::string nodes = "?";
};

bool Await(EngineProcess& engine, const std::string& prefix, std::string* last_nodes = nullptr) {
  while (auto line = engine.read_line(REPLY_MS)) {
    const size_t at = line->find(" nodes ");
    if (last_nodes && at != std::string::npos) *last_nodes = line->substr(at + 7, line->find(' ', at + 7) - at - 7);
    if (line->compare(0, prefix.size(), prefix) == 0) return true;
  }
  return false;
}

// One search to `depth` from a cleared table; false when the engine failed.
bool Search(EngineProcess& engine, const std::string& fen, int depth, Result* result) {
  if (!engine.send("ucinewgame\nposition fen " + fen + "\nisready\n") || !Await(engine, "readyok")) return false;
  const Clock::time_point start = Clock::now();
  if (!engine.send("go depth " + std::to_string(depth) + "\n")) return false;
  if (!Await(engine, "bestmove", &result->nodes)) return false;
  result->ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const int depth = argc > 1 ? std::atoi(argv[1]) : DEFAULT_DEPTH;
  std::ifstream file(argc > 2 ? argv[2] : QUORL_TIME_TO_DEPTH_POSITIONS);
  std::vector<std::string> fens;
  for (std::string line; std::getline(file, line);)
    if (!line.empty() && line[0] != '#') fens.push_back(line);
  if (depth < 1 || fens.empty()) {
    std::fprintf(stderr, "usage: %s [depth [positions file]]\n", argv[0]);
    return 2;
  }
  // "0 n": no outside table, n processors.
  EngineProcess one(QUORL_BINARY, {QUORL_BINARY, "0", "1"});
  EngineProcess two(QUORL_BINARY, {QUORL_BINARY, "0", "2"});
  if (!one.started() || !two.started()) {
    std::fprintf(stderr, "cannot start %s\n", QUORL_BINARY);
    return 1;
  }
  std::printf("Time to depth %d, %zu positions: 1 process against 2\n", depth, fens.size());
  std::printf("%3s %10s %10s %12s %12s %7s\n", "#", "ms 1", "ms 2", "nodes 1", "nodes 2", "ratio");
  double log_sum = 0;
  for (size_t i = 0; i < fens.size(); ++i) {
    Result single, pair;
    if (!Search(one, fens[i], depth, &single) || !Search(two, fens[i], depth, &pair)) {
      std::fprintf(stderr, "the engine failed on %s\n", fens[i].c_str());
      return 1;
    }
    const double ratio = single.ms / (pair.ms > 0 ? pair.ms : 1);
    log_sum += std::log(ratio);
    std::printf("%3zu %10.0f %10.0f %12s %12s %7.2f\n", i + 1, single.ms, pair.ms, single.nodes.c_str(),
                pair.nodes.c_str(), ratio);
  }
  std::printf("Speed-up of 2 processes (geometric mean of the time ratios): %.2f\n",
              std::exp(log_sum / double(fens.size())));
  one.send("quit\n");
  two.send("quit\n");
  return 0;
}
