// Perft from the engine's own producers against the published figures,
// shallow enough for every run; the deep counts are in perft_long_test.cpp.
#include <gtest/gtest.h>

#include <cstdint>

#include "board/position.h"
#include "board/producer_harness.h"

namespace {

struct PerftCase {
  const char* fen;
  int depth;
  uint64_t nodes;
};

uint64_t Count(const char* fen, int depth) {
  const int side = SetPositionFromFen(fen) ? sideToMove : -1;
  EXPECT_GE(side, 0) << fen;
  return harness::EnginePerft(side, depth);
}

// Shallow figures: every position, quickly.
TEST(Perft, ShallowFiguresOfTheClassicPositions) {
  const PerftCase cases[] = {
      {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", 4, 197281},
      {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -", 3, 97862},
      {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -", 5, 674624},
      {"r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -", 4, 422333},
      {"r2q1rk1/pP1p2pp/Q4n2/bbp1p3/Np6/1B3NBn/pPPP1PPP/R3K2R b KQ -", 4, 422333},
      {"rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -", 3, 62379},
      {"r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - -", 3, 89890},
  };
  for (const PerftCase& c : cases) EXPECT_EQ(Count(c.fen, c.depth), c.nodes) << c.fen << " depth " << c.depth;
}

}  // namespace
