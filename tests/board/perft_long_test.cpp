// The deep perft figures: tens of seconds, so they run as their own test
// binary under the label "long"; `make test` runs them too.
#include <gtest/gtest.h>

#include <cstdint>

#include "board/position.h"
#include "board/producer_harness.h"

namespace {

uint64_t Count(const char* fen, int depth) {
  const int side = SetPositionFromFen(fen) ? sideToMove : -1;
  EXPECT_GE(side, 0) << fen;
  return harness::EnginePerft(side, depth);
}

TEST(PerftDeep, StartPositionToDepthSix) {
  EXPECT_EQ(Count("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", 6), 119060324u);
}

TEST(PerftDeep, KiwipeteToDepthFive) {
  EXPECT_EQ(Count("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -", 5), 193690690u);
}

TEST(PerftDeep, PositionsThreeToSix) {
  EXPECT_EQ(Count("8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -", 7), 178633661u);
  EXPECT_EQ(Count("r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -", 5), 15833292u);
  EXPECT_EQ(Count("rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -", 5), 89941194u);
  EXPECT_EQ(Count("r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - -", 5), 164075551u);
}

}  // namespace
