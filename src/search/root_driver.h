// The root of the search: the root move table, iterative deepening by whole
// plies, the aspiration window, and the loop over the root moves. The mark
// that a stop jumps to lives here: after the jump the Position is rebuilt
// from the last position line, since the search left it mid-tree.
#pragma once

#include <cstdint>

#include "board/types.h"

constexpr int32_t MAX_ITERATION = 126;

// The search_moves of the go line, 0 ended.
extern Move search_moves[257];
// The root move under search and its number (1 on), for the reports.
extern Move current_root_move;
// The table's move for the root position when the search began, 0 if none.
extern Move root_hash_move;
extern int32_t current_root_number;
extern int32_t current_depth;
// Option Always Score Main Move: the first move gets an exact value even
// when it fails low.
extern bool always_score_main_move;
extern bool display_upperbounds;  // option Display Upperbounds: a failing first move is shown as a bound

// Runs the whole search of the side to move; returns when it is over. The
// root list then holds the result, best first.
template <int Us>
void RootDriver();

// A stop that came before the mark was set: the driver returns at once.
extern bool stop_pending;

// Whether the root driver's mark is set, so that a jump may be made.
bool InsideSearch();

// Leaves the search from any depth: the root driver takes over at its mark,
// rebuilds the Position and ends the search (or, with search_restart,
// searches again). Only valid while a search runs.
[[noreturn]] void JumpToStopMark();
