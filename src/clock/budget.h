// The time budget and the limits of the running search.
#pragma once

#include <cstdint>

// A budget at or above this is no real budget: ponder, infinite or none.
constexpr int64_t NO_BUDGET = 0x3ffffff;

extern int64_t target_time;      // ms the search aims to use
extern int64_t max_time;         // ms after which it stops at its next check
extern int64_t move_time_limit;  // ms of a movetime, else NO_BUDGET
extern uint64_t node_limit;      // node figure at which a check ends the search
extern uint64_t iter_node_limit; // node figure at which an iteration end ends it
extern bool iteration_time_out;  // an iteration end found the soft limit passed
