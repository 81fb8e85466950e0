// Tables of king safety: what a knight adds to the attack counter against a
// king or takes from it in cover, the curve that turns a counter into a pair,
// and the shelter and storm values of three files of pawns before a king.
#pragma once

#include <array>
#include <cstdint>

#include "../board/types.h"  // relative, so the build-time generator finds it without include paths

// [king square][knight square]. Written at build time by
// tools/gen_king_tables.cpp, whose header states the rule. The entries are
// given by the squares themselves, so both colours read them as they stand.
extern const int8_t KNIGHT_KING_ATTACK[64][64];
extern const int8_t KNIGHT_KING_COVER[64][64];

namespace king_build {

constexpr uint32_t Pack(int32_t m, int32_t e) { return uint32_t(m) * 65536u + uint32_t(e); }

constexpr int16_t CURVE_OPENING[45] = {3,   7,   12,  18,  24,  31,  39,  48,  57,  66,  76,  87,  99,  111, 124,
                                       138, 153, 168, 183, 199, 216, 234, 252, 271, 291, 312, 333, 354, 376, 399,
                                       423, 447, 472, 498, 525, 552, 579, 607, 636, 666, 696, 727, 759, 792, 825};
constexpr int16_t CURVE_ENDGAME[45] = {2,   5,   9,   13,  18,  23,  29,  35,  41,  48,  56,  64,  73,  81,  91,
                                       101, 112, 123, 134, 146, 158, 172, 185, 199, 213, 228, 244, 260, 276, 293,
                                       310, 328, 346, 365, 385, 404, 425, 445, 466, 488, 510, 533, 557, 580, 605};

// Nothing up to 42; the listed bend from 43 to 87; a straight line after.
constexpr std::array<uint32_t, 512> MakeCurve() {
  std::array<uint32_t, 512> t{};
  for (int32_t i = 43; i < 512; ++i)
    t[i] = i <= 87 ? Pack(CURVE_OPENING[i - 43], CURVE_ENDGAME[i - 43])
                   : Pack(825 + 15 * (i - 87), 605 + 11 * (i - 87));
  return t;
}

// Per file of a group, by the nearest pawn: on the second rank, the third,
// the fourth or fifth, none. Files in group order: edge, middle, inner.
constexpr int32_t SHELTER_FILE[3][4] = {{-300, -270, -100, 0}, {-550, -440, -200, 0}, {-300, -220, -100, 0}};
// Enemy pawns: on the third rank, the fourth, the fifth, none.
constexpr int32_t STORM_FILE[3][4] = {{350, 100, 40, 0}, {540, 150, 70, 0}, {500, 150, 70, 0}};

// Index: bits 0-2 one rank of the three files (edge first), bits 3-5 the
// next rank, bits 6-8 the one after. The nearest rank with the file's bit set
// decides the file.
constexpr int32_t NearestRow(int32_t index, int32_t file) {
  for (int32_t row = 0; row < 3; ++row)
    if (index >> (3 * row + file) & 1) return row;
  return 3;
}

constexpr std::array<uint32_t, 512> MakeShelter() {
  std::array<uint32_t, 512> t{};
  for (int32_t i = 0; i < 512; ++i) {
    int32_t sum = 1150;
    for (int32_t f = 0; f < 3; ++f) sum += SHELTER_FILE[f][NearestRow(i, f)];
    // The full unmoved wall is not the best shelter.
    t[i] = (i & 7) == 7 ? Pack(130, 210) : Pack(sum, 0);
  }
  return t;
}

constexpr std::array<uint32_t, 512> MakeStorm() {
  std::array<uint32_t, 512> t{};
  for (int32_t i = 0; i < 512; ++i) {
    int32_t sum = 0;
    for (int32_t f = 0; f < 3; ++f) sum += STORM_FILE[f][NearestRow(i, f)];
    t[i] = Pack(sum, 0);
  }
  return t;
}

}  // namespace king_build

// The pair of a king attack counter; counters start at 32.
inline constexpr std::array<uint32_t, 512> KING_ATTACK_CURVE = king_build::MakeCurve();
// Danger of the own pawns before the king, and of the enemy pawns storming it.
inline constexpr std::array<uint32_t, 512> SHELTER_TABLE = king_build::MakeShelter();
inline constexpr std::array<uint32_t, 512> STORM_TABLE = king_build::MakeStorm();
