// Option values the evaluator reads in its closing steps. The option
// dispatcher writes them; the evaluator only reads. Defaults are those of the
// option listing, under which every closing correction is neutral.
#pragma once

#include <cstdint>

struct EvalSettings {
  int32_t randomValue = 0;                    // option Random, 0..4095: seed of the position noise, 0 is off
  int32_t rookEndgameScaling = 100;           // option Rook Endgame Scaling, percent
  int32_t rookEndgamePenalty = 0;             // option Rook Endgame Penalty, millipawns
  int32_t oppositeBishopsPenalty = 0;         // option Bishops Are Opposite Colored Penalty, millipawns
  int32_t oppositeBishopsEndgamePenalty = 0;  // option Opposite Colored Bishops Endgame Penalty, millipawns
};

extern EvalSettings eval_settings;

// +1, or -1 in play mode with Black to move, so that the penalties above are
// taken against the engine's own side. Fixed at the start of each search;
// +1 outside a search.
extern int32_t play_mode_sign;
