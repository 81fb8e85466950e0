// Game moves as the position command applies them, against the reference
// board over random games.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "board/keys.h"
#include "board/make_move.h"
#include "board/move.h"
#include "board/position.h"
#include "board/reference_moves.h"

namespace {

std::string engine_fen() {
  char buffer[128];
  WriteFen(buffer);
  return buffer;
}

TEST(GameMove, RandomGamesFollowTheReferenceBoard) {
  const char* starts[] = {
      START_FEN,
      "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
      "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -",
      "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
      "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -",
  };
  std::mt19937_64 rng(20261121);
  int moves_checked = 0;
  for (int game = 0; game < 200; ++game) {
    const char* start = starts[game % 5];
    reference::Board board;
    ASSERT_TRUE(board.SetFen(start));
    ASSERT_EQ(SetPositionFromFen(start), 1);
    uint64_t keys[400];
    for (int ply = 0; ply < 300; ++ply) {
      std::string text;
      keys[ply] = position.state.key;
      if (!board.PlayRandom(rng, &text)) break;
      ApplyGameMove(TextToMove(text.c_str(), true));
      // The incremental key is exact before any rebuild.
      ASSERT_EQ(position.state.key, PositionKey(&position, sideToMove)) << start << " " << text;
      uint64_t key = position.state.key;
      RebuildDerived(&position);
      ASSERT_EQ(position.state.key, key);
      ASSERT_EQ(engine_fen(), board.Fen(false)) << "after " << text;
      ASSERT_TRUE(IsPositionConsistent()) << board.Fen(false);
      ASSERT_EQ(position.state.historyCount, uint32_t(ply + 1));
      for (int i = 0; i <= ply; ++i) ASSERT_EQ(position.keyHistory[i], keys[i]);
      ++moves_checked;
    }
  }
  EXPECT_GT(moves_checked, 20000);
}

TEST(GameMove, PassFlipsTheSideAndResetsTheCounter) {
  ASSERT_EQ(SetPositionFromFen("4k3/8/8/8/8/8/8/4K2R w K -"), 1);
  ApplyGameMove(TextToMove("h1h2", true));
  uint64_t before = position.state.key;
  ApplyGameMove(0);
  EXPECT_EQ(sideToMove, WHITE);
  EXPECT_EQ(position.state.fiftyCount, 0u);
  EXPECT_EQ(position.state.key, before ^ SIDE_KEY);
  EXPECT_EQ(position.keyHistory[1], before);
}

}  // namespace
