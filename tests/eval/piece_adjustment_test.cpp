// The piece options become a correction per man: the total from the board and
// the swap of the options in play mode. Make and unmake carry the total; the
// make/unmake test follows it through random games.
#include <gtest/gtest.h>


#include "board/position.h"
#include "eval/eval_settings.h"

namespace {

class PieceAdjustments : public ::testing::Test {
 protected:
  void SetUp() override { eval_settings = EvalSettings{}; }
  void TearDown() override {
    eval_settings = EvalSettings{};
    SetPositionFromFen(START_FEN);
    ApplyPieceAdjustments(false);
  }
};

TEST_F(PieceAdjustments, TotalOverTheBoard) {
  SetPositionFromFen(START_FEN);
  // Defaults: every option 0 less its fixed part, the same for both sides.
  ApplyPieceAdjustments(false);
  EXPECT_EQ(position.state.materialAdjust, 0);

  // White's pawns at 130 gain 100 each over the fixed 30; Black's at 0 lose
  // their 30 each, which counts for White.
  eval_settings.pieceMillipawns[WHITE_PAWN_OPTION] = 130;
  ApplyPieceAdjustments(false);
  EXPECT_EQ(position.state.materialAdjust, 8 * 100 + 8 * 30);

  // Bishops count by the colour of their square: f1 and c8 stand on light
  // squares, c1 and f8 on dark ones.
  eval_settings = EvalSettings{};
  eval_settings.pieceMillipawns[WHITE_LIGHT_BISHOP_OPTION] = 190;
  ApplyPieceAdjustments(false);
  EXPECT_EQ(position.state.materialAdjust, 100 - 90 + 90 + 90);

  eval_settings = EvalSettings{};
  eval_settings.scoreOffset = 25;
  ApplyPieceAdjustments(false);
  EXPECT_EQ(position.state.materialAdjust, 25);
}

TEST_F(PieceAdjustments, PlayModeMakesWhiteOptionsTheEnginesOwn) {
  SetPositionFromFen("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq -");
  eval_settings.pieceMillipawns[WHITE_PAWN_OPTION] = 130;
  eval_settings.scoreOffset = 25;
  // Outside play mode the options speak of White's men.
  ApplyPieceAdjustments(false);
  EXPECT_EQ(play_mode_sign, 1);
  EXPECT_EQ(position.state.materialAdjust, 8 * 100 + 8 * 30 + 25);
  // In a game with Black to move they speak of Black's: the same total from
  // the other side.
  ApplyPieceAdjustments(true);
  EXPECT_EQ(play_mode_sign, -1);
  EXPECT_EQ(position.state.materialAdjust, -(8 * 100 + 8 * 30 + 25));
  // White to move in play mode: no swap.
  SetPositionFromFen(START_FEN);
  ApplyPieceAdjustments(true);
  EXPECT_EQ(play_mode_sign, 1);
  EXPECT_EQ(position.state.materialAdjust, 8 * 100 + 8 * 30 + 25);
}

}  // namespace
