// Masks of the limited quiet lists: which row each material stage selects
// (the generator writes the entries and Black's rank-flipped copies).
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

Bitboard Flip(Bitboard b) { return __builtin_bswap64(b); }  // ranks reversed

constexpr int ROW_UNDER_6 = 0, ROW_6_TO_11 = 1, ROW_12_TO_17 = 2, ROW_18_ON = 3;

const Bitboard kKnightOrigins[4] = {0xffc3818181818181ull, 0xffe78181c3e7c3ffull, 0xffe7c3c3ffffffffull,
                                    0xffe742e7ffffe7c3ull};
const Bitboard kPawnOrigins[4] = {0xffffff000000ull, 0xffffff000000ull, 0xffff18000000ull, 0xff3c00000000ull};

// The masks in force, for both colours, must be exactly those of `row` and
// `gainRow`.
void ExpectRow(const QuietMasks (&masks)[2], int row, int gainRow, const std::string& where) {
  for (int c = 0; c < 2; ++c) {
    const QuietMasks& m = masks[c];
    SCOPED_TRACE(where + " colour " + std::to_string(c));
    EXPECT_EQ(m.knightOrigins, c == WHITE ? kKnightOrigins[row] : Flip(kKnightOrigins[row]));
    EXPECT_EQ(m.pawnOrigins, c == WHITE ? kPawnOrigins[row] : Flip(kPawnOrigins[row]));
    EXPECT_EQ(m.knightTargets, QUIET_KNIGHT_TARGETS[c][row]);
    EXPECT_EQ(m.kingTargets, QUIET_KING_TARGETS[c][row]);
    EXPECT_EQ(m.gainKnightTargets, GAIN_KNIGHT_TARGETS[c][gainRow]);
  }
}

// The program starts with the row of 18 and over; each selection follows the
// stage boundaries.
TEST(QuietMasks, SelectionFollowsTheStageBoundaries) {
  ExpectRow(kMasksAtStartup, ROW_18_ON, 1, "at startup");
  const int rows[][3] = {{0, ROW_UNDER_6, 0},    {5, ROW_UNDER_6, 0},  {6, ROW_6_TO_11, 0},
                         {11, ROW_6_TO_11, 0},   {12, ROW_12_TO_17, 1}, {17, ROW_12_TO_17, 1},
                         {18, ROW_18_ON, 1},     {24, ROW_18_ON, 1},   {40, ROW_18_ON, 1}};
  for (const auto& [stage, row, gainRow] : rows) {
    SelectQuietMasks(stage);
    ExpectRow(quiet_masks, row, gainRow, "stage " + std::to_string(stage));
  }
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
