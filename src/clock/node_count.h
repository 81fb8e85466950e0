// Counting the nodes of a search: White's make operations count down, and
// every 4096 counted moves the full make runs the periodic check.
#pragma once

#include <cstdint>

struct NodeRecord;

constexpr int64_t NODE_BLOCK = 4096;

extern uint64_t node_blocks;     // blocks of NODE_BLOCK counted nodes, 1 at the start of a search
extern int64_t node_countdown;   // NODE_BLOCK at the start of a search

// Holds the periodic check off for the makes of one scope outside the tree
// (root list, line walker, ponder move), so that no input is read and no
// jump is made halfway through them.
struct PeriodicCheckHold {
  int64_t saved = node_countdown;
  PeriodicCheckHold() { node_countdown = int64_t(1) << 62; }
  ~PeriodicCheckHold() { node_countdown = saved; }
  PeriodicCheckHold(const PeriodicCheckHold&) = delete;
  PeriodicCheckHold& operator=(const PeriodicCheckHold&) = delete;
};

// Counted nodes of this process.
inline uint64_t counted_nodes() { return node_blocks * NODE_BLOCK - uint64_t(node_countdown); }

// Sets the counters for a new search.
void reset_node_count();

// The time rules of the check at `elapsed` ms: the soft share of the target
// and the half of the hard limit may set max_time to 0.
void stretch_budget(int64_t elapsed);
// Whether the check must end the search now: the hard limit, the movetime,
// both only with a clock running, or the node limit, always.
bool time_is_up(int64_t elapsed);

// Called by White's full make when the countdown has run out: opens the next
// block and polls the input, which may end the search by its long jump.
// `node` is where the make happens: the Visualizers hear the line to it.
void periodic_check(const NodeRecord* node);
