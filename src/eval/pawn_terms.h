// Constant pairs of the pawn structure and passed pawn terms. By-square
// tables are laid out for White; Black reads the entry of 63 - square, and
// by-rank tables by the rank counted from Black's side.
#pragma once

#include <array>
#include <cstdint>

#include "eval/evaluate.h"

namespace pawn_build {

struct Pair {
  int32_t m, e;
};

// Rows of files a to d on ranks 2 to 7; e to h mirror them.
constexpr Pair SUPPORTED_ROWS[6][4] = {{{2, 3}, {3, 5}, {4, 6}, {5, 8}},         {{4, 6}, {5, 8}, {6, 9}, {7, 11}},
                                       {{6, 9}, {7, 11}, {8, 12}, {9, 14}},      {{8, 12}, {9, 14}, {10, 15}, {11, 17}},
                                       {{10, 15}, {11, 17}, {12, 18}, {13, 20}}, {{12, 18}, {13, 20}, {14, 21}, {15, 23}}};
constexpr Pair PHALANX_ROWS[6][4] = {{{4, 6}, {5, 8}, {6, 9}, {7, 11}},         {{6, 9}, {7, 11}, {8, 12}, {9, 14}},
                                     {{8, 12}, {9, 14}, {10, 15}, {11, 17}},    {{10, 15}, {11, 17}, {12, 18}, {13, 20}},
                                     {{12, 18}, {13, 20}, {14, 21}, {15, 23}}, {{14, 21}, {15, 23}, {16, 24}, {17, 26}}};

constexpr std::array<PackedScore, 64> BySquare(const Pair (&rows)[6][4]) {
  std::array<PackedScore, 64> t{};
  for (int32_t sq = 8; sq < 56; ++sq) {
    const int32_t file = sq & 7;
    const Pair p = rows[(sq >> 3) - 1][file < 4 ? file : 7 - file];
    t[sq] = PackPair(p.m, p.e);
  }
  return t;
}

}  // namespace pawn_build

// A pawn defended by an own pawn.
inline constexpr std::array<PackedScore, 64> PAWN_SUPPORTED = pawn_build::BySquare(pawn_build::SUPPORTED_ROWS);
// A pawn with an own pawn beside it on its rank.
inline constexpr std::array<PackedScore, 64> PAWN_PHALANX = pawn_build::BySquare(pawn_build::PHALANX_ROWS);
// Penalty of a pawn without own pawns on the adjacent files, by file.
inline constexpr PackedScore PAWN_ISOLATED[8] = {PackPair(114, 152), PackPair(146, 195), PackPair(162, 216),
                                                 PackPair(178, 237), PackPair(178, 237), PackPair(162, 216),
                                                 PackPair(146, 195), PackPair(114, 152)};
// A pawn with a free file that more enemy pawns than own ones contest, by rank.
inline constexpr PackedScore PAWN_HALF_PASSED[8] = {0, 0, 0, PackPair(30, 30), PackPair(90, 110), PackPair(180, 220),
                                                    0, 0};

struct PassedBonus {
  PackedScore base, outside, protectedBy, connected;
};
// Passed pawns by rank: the base, no enemy pawn on one side of the board,
// defended by a pawn, and the bonus per connected partner.
inline constexpr PassedBonus PASSED_BONUS[8] = {
    {0, 0, 0, 0},
    {PackPair(18, 18), PackPair(0, 4), 0, PackPair(0, 10)},
    {PackPair(18, 18), PackPair(0, 4), 0, PackPair(0, 10)},
    {PackPair(72, 99), PackPair(10, 20), PackPair(10, 30), PackPair(20, 40)},
    {PackPair(180, 234), PackPair(20, 50), PackPair(40, 80), PackPair(50, 100)},
    {PackPair(342, 450), PackPair(50, 100), PackPair(70, 150), PackPair(100, 200)},
    {PackPair(549, 720), PackPair(80, 160), PackPair(120, 250), PackPair(200, 400)},
    {0, 0, 0, 0},
};

struct PasserRow {
  PackedScore clearOfOwn, clearOfEnemy, nextEmpty, pathSafe;
  pawn_build::Pair ownKing, enemyKing;  // per tenth of a king distance step
};
// Passed pawns on ranks 4 to 7: what the pieces in front of them and the
// kings make of them.
inline constexpr PasserRow PASSER_ROW[8] = {
    {},
    {},
    {},
    {PackPair(0, 11), PackPair(16, 34), PackPair(0, 11), PackPair(9, 30), {0, 25}, {0, 50}},
    {PackPair(14, 36), PackPair(48, 103), PackPair(11, 33), PackPair(36, 88), {0, 70}, {0, 140}},
    {PackPair(28, 71), PackPair(96, 207), PackPair(33, 66), PackPair(81, 176), {0, 150}, {0, 300}},
    {PackPair(56, 120), PackPair(168, 343), PackPair(55, 110), PackPair(144, 295), {0, 250}, {0, 500}},
    {},
};
