// Position keys: the hash words a Position carries (key, pawnKey) and the
// packed material count (materialSignature), with their constant tables.
//
// All tables are compile-time constants, so every engine process computes the
// same keys for the same position (the shared hash table relies on that) and
// nothing has to be filled at start-up.
#pragma once

#include <array>
#include <cstdint>

#include "board/types.h"

struct Position;

// --- How the free key words are made --------------------------------------
// The piece, en-passant and pawn-structure words need only be fixed and well
// mixed; keys are never exchanged with another program. They are drawn from
// splitmix64 started at KEY_SEED, in this order: the 768 PIECE_KEYS words
// (bitboard index major, then square), the 8 EP_KEYS words, then the 768
// low-bit differences of PAWN_KEYS (each draw taken modulo 24).

constexpr uint64_t KEY_SEED = 0x5175a0c1e3b7d291ull;

struct KeyStream {
  uint64_t state;
  constexpr uint64_t next() {
    uint64_t z = (state += 0x9e3779b97f4a7c15ull);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    return z ^ (z >> 31);
  }
};

using KeyRows = std::array<std::array<uint64_t, 64>, 12>;

// pawnKey starts from this word. It is the white-pawn-on-a1 entry of
// PAWN_KEYS: no pawn can stand there, so the entry is free to serve as the seed.
constexpr uint64_t PAWN_KEY_START = 0x27c06528b11258a8ull;

// PAWN_KEYS keeps the PIECE_KEYS words above bit 4 and changes the low five
// bits by XOR with a small stored value (0..23).
constexpr uint64_t PAWN_KEY_LOW_BITS = 0x1f;
constexpr uint64_t PAWN_KEY_DIFFERENCE_LIMIT = 24;

struct KeyTables {
  KeyRows piece{};
  KeyRows pawn{};
  KeyRows pawnDifference{};  // PAWN_KEYS ^ PIECE_KEYS, each in 0..23
  std::array<uint64_t, 8> ep{};
};

constexpr KeyTables make_key_tables() {
  KeyTables t{};
  KeyStream stream{KEY_SEED};
  for (auto& row : t.piece)
    for (auto& word : row) word = stream.next();
  for (auto& word : t.ep) word = stream.next();
  for (auto& row : t.pawnDifference)
    for (auto& d : row) d = stream.next() % PAWN_KEY_DIFFERENCE_LIMIT;
  // The pawn table's white-pawn-on-a1 word is the fixed start constant, so
  // the piece table's word there is derived from it, not drawn.
  t.piece[PAWN_INDEX][0] = PAWN_KEY_START ^ t.pawnDifference[PAWN_INDEX][0];
  for (int i = 0; i < 12; ++i)
    for (int sq = 0; sq < 64; ++sq) t.pawn[i][sq] = t.piece[i][sq] ^ t.pawnDifference[i][sq];
  return t;
}

inline constexpr KeyTables KEY_TABLES = make_key_tables();

// --- Tables ----------------------------------------------------------------

// key term of a piece: PIECE_KEYS[bitboardIndex][square].
inline constexpr const KeyRows& PIECE_KEYS = KEY_TABLES.piece;
// pawnKey term of a pawn or a king (the other rows exist but are not read).
inline constexpr const KeyRows& PAWN_KEYS = KEY_TABLES.pawn;
// key term of the en-passant square, by its file.
inline constexpr const std::array<uint64_t, 8>& EP_KEYS = KEY_TABLES.ep;

// key and pawnKey term of the castling word. Linear under XOR, so losing a set
// of rights is one XOR of the entry of that set.
constexpr std::array<uint64_t, 4> CASTLING_RIGHT_KEYS = {
    0xc587778e1c593fa8ull,  // white short
    0xf1a05aa56ecaa853ull,  // white long
    0x3f7e0754a47719ecull,  // black short
    0xa7a6ae9ffd6151f2ull,  // black long
};
constexpr std::array<uint64_t, 16> make_castling_keys() {
  std::array<uint64_t, 16> t{};
  for (int rights = 0; rights < 16; ++rights)
    for (int r = 0; r < 4; ++r)
      if (rights & (1 << r)) t[rights] ^= CASTLING_RIGHT_KEYS[r];
  return t;
}
constexpr std::array<uint64_t, 16> CASTLING_KEYS = make_castling_keys();

// XORed into key by every make and null move; present when white is to move.
constexpr uint64_t SIDE_KEY = 0x2b5f86b85a7d3e98ull;

// pawnKey term of a bishop, by its colour and the colour of its square: the
// pawn structure evaluation depends on which square colour the bishops hold.
constexpr uint64_t WHITE_BISHOP_DARK_KEY = 0x1cdd2c1990d18b82ull;
constexpr uint64_t WHITE_BISHOP_LIGHT_KEY = 0x5b5be68669f3efb1ull;
constexpr uint64_t BLACK_BISHOP_DARK_KEY = 0x88971596b48623e9ull;
constexpr uint64_t BLACK_BISHOP_LIGHT_KEY = 0x6ee19f4ae7391a20ull;

// key change of the rook's move in castling, one XOR in make.
constexpr uint64_t WHITE_SHORT_ROOK_KEY = PIECE_KEYS[ROOK_INDEX][7] ^ PIECE_KEYS[ROOK_INDEX][5];
constexpr uint64_t WHITE_LONG_ROOK_KEY = PIECE_KEYS[ROOK_INDEX][0] ^ PIECE_KEYS[ROOK_INDEX][3];
constexpr uint64_t BLACK_SHORT_ROOK_KEY =
    PIECE_KEYS[ROOK_INDEX + 1][63] ^ PIECE_KEYS[ROOK_INDEX + 1][61];
constexpr uint64_t BLACK_LONG_ROOK_KEY =
    PIECE_KEYS[ROOK_INDEX + 1][56] ^ PIECE_KEYS[ROOK_INDEX + 1][59];

// --- Material signature ------------------------------------------------------
// Packed exact material count, read field by field:
//   bits 0-16  material index (mixed radix; the evaluator's material table)
//   bits 17-24 balance white minus black in pawns, plus 128
//   bits 25-33 game phase (N 4, B 8, R 24, Q 56; 256 with all pieces on)
//   bits 34-37 one-bit counts of bishops: white light, white dark, black light, black dark
//   bits 38-39 one-bit counts of queens, white and black
//   bits 40-51 two-bit counts: white N, black N, white R, black R, white B, black B
//   bits 56-63 number of pieces on the board, kings included
// A black step is the plain sum of its fields with the balance taken as signed.

// Step of one piece, by bitboard index; bishops by square colour: 4 and 5 hold
// the light-square steps, 10 and 11 (unused by kings) the dark-square ones.
constexpr int MATERIAL_STEP_WHITE_BISHOP_DARK = 10;
constexpr int MATERIAL_STEP_BLACK_BISHOP_DARK = 11;
constexpr std::array<uint64_t, 12> MATERIAL_STEPS = {
    0x1000000000205b2ull,  // white pawn
    0xfffffffffe3342ull,   // black pawn
    0x100010008060002ull,  // white knight
    0x100040007fa0006ull,  // black knight
    0x101000410060012ull,  // white bishop, light square
    0x10400100ffa0036ull,  // black bishop, light square
    0x1001000300a00a2ull,  // white rook
    0x10040002ff601e6ull,  // black rook
    0x100004070140001ull,  // white queen
    0x10000806fec0000ull,  // black queen
    0x101000810060012ull,  // white bishop, dark square
    0x10400200ffa0036ull,  // black bishop, dark square
};

// Two kings and the balance bias of 128.
constexpr uint64_t MATERIAL_SIGNATURE_BASE = 0x200000001000000ull;

// --- From-scratch words ------------------------------------------------------
// Used by the FEN setup and the consistency test; make and unmake keep the
// words up incrementally. PositionKey reads the board words; PawnKey and
// MaterialSignature read pieceBits, which must be current.

// side: 0 when white is to move (the side key is then included), 1 for black.
uint64_t PositionKey(const Position* p, int side);
uint64_t PawnKey(const Position* p);
uint64_t MaterialSignature(const Position* p);
