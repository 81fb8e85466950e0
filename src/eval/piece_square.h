// Piece-square addends carried incrementally in Position::pstSum.
#pragma once

#include <array>
#include <cstdint>

#include "board/types.h"

// Indexed by bitboardIndex * 64 + square. The low 32 bits of an entry hold an
// opening value (upper 16) and an endgame value (lower 16) as m * 65536 + e,
// sign-extended over the whole word; pawn entries also carry their weighted
// pawn counts above bit 32 (see PAWN_COUNT_SHIFT).
extern const std::array<int64_t, 12 * 64> PIECE_SQUARE_VALUES;

// Bit positions of the four 5-bit weighted pawn counts in pstSum, each pawn
// counted by its file (1, 2, 3, 4, 4, 3, 2, 1 from a to h).
constexpr int PAWN_COUNT_WHITE_LIGHT_SHIFT = 32;
constexpr int PAWN_COUNT_WHITE_DARK_SHIFT = 37;
constexpr int PAWN_COUNT_BLACK_LIGHT_SHIFT = 42;
constexpr int PAWN_COUNT_BLACK_DARK_SHIFT = 47;

// pstSum of an empty board before any term: both packed halves biased by 0x8000.
constexpr int64_t PST_BIAS = 0x80008000;

// Opening-half adjustment of each castling right, so that castling rights are
// worth keeping: right 1 +100, right 2 +20, rights 4 and 8 the mirror.
constexpr int32_t castling_rights_value(uint32_t rights) {
  return ((rights & 1) ? 100 : 0) + ((rights & 2) ? 20 : 0) - ((rights & 4) ? 100 : 0) -
         ((rights & 8) ? 20 : 0);
}

// pstSum change when the set of rights m is lost: exactly what keeps the
// from-scratch identity. Indexed by the lost set.
constexpr std::array<int32_t, 16> make_castling_delta() {
  std::array<int32_t, 16> t{};
  for (uint32_t m = 0; m < 16; ++m) t[m] = -castling_rights_value(m) * 65536;
  return t;
}
constexpr std::array<int32_t, 16> CASTLING_DELTA = make_castling_delta();
