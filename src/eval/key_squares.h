// Key-square tables of bishop and knight mobility. Besides the count of its
// squares, a bishop or knight is scored by which of four key squares of its
// origin it reaches: the pattern of those four in a set is one multiply and
// shift, and a table of 16 pairs per origin gives its value. The tables and
// multipliers are written at build time by tools/gen_key_squares.cpp, whose
// header states the rule; Black's rows are White's with the board turned over.
#pragma once

#include <cstdint>

#include "../board/types.h"  // relative, so the build-time generator finds it without include paths

// The 4-bit pattern of the origin's key squares present in `set`. The
// multiplier brings key square j to bit 60 + j, and no subset of the squares
// the piece can reach from the origin carries into those bits.
[[gnu::always_inline]] inline uint32_t KeyPattern(Bitboard set, uint64_t multiplier) {
  return uint32_t((set * multiplier) >> 60);
}

// [colour][origin]
extern const uint64_t BISHOP_KEY_MULTIPLIER[2][64];
extern const uint64_t KNIGHT_KEY_MULTIPLIER[2][64];
// PackedScore pairs, [colour][origin][pattern]. The bishop values add up over
// the pattern's key squares.
extern const uint32_t BISHOP_KEY_TABLE[2][64][16];
// [colour][table][origin][pattern]: table 0 is read with the pattern of the
// knight's target squares, table 1 with that of its safe squares.
constexpr int32_t KNIGHT_TARGET_TABLE = 0, KNIGHT_SAFE_TABLE = 1;
extern const uint32_t KNIGHT_KEY_TABLE[2][2][64][16];
