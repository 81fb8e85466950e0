#include "eval/eval_settings.h"

#include "board/make_move.h"
#include "board/position.h"
#include "board/types.h"

EvalSettings eval_settings;
int32_t play_mode_sign = 1;

void ApplyPieceAdjustments(bool playMode) {
  play_mode_sign = playMode && sideToMove == BLACK ? -1 : 1;
  const bool swap = play_mode_sign < 0;
  // Every option carries a fixed part that the material table already holds.
  constexpr int32_t BIAS[PIECE_OPTION_COUNT] = {30, 30, 90, 90, 90, 90, 90, 90, 150, 150, 300, 300};
  int32_t v[PIECE_OPTION_COUNT];
  for (int i = 0; i < PIECE_OPTION_COUNT; ++i) v[i] = eval_settings.pieceMillipawns[i] - BIAS[i];
  // Under the swap each White option trades places with its Black twin; a
  // light-squared White bishop pairs with a dark-squared Black one, as the
  // colours of the board turn with the sides.
  const auto pick = [&](PieceOption plain, PieceOption swapped) { return swap ? v[swapped] : v[plain]; };
  int32_t* steps = MATERIAL_ADJUST_STEPS;
  steps[PAWN_INDEX + WHITE] = pick(WHITE_PAWN_OPTION, BLACK_PAWN_OPTION);
  steps[PAWN_INDEX + BLACK] = -pick(BLACK_PAWN_OPTION, WHITE_PAWN_OPTION);
  steps[KNIGHT_INDEX + WHITE] = pick(WHITE_KNIGHT_OPTION, BLACK_KNIGHT_OPTION);
  steps[KNIGHT_INDEX + BLACK] = -pick(BLACK_KNIGHT_OPTION, WHITE_KNIGHT_OPTION);
  steps[BISHOP_INDEX + WHITE] = pick(WHITE_LIGHT_BISHOP_OPTION, BLACK_DARK_BISHOP_OPTION);
  steps[BISHOP_INDEX + BLACK] = -pick(BLACK_LIGHT_BISHOP_OPTION, WHITE_DARK_BISHOP_OPTION);
  steps[ROOK_INDEX + WHITE] = pick(WHITE_ROOK_OPTION, BLACK_ROOK_OPTION);
  steps[ROOK_INDEX + BLACK] = -pick(BLACK_ROOK_OPTION, WHITE_ROOK_OPTION);
  steps[QUEEN_INDEX + WHITE] = pick(WHITE_QUEEN_OPTION, BLACK_QUEEN_OPTION);
  steps[QUEEN_INDEX + BLACK] = -pick(BLACK_QUEEN_OPTION, WHITE_QUEEN_OPTION);
  steps[KING_INDEX + WHITE] = pick(WHITE_DARK_BISHOP_OPTION, BLACK_LIGHT_BISHOP_OPTION);
  steps[KING_INDEX + BLACK] = -pick(BLACK_DARK_BISHOP_OPTION, WHITE_LIGHT_BISHOP_OPTION);

  int32_t total = swap ? -eval_settings.scoreOffset : eval_settings.scoreOffset;
  for (int piece = PAWN_INDEX; piece < KING_INDEX; ++piece) {
    const Bitboard men = position.pieceBits[piece];
    if (piece == BISHOP_INDEX + WHITE || piece == BISHOP_INDEX + BLACK) {
      // The dark-squared bishops have their steps in the kings' places.
      total += popcount(men & LIGHT_SQUARES) * steps[piece] + popcount(men & DARK_SQUARES) * steps[piece + 6];
    } else {
      total += popcount(men) * steps[piece];
    }
  }
  position.state.materialAdjust = total;
}
