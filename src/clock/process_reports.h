// What the other processes of the pool tell the MainProcess's clock through
// the ReportArea: whether one of them holds a better move, and how far the
// best move stands above the second one in child 3's two exact lines. Pure
// functions over an area, so that any area, shared or made up, can be read.
#pragma once

#include <cstdint>

#include "board/types.h"

struct ProcessVerdict {
  bool keep;   // no process disagrees: the budget may be cut as usual
  bool boost;  // one disagrees after a ponder hit: stretch the limit
};

// Compares every process's slot, 0 to `processes` both included, with this
// process's own slot as the base: a process disagrees when its best move
// (or, but for child 3, the move it is proving after raising alpha) is not
// `best` and comes from at least the base depth with a better score.
ProcessVerdict CompareProcesses(const uint64_t* area, int32_t processes, Move best, bool ponderhit);

// The margin of `score` over child 3's lines when the header holds the
// MainProcess's move and two different moves of child 3; false otherwise.
bool ReportedMargin(const uint64_t* area, int32_t score, int32_t* margin);

// Percent of the target at which a search may end: in the periodic check,
// and at the end of an iteration, by the margin.
int32_t CheckTimeFactor(int32_t margin);
int32_t IterationTimeFactor(int32_t margin);

// The factor of the periodic check: 90 without a margin, from the margin's
// table otherwise; five times that on a boost.
int64_t CheckFactor(const uint64_t* area, int32_t score, bool boost);
// The factor of the iteration end: 80 without a margin; with one, from its
// table, and five times more for every process that holds a better move than
// `best` from at least the MainProcess's depth.
int64_t IterationFactor(const uint64_t* area, int32_t processes, Move best);
