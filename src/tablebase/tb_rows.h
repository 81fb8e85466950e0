// The known tables: one row per material balance, in the fixed order that
// the table files and the size classes depend on. Row 0 is the empty "kk".
#pragma once

#include <cstdint>

constexpr int TB_ROWS = 441;  // rows 1..440 are real

// Row flags.
constexpr uint32_t TB_SYMMETRIC = 1;  // same men on both sides: only the white-to-move file exists
constexpr uint32_t TB_WIDE = 2;       // entries of 16 bits
constexpr uint32_t TB_SPLIT = 4;      // spread over numbered files of up to 2^31 bytes

// Men kinds in their list order: pawn, knight, bishop, rook, queen.
constexpr int TB_KINDS = 5;

struct TbRowMen {
  uint8_t count[2][TB_KINDS];  // [strong, weak][kind]
  uint8_t men;                 // all men, kings included
  bool pawns;
};

// The row's name, for example "kqkr"; "kk" for row 0.
const char* tb_row_name(int row);
uint32_t tb_row_flags(int row);
const TbRowMen& tb_row_men(int row);
// The row with this name, or 0.
int tb_row_by_name(const char* name);
// Index values of each side to move (the generated size table).
extern const uint64_t TB_ROW_SIZES[TB_ROWS][2];
