// The piece options become a correction per man that make and unmake carry:
// the total from the board, the swap of the options in play mode, and the
// running total kept through captures and promotions of random games.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "board/make_move.h"
#include "board/move.h"
#include "board/position.h"
#include "board/reference_moves.h"
#include "clock/node_count.h"
#include "eval/eval_settings.h"
#include "eval/node_record.h"

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

TEST_F(PieceAdjustments, MakeAndUnmakeKeepTheTotal) {
  // Values that differ for every kind, so that any mixed-up index shows.
  const int32_t values[PIECE_OPTION_COUNT] = {37, 23, 101, 77, 211, 153, 49, 5, 307, 129, 613, 401};
  for (int i = 0; i < PIECE_OPTION_COUNT; ++i) eval_settings.pieceMillipawns[i] = values[i];
  eval_settings.scoreOffset = 11;
  const PeriodicCheckHold hold;  // no input is read in the middle of this
  std::mt19937_64 rng(2024);
  int captures = 0, promotions = 0;
  for (int game = 0; game < 40; ++game) {
    reference::Board board;
    SetPositionFromFen(START_FEN);
    ApplyPieceAdjustments(false);
    for (int ply = 0; ply < 160; ++ply) {
      const std::vector<reference::RefMove> moves = board.LegalMoves();
      if (moves.empty()) break;
      const reference::RefMove ref = moves[rng() % moves.size()];
      const std::string text = reference::MoveText(ref);
      captures += board.ManAt(ref.to) != 0;
      promotions += ref.promotion != 0;
      const Move m = TextToMove(text.c_str(), true);
      NodeRecord node{};
      SavedState saved;
      const int32_t before = position.state.materialAdjust;
      if (board.Side() == 0) MakeMove<WHITE>(m, &saved, &node);
      else MakeMove<BLACK>(m, &saved, &node);
      board.Play(ref);
      const int32_t running = position.state.materialAdjust;
      ApplyPieceAdjustments(false);  // recomputed from the board
      // A pawn that becomes a bishop takes the bishop's light-square step
      // wherever it stands, as the material word does.
      int32_t drift = 0;
      if (ref.promotion == reference::BISHOP && (DARK_SQUARES >> ref.to & 1))
        drift = board.Side() == 1 ? values[WHITE_LIGHT_BISHOP_OPTION] - values[WHITE_DARK_BISHOP_OPTION]
                                  : values[BLACK_DARK_BISHOP_OPTION] - values[BLACK_LIGHT_BISHOP_OPTION];
      ASSERT_EQ(running, position.state.materialAdjust + drift) << board.Fen() << " after " << text;
      // Unmake gives the old total back, and the move is made again to go on.
      if (board.Side() == 1) UnmakeMove<WHITE>(m, &saved);
      else UnmakeMove<BLACK>(m, &saved);
      ASSERT_EQ(position.state.materialAdjust, before);
      if (board.Side() == 1) MakeMove<WHITE>(m, &saved, &node);
      else MakeMove<BLACK>(m, &saved, &node);
      sideToMove = board.Side();
      ApplyPieceAdjustments(false);  // each ply starts from the board, as a search does
    }
  }
  EXPECT_GT(captures, 500);
  EXPECT_GT(promotions, 5);
}

}  // namespace
