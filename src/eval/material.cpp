// Corrections of the evaluation that depend on material alone.
#include "eval/material.h"

#include "board/attacks.h"

namespace {

// The squares of the pawn's file on higher ranks (White's way ahead) and on
// lower ranks (Black's).
constexpr Bitboard FileAbove(int square) { return (FILE_A << square_file(square)) & ~((bit(square) << 1) - 1); }
constexpr Bitboard FileBelow(int square) { return (FILE_A << square_file(square)) & (bit(square) - 1); }

// Deduction for a passed pawn blocked by its own rook, by the rank it has
// reached counted from its own side (index 3 = fourth rank ... 6 = seventh).
constexpr int32_t ROOK_IN_FRONT_DEDUCTION[8] = {0, 0, 0, 22, 52, 100, 160, 0};

constexpr uint64_t OPPOSITE_BISHOPS_A = 0x9;  // white light, black dark
constexpr uint64_t OPPOSITE_BISHOPS_B = 0x6;  // white dark, black light
constexpr uint64_t OTHER_PIECES_MASK = 0xffc000000000ull;  // queens, knights, rooks

}  // namespace

int32_t RookEndingCorrection(int32_t score, uint64_t signature, const RookEndingMen& men,
                             int32_t scalingPercent, int32_t penaltyMillipawns, int32_t playModeSign) {
  if ((signature & PIECE_FIELDS_MASK) != ROOK_EACH_ONLY) return score;

  // The own rook ahead of the passer on its file, the enemy rook behind it
  // and in contact with it: the defender holds easily, so the pawn is worth less.
  constexpr Bitboard WHITE_RANKS_4_TO_7 = 0x00ffffffff000000ull;
  for (Bitboard pawns = men.passedPawns & men.whitePawns & WHITE_RANKS_4_TO_7; pawns; pawns &= pawns - 1) {
    const int sq = lowest_square(pawns);
    if ((men.whiteRooks & FileAbove(sq)) && (men.blackRooks & FileBelow(sq)) &&
        !(WHITE_PAWN_SOURCES[sq] & men.whitePawns) && (RookAttacks(sq, men.occupied) & men.blackRooks))
      score -= ROOK_IN_FRONT_DEDUCTION[square_rank(sq)];
  }
  constexpr Bitboard BLACK_RANKS_5_TO_2 = 0x000000ffffffff00ull;
  for (Bitboard pawns = men.passedPawns & men.blackPawns & BLACK_RANKS_5_TO_2; pawns; pawns &= pawns - 1) {
    const int sq = lowest_square(pawns);
    if ((men.blackRooks & FileBelow(sq)) && (men.whiteRooks & FileAbove(sq)) &&
        !(BLACK_PAWN_SOURCES[sq] & men.blackPawns) && (RookAttacks(sq, men.occupied) & men.whiteRooks))
      score += ROOK_IN_FRONT_DEDUCTION[7 - square_rank(sq)];
  }

  score = score * scalingPercent / 100;
  score += playModeSign * (-penaltyMillipawns / 10);
  return score;
}

int32_t OppositeBishopsCorrection(int32_t score, uint64_t signature, int32_t bishopsPenalty,
                                  int32_t endgamePenalty, int32_t playModeSign) {
  const uint64_t bishops = signature >> SCALE_INDEX_SHIFT & 0xf;
  if (bishops != OPPOSITE_BISHOPS_A && bishops != OPPOSITE_BISHOPS_B) return score;
  score += playModeSign * (-bishopsPenalty / 10);
  if ((signature & OTHER_PIECES_MASK) == 0) score += playModeSign * (-endgamePenalty / 10);
  return score;
}
