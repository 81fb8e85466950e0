// The root move table: one row per root move, best first after each pass.
#pragma once

#include <cstdint>

#include "board/types.h"

constexpr int ROOT_LIST_SIZE = 256;
constexpr int ROOT_PV_TEXT_SIZE = 2048;

struct RootRecord {
  Move move;        // as generated, ordering bits included; 0 ends the table
  int32_t depth;    // half plies at which score was found; 0 for never
  int32_t score;    // last full result
  uint8_t lower;    // failed high against the root beta
  uint8_t upper;    // kept for the output code
  uint64_t time;    // ms since the search began, plus one
  uint64_t nodes;   // node figure at that moment
  uint64_t tbhits;  // tablebase hits at that moment
  char pv[ROOT_PV_TEXT_SIZE];  // long-algebraic moves separated by blanks
};

extern RootRecord root_list[ROOT_LIST_SIZE];

void clear_root_list();
