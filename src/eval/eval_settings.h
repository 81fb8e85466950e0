// Option values the evaluator reads in its closing steps. The option
// dispatcher writes them; the evaluator only reads. Defaults are those of the
// option listing, under which every closing correction is neutral.
#pragma once

#include <cstdint>

// The twelve piece options, in listing order.
enum PieceOption {
  WHITE_PAWN_OPTION, BLACK_PAWN_OPTION, WHITE_KNIGHT_OPTION, BLACK_KNIGHT_OPTION,
  WHITE_LIGHT_BISHOP_OPTION, WHITE_DARK_BISHOP_OPTION, BLACK_LIGHT_BISHOP_OPTION, BLACK_DARK_BISHOP_OPTION,
  WHITE_ROOK_OPTION, BLACK_ROOK_OPTION, WHITE_QUEEN_OPTION, BLACK_QUEEN_OPTION,
  PIECE_OPTION_COUNT
};

struct EvalSettings {
  int32_t randomValue = 0;                    // option Random, 0..4095: seed of the position noise, 0 is off
  int32_t rookEndgameScaling = 100;           // option Rook Endgame Scaling, percent
  int32_t rookEndgamePenalty = 0;             // option Rook Endgame Penalty, millipawns
  int32_t oppositeBishopsPenalty = 0;         // option Bishops Are Opposite Colored Penalty, millipawns
  int32_t oppositeBishopsEndgamePenalty = 0;  // option Opposite Colored Bishops Endgame Penalty, millipawns
  int32_t pieceMillipawns[PIECE_OPTION_COUNT] = {};  // the piece options, millipawns
  int32_t scoreOffset = 0;                    // option Score Offset, millipawns
};

extern EvalSettings eval_settings;

// +1, or -1 in play mode with Black to move, so that the penalties above are
// taken against the engine's own side. Fixed at the start of each search;
// +1 outside a search.
extern int32_t play_mode_sign;

// From the piece options: the correction per piece that make and unmake
// carry, and the Position's running total, from the men on the board and
// Score Offset. In play mode with Black to move the options named White
// speak of Black's men, so that they always mean the engine's own side.
void ApplyPieceAdjustments(bool playMode);
