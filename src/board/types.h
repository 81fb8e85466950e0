// Basic words of the board core: squares, bitboards, colours, bit primitives.
#pragma once

#include <cstdint>

using Bitboard = uint64_t;
using Move = uint64_t;

constexpr int WHITE = 0, BLACK = 1;

// Squares: a1 = 0 ... h8 = 63.
constexpr int square_file(int square) { return square & 7; }
constexpr int square_rank(int square) { return square >> 3; }
constexpr Bitboard bit(int square) { return Bitboard(1) << square; }

// Edge files.
constexpr Bitboard FILE_A = 0x0101010101010101ull;
constexpr Bitboard FILE_H = FILE_A << 7;

// Square colours; a1 is dark.
constexpr Bitboard DARK_SQUARES = 0xaa55aa55aa55aa55ull;
constexpr Bitboard LIGHT_SQUARES = 0x55aa55aa55aa55aaull;

// Lowest set bit of a non-zero word, by the trailing-zero instruction.
inline int lowest_square(Bitboard b) { return __builtin_ctzll(b); }

// Population count by the parallel sum; no table.
constexpr int popcount(Bitboard b) {
  b = b - ((b >> 1) & 0x5555555555555555ull);
  b = (b & 0x3333333333333333ull) + ((b >> 2) & 0x3333333333333333ull);
  b = (b + (b >> 4)) & 0x0f0f0f0f0f0f0f0full;
  return int((b * 0x0101010101010101ull) >> 56);
}

// Piece codes carry the colour in the low bit; code - 2 is the bitboard index.
constexpr int NO_PIECE = 0;
constexpr int WHITE_PAWN = 2, BLACK_PAWN = 3, WHITE_KNIGHT = 4, BLACK_KNIGHT = 5;
constexpr int WHITE_BISHOP = 6, BLACK_BISHOP = 7, WHITE_ROOK = 8, BLACK_ROOK = 9;
constexpr int WHITE_QUEEN = 10, BLACK_QUEEN = 11, WHITE_KING = 12, BLACK_KING = 13;

// Bitboard indexes (piece code - 2), for one colour add the colour.
constexpr int PAWN_INDEX = 0, KNIGHT_INDEX = 2, BISHOP_INDEX = 4, ROOK_INDEX = 6;
constexpr int QUEEN_INDEX = 8, KING_INDEX = 10;

// The MoverClass of the piece and move words.
constexpr int CLASS_KNIGHT = 1, CLASS_BISHOP = 2, CLASS_PAWN = 3, CLASS_KING = 4;
constexpr int CLASS_QUEEN = 5, CLASS_ROOK = 6;
