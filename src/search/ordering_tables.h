// The learning tables behind move ordering. Per process, never shared; reset
// at a new game and kept across the searches in between.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// Quiet-move ratings, two rows of 1024: row * 1024 + (move & 0x3ff), that is
// to-square, MoverClass and the check bit, so a checking move is rated apart.
// Row 1 serves nodes far above their static score, row 0 all others.
extern uint16_t HistoryTable[2 * 1024];

namespace ordering_build {

// Weights for depths 0 to 23 in half plies; every deeper depth has the last.
inline constexpr uint16_t HISTORY_WEIGHT_STEPS[] = {0,   14,  14,  14,  30,  38,  48,  56,  66,  76,  86,  96,
                                                    106, 116, 126, 136, 146, 156, 164, 172, 180, 188, 196, 204,
                                                    212};

constexpr std::array<uint16_t, 128> BuildHistoryWeights() {
  std::array<uint16_t, 128> w{};
  constexpr size_t steps = std::size(HISTORY_WEIGHT_STEPS);
  for (size_t depth = 0; depth < w.size(); ++depth)
    w[depth] = HISTORY_WEIGHT_STEPS[depth < steps ? depth : steps - 1];
  return w;
}

}  // namespace ordering_build

// Weight of a history update by depth in half plies, 0 to 127.
inline constexpr std::array<uint16_t, 128> HistoryWeights = ordering_build::BuildHistoryWeights();

// Reply keys (Move & 0xfdff), two per index of the previous move:
// prev & 0x1ff, its to-square and MoverClass.
extern uint16_t CounterMoves[512][2];

// Reply keys in check: index (prev & 0x1ff) * 64 + square of the king in check.
extern uint16_t EvasionCounterMoves[512 * 64][2];

// Expected change of the positional score by a quiet move, in the mover's
// view, by colour and move & 0xfcff (from, to, the two low class bits).
extern int8_t GainTable[2][65536];

// Positional worth of a captured man, by colour and victim class * 64 + to.
extern int16_t CaptureGainTable[2][8 * 64];

// New-game reset: loads the stored seeds of the learnt tables (see
// search/ordering_seeds.h) and clears the reply keys.
void ResetOrderingTables();
