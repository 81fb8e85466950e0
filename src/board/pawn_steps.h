// Pawn geometry of one colour, for the routines that exist once per side:
// steps, captures and the ranks they start from, told as templates so that no
// routine asks whose turn it is.
#pragma once

#include "board/attacks.h"
#include "board/types.h"

// Squares from which a pawn of Side attacks `square`.
template <int Side>
[[gnu::always_inline]] inline Bitboard PawnSources(int square) {
  if constexpr (Side == WHITE) return WHITE_PAWN_SOURCES[square];
  else return BLACK_PAWN_SOURCES[square];
}

// Pawns of Side on this rank capture onto the last rank: the recapture
// brings a new queen.
template <int Side>
inline constexpr Bitboard PROMOTING_RANK = Side == WHITE ? 0xff000000000000ull : 0xff00ull;

// One step forward for a pawn of Side, and one step back.
template <int Side>
constexpr Bitboard PawnStep(Bitboard b) {
  if constexpr (Side == WHITE) return b << 8;
  else return b >> 8;
}
template <int Side>
constexpr Bitboard PawnStepBack(Bitboard b) {
  if constexpr (Side == WHITE) return b >> 8;
  else return b << 8;
}

// Where the double step of Side passes and where it lands.
template <int Side>
inline constexpr Bitboard DOUBLE_STEP_MIDDLE = Side == WHITE ? 0xff0000ull : 0xff0000000000ull;
template <int Side>
inline constexpr Bitboard DOUBLE_STEP_END = Side == WHITE ? 0xff000000ull : 0xff00000000ull;


// Capture squares of Side's pawns, toward the lower file and toward the upper.
template <int Side>
constexpr Bitboard PawnTakesLower(Bitboard pawns) {
  if constexpr (Side == WHITE) return (pawns & ~FILE_A) << 7;
  else return (pawns & ~FILE_A) >> 9;
}
template <int Side>
constexpr Bitboard PawnTakesUpper(Bitboard pawns) {
  if constexpr (Side == WHITE) return (pawns & ~FILE_H) << 9;
  else return (pawns & ~FILE_H) >> 7;
}
// The pawns that make those captures, from the squares they land on.
template <int Side>
constexpr Bitboard PawnFromLower(Bitboard targets) {
  if constexpr (Side == WHITE) return targets >> 7;
  else return targets << 9;
}
template <int Side>
constexpr Bitboard PawnFromUpper(Bitboard targets) {
  if constexpr (Side == WHITE) return targets >> 9;
  else return targets << 7;
}
