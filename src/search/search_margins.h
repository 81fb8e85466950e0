// The margins of the null-window routines that depend on the material of
// the search's root, set at every go.
#pragma once

#include <cstdint>

#include "search/ordering_margins.h"
#include "search/search_common.h"

// X = min(3, stage / 6): the extension word. X / 2 is the check extension of
// the evasion nodes; X >= 2 extends checks and captures out of check.
extern int32_t extension_word;

// Sets phase_stage and extension_word from the Position: knights + bishops +
// 2 * rooks + 4 * queens of both sides.
void ComputeSearchMargins();

// The static cut of a middle node: its margin by depth, leaner as the
// material on the board (the stage field) grows.
inline int32_t StaticCutMargin(int32_t depth) {
  static constexpr int32_t A[8] = {69, 69, 192, 672, 1008, 1296, 1296, 1296};
  static constexpr int32_t B[8] = {24, 24, 66, 264, 336, 432, 432, 432};
  const int i = depth / 2 > 7 ? 7 : depth / 2;
  return (A[i] * 256 - MaterialStageField() * B[i]) / 256;
}

// The half-move count at which the fifty-move rule draws: 40 in the
// self-play form of go, where games are adjudicated sooner.
int32_t FiftyMoveLimit();
