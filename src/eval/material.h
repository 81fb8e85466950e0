// Material and scaling: what Evaluate does with materialSignature after the
// opening/endgame blend. The material value bypasses the blend (all its phase
// dependence is in MATERIAL_TABLE), the whole score is scaled by material
// class, and the last corrections depend on material alone.
#pragma once

#include <array>
#include <cstdint>

#include "../board/types.h"  // relative, so the build-time generator finds it without include paths

// ---------------------------------------------------------------------------
// Material index: bits 0-16 of materialSignature, a mixed-radix number whose
// digits are piece counts. The black queen has no digit: a row with the queen
// digit set stands for White's queen with or without a black one beside it.

enum MaterialDigit {
  DIGIT_WHITE_QUEEN,
  DIGIT_WHITE_KNIGHT,
  DIGIT_BLACK_KNIGHT,
  DIGIT_WHITE_BISHOP,
  DIGIT_BLACK_BISHOP,
  DIGIT_WHITE_ROOK,
  DIGIT_BLACK_ROOK,
  DIGIT_WHITE_PAWN,
  DIGIT_BLACK_PAWN,
  MATERIAL_DIGITS
};

// Number of values of each digit in a normal row, and its weight in the index.
constexpr int MATERIAL_RADIX[MATERIAL_DIGITS] = {2, 3, 3, 3, 3, 3, 3, 9, 9};
constexpr int MATERIAL_WEIGHT[MATERIAL_DIGITS] = {1, 2, 6, 18, 54, 162, 486, 1458, 13122};

constexpr int MATERIAL_TABLE_SIZE = 118098;
constexpr uint64_t MATERIAL_INDEX_MASK = 0x1ffff;
static_assert(MATERIAL_WEIGHT[DIGIT_BLACK_PAWN] * MATERIAL_RADIX[DIGIT_BLACK_PAWN] == MATERIAL_TABLE_SIZE,
              "the material index covers exactly the normal rows");

// Correction to the nominal balance (P 1024, N and B 3072, R 5120, Q 10240),
// in internal points, by material index. Written at build time by
// tools/gen_material.cpp, whose header states the rule. A count past its
// digit's range (three knights after promotions, nine pawns in a set-up
// position) runs into the next digit and reads another row; past the
// normal rows the table goes on with zeros to the end of the index field,
// so that no count reads outside it.
constexpr int MATERIAL_TABLE_ROWS = int(MATERIAL_INDEX_MASK) + 1;
extern const int16_t MATERIAL_TABLE[MATERIAL_TABLE_ROWS];

// ---------------------------------------------------------------------------
// Scale by material class: bits 34-47 of materialSignature index SCALE_TABLE;
// 128 is 1.0. Bit i of the index is signature bit 34 + i.

constexpr int SCALE_INDEX_SHIFT = 34;
constexpr uint64_t SCALE_INDEX_MASK = 0x3fff;
constexpr int SCALE_TABLE_SIZE = 16384;
constexpr int SCALE_ONE = 128;

// Index bits: 0 white light-square bishop, 1 white dark-square bishop, 2 and 3
// the same for Black, 4 white queen, 5 black queen; two-bit counts at 6 white
// knights, 8 black knights, 10 white rooks, 12 black rooks.
constexpr uint32_t SCALE_WHITE_BISHOP_LIGHT = 0x1, SCALE_WHITE_BISHOP_DARK = 0x2;
constexpr uint32_t SCALE_BLACK_BISHOP_LIGHT = 0x4, SCALE_BLACK_BISHOP_DARK = 0x8;
constexpr uint32_t SCALE_WHITE_QUEEN = 0x10, SCALE_BLACK_QUEEN = 0x20;
constexpr int SCALE_WHITE_KNIGHT_SHIFT = 6, SCALE_BLACK_KNIGHT_SHIFT = 8;
constexpr int SCALE_WHITE_ROOK_SHIFT = 10, SCALE_BLACK_ROOK_SHIFT = 12;

// The scale of one class. First match wins; men not named are absent, pawns
// do not matter:
//   nothing at all                                              192
//   one bishop each, same square colour                         140
//   one bishop each, opposite colours                            57
//   one knight each                                             140
//   queen and bishop each, bishops on opposite colours          108
//   bishop and knight each, bishops on opposite colours         108
//   rook and bishop each, bishops on opposite colours           102
//   one queen each                                              115
//   anything else with one bishop each on opposite colours      115
//   everything else                                             128
// Bare kings are scaled up so that the tempo still shows; opposite bishops
// pull the score towards the draw, the more the fewer other pieces help.
constexpr uint8_t ScaleOfClass(uint32_t index) {
  const uint32_t bishops = index & 0xf;
  const uint32_t others = index & ~uint32_t(0xf);
  const bool opposite = bishops == (SCALE_WHITE_BISHOP_LIGHT | SCALE_BLACK_BISHOP_DARK) ||
                        bishops == (SCALE_WHITE_BISHOP_DARK | SCALE_BLACK_BISHOP_LIGHT);
  const bool same = bishops == (SCALE_WHITE_BISHOP_LIGHT | SCALE_BLACK_BISHOP_LIGHT) ||
                    bishops == (SCALE_WHITE_BISHOP_DARK | SCALE_BLACK_BISHOP_DARK);
  const uint32_t queens = SCALE_WHITE_QUEEN | SCALE_BLACK_QUEEN;
  const uint32_t knights = (1u << SCALE_WHITE_KNIGHT_SHIFT) | (1u << SCALE_BLACK_KNIGHT_SHIFT);
  const uint32_t rooks = (1u << SCALE_WHITE_ROOK_SHIFT) | (1u << SCALE_BLACK_ROOK_SHIFT);
  if (index == 0) return 192;
  if (same && others == 0) return 140;
  if (opposite && others == 0) return 57;
  if (bishops == 0 && others == knights) return 140;
  if (opposite && others == queens) return 108;
  if (opposite && others == knights) return 108;
  if (opposite && others == rooks) return 102;
  if (bishops == 0 && others == queens) return 115;
  if (opposite) return 115;
  return SCALE_ONE;
}

constexpr std::array<uint8_t, SCALE_TABLE_SIZE> MakeScaleTable() {
  std::array<uint8_t, SCALE_TABLE_SIZE> t{};
  for (uint32_t i = 0; i < SCALE_TABLE_SIZE; ++i) t[i] = ScaleOfClass(i);
  return t;
}

inline constexpr std::array<uint8_t, SCALE_TABLE_SIZE> SCALE_TABLE = MakeScaleTable();

// ---------------------------------------------------------------------------
// Closing steps of Evaluate that read only the material.

// Material value in internal points: the table's correction, the option
// adjustments carried in materialAdjust, and the nominal balance
// (balance field - 128) * 1024.
inline int32_t MaterialValue(uint64_t signature, int32_t materialAdjust) {
  return int32_t(MATERIAL_TABLE[signature & MATERIAL_INDEX_MASK]) + materialAdjust +
         (int32_t(signature >> 7 & 0x3fc00) - 0x20000);
}

// The score in score units scaled by its material class, truncating toward zero.
inline int32_t ScaleScore(int32_t score, uint64_t signature) {
  return score * int32_t(SCALE_TABLE[signature >> SCALE_INDEX_SHIFT & SCALE_INDEX_MASK]) / SCALE_ONE;
}

// Signature bits 34-47 of exactly one rook each and no other piece.
constexpr uint64_t PIECE_FIELDS_MASK = 0xfffc00000000ull;
constexpr uint64_t ROOK_EACH_ONLY = 0x500000000000ull;

// What the rook ending correction looks at. Passed pawns are those of the pawn
// structure record, both colours together.
struct RookEndingMen {
  Bitboard passedPawns;
  Bitboard whitePawns;
  Bitboard blackPawns;
  Bitboard whiteRooks;
  Bitboard blackRooks;
  Bitboard occupied;
};

// Pure rook endings only (nothing else happens otherwise): a passed pawn with
// its own rook in front of it and the enemy rook really behind it, and no pawn
// of its colour defending it, is worth less by its rank (score units, White's
// view); then the Rook Endgame Scaling percentage and the Rook Endgame Penalty
// (millipawns, for the engine's side through playModeSign).
int32_t RookEndingCorrection(int32_t score, uint64_t signature, const RookEndingMen& men,
                             int32_t scalingPercent, int32_t penaltyMillipawns, int32_t playModeSign);

// One bishop each on opposite square colours (other pieces allowed): the
// Bishops Are Opposite Colored Penalty, and with no other piece on the board
// also the Opposite Colored Bishops Endgame Penalty; millipawns, for the
// engine's side through playModeSign.
int32_t OppositeBishopsCorrection(int32_t score, uint64_t signature, int32_t bishopsPenalty,
                                  int32_t endgamePenalty, int32_t playModeSign);
