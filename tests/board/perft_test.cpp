// Perft of the classic positions against the published figures, counted by
// the engine's own producers and by the reference generator that the other
// tests measure against; the deep counts are in perft_long_test.cpp.
#include <gtest/gtest.h>

#include <cstdint>

#include "board/position.h"
#include "board/producer_harness.h"
#include "board/reference_moves.h"

namespace {

struct PerftCase {
  const char* fen;
  int depth;
  uint64_t nodes;
};

TEST(Perft, ClassicPositionsByTheProducersAndByTheReference) {
  const PerftCase cases[] = {
      {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", 4, 197281},
      {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -", 3, 97862},
      {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -", 5, 674624},
      {"r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -", 4, 422333},
      {"r2q1rk1/pP1p2pp/Q4n2/bbp1p3/Np6/1B3NBn/pPPP1PPP/R3K2R b KQ -", 4, 422333},
      {"rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -", 3, 62379},
      {"r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - -", 3, 89890},
  };
  for (const PerftCase& c : cases) {
    ASSERT_EQ(SetPositionFromFen(c.fen), 1) << c.fen;
    EXPECT_EQ(harness::EnginePerft(sideToMove, c.depth), c.nodes) << c.fen << " depth " << c.depth;
    reference::Board board;
    ASSERT_TRUE(board.SetFen(c.fen)) << c.fen;
    EXPECT_EQ(board.Perft(c.depth), c.nodes) << "reference, " << c.fen << " depth " << c.depth;
  }
}

}  // namespace
