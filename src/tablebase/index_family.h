// Position to table index: the index family of the table files. Each row
// and side to move has its own function; all follow one rule driven by the
// row's men, so the functions are made from a per-row plan, not written out.
// The numbers are fixed by the file format: a wrong index reads a wrong value
// without any sign of it.
#pragma once

#include <cstdint>

#include "tablebase/tb_rows.h"

constexpr int TB_NO_EP = 127;
constexpr int16_t TB_ILLEGAL_PAIR = 4000;

// A side's men by fixed places: pawns 0-2, knights 3-5, bishops 6-8, rooks
// 9-11, queens 12-14, the king 15.
constexpr int MANLIST_PLACES = 16;
constexpr int MANLIST_KING = 15;

// (strong side, weak side, en-passant square or TB_NO_EP, colours exchanged)
using TbIndexFunction = uint64_t (*)(const uint32_t* strong, const uint32_t* weak, int ep, bool flip);

// Number of each king pair, with pawns (first king on files a-d) and without
// (first king in the triangle a1-d1-d4); TB_ILLEGAL_PAIR elsewhere.
extern const int16_t PAWN_KING_PAIRS[64][64];
extern const int16_t PAWNLESS_KING_PAIRS[64][64];

// Builds the slot and enumeration tables and the row plans; once per process.
void InitIndexFamily();

// The index function of a row (1..440) and side to move in the table's own
// view (0: the strong side to move).
TbIndexFunction tb_index_function(int row, int side);

// Whether a pawnless position, the side to move's king on `a` and the
// other on `b`, is read in its mirror image across the a1-h8 diagonal.
bool tb_pawnless_transposed(int a, int b);

// The men of one legal index value, in the table's own view: the strong side
// is White and moves up the board.
struct TbPlacement {
  uint32_t men[2][MANLIST_PLACES];  // [strong, weak], ManList places
  int ep;                           // en-passant square or TB_NO_EP
};

// The position an index value stands for; false when the value holds no legal
// position (men on one square, the side not to move in check, a broken
// en-passant pattern). The index function gives the value back for every
// placement this returns.
bool tb_decode(int row, int side, uint64_t index, TbPlacement* out);

// The whole range of index values the rule can give, past the last legal one.
uint64_t tb_index_range(int row, int side);
