// Masks of the limited quiet lists: the colour flip, and which row each
// material stage selects (the generator checks the entries themselves).
#include "board/quiet_masks.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "board/attacks.h"
#include "board/position.h"
#include "board/reference_moves.h"

namespace {

// Taken while the program's own globals are initialised, before any test can
// have run a selection.
const QuietMasks kMasksAtStartup[2] = {quiet_masks[WHITE], quiet_masks[BLACK]};

// Rank flip bit by bit, apart from the program's own.
Bitboard Flip(Bitboard b) {
  Bitboard out = 0;
  for (int s = 0; s < 64; ++s)
    if (b >> s & 1) out |= Bitboard(1) << ((7 - s / 8) * 8 + s % 8);
  return out;
}

constexpr int ROW_UNDER_6 = 0, ROW_6_TO_11 = 1, ROW_12_TO_17 = 2, ROW_18_ON = 3;

const Bitboard kKnightOrigins[4] = {0xffc3818181818181ull, 0xffe78181c3e7c3ffull, 0xffe7c3c3ffffffffull,
                                    0xffe742e7ffffe7c3ull};
const Bitboard kPawnOrigins[4] = {0xffffff000000ull, 0xffffff000000ull, 0xffff18000000ull, 0xff3c00000000ull};

TEST(QuietMasks, BlackTablesAreRankFlipsOfWhite) {
  for (int s = 0; s < 64; ++s) {
    const int mirror = (7 - s / 8) * 8 + s % 8;
    for (int row = 0; row < QUIET_STAGE_ROWS; ++row) {
      EXPECT_EQ(QUIET_KNIGHT_TARGETS[BLACK][row][mirror], Flip(QUIET_KNIGHT_TARGETS[WHITE][row][s]))
          << "row " << row << " square " << s;
      EXPECT_EQ(QUIET_KING_TARGETS[BLACK][row][mirror], Flip(QUIET_KING_TARGETS[WHITE][row][s]))
          << "row " << row << " square " << s;
    }
    for (int row = 0; row < GAIN_KNIGHT_ROWS; ++row)
      EXPECT_EQ(GAIN_KNIGHT_TARGETS[BLACK][row][mirror], Flip(GAIN_KNIGHT_TARGETS[WHITE][row][s]))
          << "gain row " << row << " square " << s;
  }
}

// A selection's masks for one colour must be exactly those of `row` and `gainRow`.
void ExpectRow(int stage, int row, int gainRow) {
  SelectQuietMasks(stage);
  for (int c = 0; c < 2; ++c) {
    const QuietMasks& m = quiet_masks[c];
    const std::string where = "stage " + std::to_string(stage) + " colour " + std::to_string(c);
    EXPECT_EQ(m.knightOrigins, c == WHITE ? kKnightOrigins[row] : Flip(kKnightOrigins[row])) << where;
    EXPECT_EQ(m.pawnOrigins, c == WHITE ? kPawnOrigins[row] : Flip(kPawnOrigins[row])) << where;
    EXPECT_EQ(m.knightTargets, QUIET_KNIGHT_TARGETS[c][row]) << where;
    EXPECT_EQ(m.kingTargets, QUIET_KING_TARGETS[c][row]) << where;
    EXPECT_EQ(m.gainKnightTargets, GAIN_KNIGHT_TARGETS[c][gainRow]) << where;
  }
}

TEST(QuietMasks, StartsWithTheRowOf18AndOver) {
  for (int c = 0; c < 2; ++c) {
    const QuietMasks& m = kMasksAtStartup[c];
    EXPECT_EQ(m.knightOrigins, c == WHITE ? kKnightOrigins[ROW_18_ON] : Flip(kKnightOrigins[ROW_18_ON]));
    EXPECT_EQ(m.pawnOrigins, c == WHITE ? kPawnOrigins[ROW_18_ON] : Flip(kPawnOrigins[ROW_18_ON]));
    EXPECT_EQ(m.knightTargets, QUIET_KNIGHT_TARGETS[c][ROW_18_ON]);
    EXPECT_EQ(m.kingTargets, QUIET_KING_TARGETS[c][ROW_18_ON]);
    EXPECT_EQ(m.gainKnightTargets, GAIN_KNIGHT_TARGETS[c][1]);
  }
}

TEST(QuietMasks, SelectionFollowsTheStageBoundaries) {
  ExpectRow(0, ROW_UNDER_6, 0);
  ExpectRow(5, ROW_UNDER_6, 0);
  ExpectRow(6, ROW_6_TO_11, 0);
  ExpectRow(11, ROW_6_TO_11, 0);
  ExpectRow(12, ROW_12_TO_17, 1);
  ExpectRow(17, ROW_12_TO_17, 1);
  ExpectRow(18, ROW_18_ON, 1);
  ExpectRow(24, ROW_18_ON, 1);
  ExpectRow(40, ROW_18_ON, 1);
  SelectQuietMasks(24);
}

int StageOf(const std::string& fen) {
  reference::Board board;
  EXPECT_TRUE(board.SetFen(fen)) << fen;
  auto record = std::make_unique<Position>();
  board.FillRecord(record.get());
  return MaterialStage(*record);
}

TEST(QuietMasks, MaterialStageCountsPiecesOfBothSides) {
  EXPECT_EQ(StageOf("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -"), 24);
  EXPECT_EQ(StageOf("4k3/pppppppp/8/8/8/8/PPPPPPPP/4K3 w - -"), 0);
  EXPECT_EQ(StageOf("4k3/8/8/8/8/8/8/R3K2R w KQ -"), 4);
  EXPECT_EQ(StageOf("r1b1k3/8/8/8/8/8/8/3QK1N1 w - -"), 2 + 1 + 4 + 1);
  EXPECT_EQ(StageOf("3qk3/8/8/8/8/8/8/3QKN2 w - -"), 4 + 4 + 1);
  EXPECT_EQ(StageOf("4k1n1/8/8/8/8/8/8/2B1K3 w - -"), 2);
}

}  // namespace
