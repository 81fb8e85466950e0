// The Position record, the piece words on its board, FEN in and out.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "board/types.h"

// A piece word is a prefabricated fragment of a move word: generators build a
// move from it with XORs and one AND and never look at a piece type.
// Indexed by piece code; entries 0 and 1 are empty.
constexpr uint64_t PIECE_WORDS[14] = {
    0, 0,
    0x101980001c0204d2ull, 0x101980001c0204e3ull,  // P p
    0x106980000a1f0c54ull, 0x106980000a1f0c65ull,  // N n
    0x11298000111f0c96ull, 0x11298000111f0ca7ull,  // B b
    0x1a298000309b1598ull, 0x1a298000309b15a9ull,  // R r
    0x322980002853255aull, 0x322980002853256bull,  // Q q
    0x9001800020227d1cull, 0x9001800020227d2dull,  // K k
};

// Piece word fields.
constexpr uint64_t WORD_CODE = 0xf;
constexpr uint64_t WORD_WHITE = 0x10;
constexpr uint64_t WORD_BLACK = 0x20;
constexpr int WORD_CLASS_SHIFT = 6;
constexpr uint64_t WORD_CLASS = 0x1c0;

// Castling rights.
constexpr uint32_t WHITE_SHORT = 1, WHITE_LONG = 2, BLACK_SHORT = 4, BLACK_LONG = 8;

// Rights kept by a move from or to each square: `castling & mask[from] &
// mask[to]`. A king or rook leaving its square, or a rook taken there, ends
// the right.
constexpr std::array<uint8_t, 64> make_castling_mask() {
  std::array<uint8_t, 64> mask{};
  for (auto& m : mask) m = 0xf;
  mask[0] = 0xd, mask[4] = 0xc, mask[7] = 0xe, mask[56] = 0x7, mask[60] = 0x3, mask[63] = 0xb;
  return mask;
}
constexpr std::array<uint8_t, 64> CASTLING_MASK = make_castling_mask();

// The part of a Position that make saves whole and unmake restores whole:
// 64 contiguous bytes, moved as four 16-byte units.
struct StateBlock {
  uint32_t castling;
  uint32_t epSquare;  // 0 = none (a1 can never be an en-passant square)
  uint32_t fiftyCount;
  uint32_t historyCount;
  int64_t pstSum;
  uint32_t capturedCode;
  uint32_t reserved0;
  uint64_t key;
  uint64_t pawnKey;
  uint64_t materialSignature;
  int32_t materialAdjust;
  int32_t reserved1;
};
static_assert(sizeof(StateBlock) == 64);
static_assert(offsetof(StateBlock, pstSum) == 16);
static_assert(offsetof(StateBlock, key) == 32);
static_assert(offsetof(StateBlock, materialAdjust) == 56);

constexpr int KEY_HISTORY_SIZE = 1024;

struct alignas(64) Position {
  uint64_t lowMargin[32];  // always zero: board[square - 8] style reads may run off the low edge
  uint64_t board[64];      // a piece word per square, 0 when empty
  uint64_t highMargin[32]; // always zero: the same at the high edge
  Bitboard colourBits[2];
  Bitboard pieceBits[12];  // by bitboard index
  uint32_t kingSquare[2];
  Bitboard occupied;
  StateBlock state;
  uint64_t keyHistory[KEY_HISTORY_SIZE];
};
static_assert(offsetof(Position, board) == 256);
static_assert(offsetof(Position, highMargin) == 768);
static_assert(offsetof(Position, colourBits) == 1024);
static_assert(offsetof(Position, pieceBits) == 1040);
static_assert(offsetof(Position, kingSquare) == 1136);
static_assert(offsetof(Position, occupied) == 1144);
static_assert(offsetof(Position, state) == 1152 && offsetof(Position, state) % 64 == 0);
static_assert(offsetof(Position, keyHistory) == 1216);

// The one Position of this process, and the side to move at root and game level.
extern Position position;
extern int sideToMove;

constexpr const char START_FEN[] = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -";

// True when the text has the shape of a FEN; otherwise "Invalid FEN string."
// goes through the message channel.
bool CheckFenText(const char* text);
// Sets the global Position and sideToMove; 0 when the text failed the check.
int SetPositionFromFen(const char* text);
// Sets a caller's record; the side comes from the text, sideToMove stays.
// Like the hash commands that use it, it lays the piece words from the start
// of the record, not at its board (see the note in position.cpp).
int SetRecordFromFen(Position* record, const char* text);
// Recomputes every derived field from the board.
void RebuildDerived(Position* record);
void RebuildDerived(Position* record, int side);
// Writes the global position's FEN (no counters); returns the length.
int WriteFen(char* buffer);
bool IsPositionConsistent();
