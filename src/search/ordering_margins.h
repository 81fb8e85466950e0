// Margins that steer the move picker and the pruning of quiet moves: which
// stage a node far below its bound starts at, how wide its restricted capture
// list is, and how many quiet moves a shallow node may skip. Most of them are
// blended between an opening and an endgame value by the material stage.
#pragma once

#include <array>
#include <cstdint>

// Material stage of the current search: knights + bishops + 2 * rooks +
// 4 * queens of both sides, set at each go. 24 is the full set of pieces, the
// opening end of every blend, and stands until the first go sets it. It may
// pass 24 after promotions; blends then extrapolate past their opening value.
extern int32_t phase_stage;

constexpr int32_t FULL_PHASE_STAGE = 24;

// A blended constant A/B: trunc(A * f + B * (1 - f)) with f = stage / 24,
// computed exactly in integers.
[[gnu::always_inline]] inline int32_t Blend(int32_t opening, int32_t endgame) {
  return (opening * phase_stage + endgame * (FULL_PHASE_STAGE - phase_stage)) / FULL_PHASE_STAGE;
}

// Rows of the node-type tables.
constexpr int EXPECTED_ALL = 0, EXPECTED_CUT = 1;

struct BlendPair {
  int16_t opening;
  int16_t endgame;
};

namespace margins_detail {

constexpr BlendPair Both(int16_t v) { return {v, v}; }

// Stage-27 margins by depth / 2 from 0 to 9; deeper nodes use the last.
inline constexpr BlendPair MOVE_CUT[2][10] = {
    {Both(0), Both(0), Both(0), {90, 120}, {120, 162}, {148, 200}, {170, 240}, Both(16000), Both(16000),
     Both(16000)},
    {Both(0), Both(0), Both(0), {44, 60}, {88, 108}, {148, 200}, {168, 240}, {256, 390}, {310, 232},
     Both(16000)},
};

// Below this a stage-27 node keeps enemy pawns among its capture targets.
inline constexpr BlendPair SECOND_MOVE_CUT[2][10] = {
    {Both(0), Both(0), Both(0), {211, 308}, {253, 372}, {295, 430}, Both(16000), Both(16000), Both(16000),
     Both(16000)},
    {Both(0), Both(0), Both(0), {197, 292}, {239, 356}, {281, 414}, Both(16000), Both(16000), Both(16000),
     Both(16000)},
};

// The two thresholds of the restricted list (stage 28), by depth / 2 from 0
// to 15 (depth 0 to 31).
constexpr BlendPair RestrictedThreshold(int table, int halfDepth) {
  constexpr BlendPair first[6] = {{100, 150}, {300, 450}, {500, 750}, {600, 900}, {700, 1050}, {800, 1200}};
  constexpr BlendPair second[6] = {{190, 253}, {210, 280}, {230, 306}, {260, 346}, {290, 386}, {320, 426}};
  // depth 0-3 share the first row, then one row per two half plies up to 12.
  const int row = halfDepth < 2 ? 0 : halfDepth < 6 ? halfDepth - 1 : 5;
  return table == 0 ? first[row] : second[row];
}

[[gnu::always_inline]] inline int HalfDepth(int depth, int last) {
  const int d = depth < 0 ? 0 : depth / 2;
  return d > last ? last : d;
}

// Margins by quiet moves tried: depth 0 to 11, count 0 to 127. Columns 0 to
// 2, column 3, and the rest, per pair of depths; 3000 keeps a move from ever
// being skipped.
constexpr std::array<std::array<int16_t, 128>, 12> BuildCountMargins() {
  constexpr int16_t steps[6][5] = {
      {30, 22, 14, 14, 14},           {30, 22, 14, -35, -35},         {3000, 3000, 3000, -21, -21},
      {3000, 3000, 3000, 3000, -17}, {3000, 3000, 3000, 3000, 6},   {3000, 3000, 3000, 3000, 55},
  };
  std::array<std::array<int16_t, 128>, 12> t{};
  for (int depth = 0; depth < 12; ++depth)
    for (int count = 0; count < 128; ++count) t[depth][count] = steps[depth / 2][count < 4 ? count : 4];
  return t;
}

}  // namespace margins_detail

// Stage 27 is taken when beta - static score reaches this.
[[gnu::always_inline]] inline int32_t MoveCut(int row, int depth) {
  const BlendPair p = margins_detail::MOVE_CUT[row][margins_detail::HalfDepth(depth, 9)];
  return Blend(p.opening, p.endgame);
}

// The second margin: below it the restricted list keeps enemy pawns as targets.
[[gnu::always_inline]] inline int32_t SecondMoveCut(int row, int depth) {
  const BlendPair p = margins_detail::SECOND_MOVE_CUT[row][margins_detail::HalfDepth(depth, 9)];
  return Blend(p.opening, p.endgame);
}

// Thresholds of the restricted list: table 0 picks the highest variant above
// it, table 1 the middle one.
[[gnu::always_inline]] inline int32_t RestrictedThreshold(int table, int depth) {
  const BlendPair p = margins_detail::RestrictedThreshold(table, margins_detail::HalfDepth(depth, 15));
  return Blend(p.opening, p.endgame);
}

// Skip a quiet move when CountMarginTable[depth][count] + gain + score < beta.
inline constexpr std::array<std::array<int16_t, 128>, 12> CountMarginTable = margins_detail::BuildCountMargins();
