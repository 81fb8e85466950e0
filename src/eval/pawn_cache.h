// The pawn cache: everything that depends only on what pawnKey covers (the
// pawns, the two king squares, the square colours of the bishops and the
// castling rights), computed once and kept for the whole search.
#pragma once

#include <cstdint>

#include "board/types.h"
#include "eval/evaluate.h"

struct PawnRecord {
  Bitboard passedPawns;       // the passed pawns of both colours
  Bitboard whiteHoldSquares;  // white pawn support points that no black pawn can ever attack
  Bitboard blackHoldSquares;
  uint64_t pawnKeyCheck;      // the pawnKey of the record; a zero-filled row matches only key 0
  Bitboard whiteAttackSpan;   // squares that a white pawn may come to attack
  Bitboard blackAttackSpan;
  PackedScore pawnScore;      // pair difference, White's view, without bias
  PackedScore whiteShelter;   // danger around the white king from the pawns
  PackedScore blackShelter;
  uint32_t useCount;          // hits since the row was last aged; nothing decides by it
};
static_assert(sizeof(PawnRecord) == 64);

// A row has room for two records; only the first is used, so a row number is
// (pawnKey >> 7) & 0x3ffe in units of one record.
constexpr int32_t PAWN_CACHE_ROWS = 8192;
constexpr int32_t PAWN_CACHE_SLOTS = 2 * PAWN_CACHE_ROWS;
constexpr uint64_t PAWN_SLOT_MASK = 0x3ffe;

extern PawnRecord pawn_cache[PAWN_CACHE_SLOTS];

[[gnu::always_inline]] inline PawnRecord* PawnCacheRow(uint64_t pawnKey) {
  return &pawn_cache[(pawnKey >> 7) & PAWN_SLOT_MASK];
}

// The record of the current pawnKey of the global position, valid until the
// next probe that misses. A hit counts one use.
PawnRecord* ProbePawnCache();

// Zero-fills the cache; done with the hash table.
void ClearPawnCache();
// Divides every row's use counter by 16; done at each go.
void AgePawnCache();
