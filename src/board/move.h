// The 64-bit move word: identity in the low 16 bits, ordering in the high bits,
// so a sorted list is a list of unsigned words in descending order.
#pragma once

#include <cstddef>
#include <cstdint>

#include "board/types.h"

// Fields.
constexpr int MOVE_FROM_SHIFT = 10;
constexpr Move MOVE_TO = 0x3f;
constexpr Move MOVE_MOVER = 0x1c0;
constexpr Move MOVE_CHECK = 0x200;
constexpr Move MOVE_EXEMPT = 0x10000;
constexpr Move MOVE_STAKE = 0x3e0000;
constexpr Move MOVE_VICTIM = 0x38000000;
constexpr Move MOVE_EN_PASSANT = Move(1) << 58;
constexpr Move MOVE_IDENTITY = 0xfc3f;

// 11 stands for the null move inside principal variations.
constexpr Move NULL_MOVE_WORD = 11;

// Promotion patterns, as written by the move reader: b, n, q, r.
constexpr Move PROMOTE_BISHOP = 0x42800000000c0ull;
constexpr Move PROMOTE_KNIGHT = 0x48400000000c0ull;
constexpr Move PROMOTE_QUEEN = 0x51400000000c0ull;
constexpr Move PROMOTE_ROOK = 0x45800000000c0ull;

// MoverClass of the promotion field (bits 42-44) to the new piece's bitboard
// index, per colour: N, B, P, K, Q, R at 1 to 6. Classes 0 and 7 come only
// with a promotion word that names no piece ("a7a8"), which makes a queen.
constexpr int PROMOTION_INDEX[2][8] = {
    {QUEEN_INDEX, KNIGHT_INDEX, BISHOP_INDEX, PAWN_INDEX, KING_INDEX, QUEEN_INDEX, ROOK_INDEX,
     QUEEN_INDEX},
    {QUEEN_INDEX + 1, KNIGHT_INDEX + 1, BISHOP_INDEX + 1, PAWN_INDEX + 1, KING_INDEX + 1,
     QUEEN_INDEX + 1, ROOK_INDEX + 1, QUEEN_INDEX + 1},
};
constexpr int promotion_index(int colour, Move m) { return PROMOTION_INDEX[colour][(m >> 42) & 7]; }

constexpr int move_to(Move m) { return int(m & 0x3f); }
constexpr int move_from(Move m) { return int((m >> 10) & 0x3f); }

// No victim, king class, from e1/e8 to c or g of the home rank; bit 9 aside.
constexpr bool is_white_castling(Move m) { return (m & 0x3800fdfb) == 0x1102; }
constexpr bool is_black_castling(Move m) { return (m & 0x3800fdfb) == 0xf13a; }
constexpr bool is_castling(Move m) { return is_white_castling(m) || is_black_castling(m); }

// A pawn arriving on the far rank: 0xf8 for White, 0xc0 for Black.
constexpr bool is_white_promotion(Move m) { return (m & 0x1f8) == 0xf8; }
constexpr bool is_black_promotion(Move m) { return (m & 0x1f8) == 0xc0; }
constexpr bool is_promotion(Move m) { return is_white_promotion(m) || is_black_promotion(m); }

// Whether a move named from outside (a go list, a controller) is the move
// `m`: the same squares and, for a promotion, the same piece.
constexpr bool SameNamedMove(Move named, Move m) {
  if (move_from(named) != move_from(m) || move_to(named) != move_to(m)) return false;
  return !(is_promotion(m) || is_promotion(named)) || promotion_index(WHITE, named) == promotion_index(WHITE, m);
}

// Long algebraic text ("e2e4", "e7e8q", "null" for the word 11). Two static
// buffers, so two moves can be printed in one line.
const char* MoveToText(Move move);
const char* MoveToText2(Move move);
// Into a caller's buffer of at least 6 bytes; returns the length, 4 or 5.
int MoveToText(Move move, char* buffer);
// Appends " " and the move's text at `used` in a buffer of `size` bytes, if
// it fits; returns the new length.
size_t AppendMoveWord(Move move, char* buffer, size_t size, size_t used);

// Reads a move word against the global position. With `complete`, the word
// gets the mover class, kind and capture fields from the board. 0 when the
// text does not read as a move (a1a1 and 0000 give 0 as well).
Move TextToMove(const char* text, bool complete);
// The variant used for controller input: accepts upper-case promotion
// letters too, takes only 0000 as the empty move, and adds neither the
// en-passant bit nor the second king bit.
Move TextToMoveLenient(const char* text, bool complete);
