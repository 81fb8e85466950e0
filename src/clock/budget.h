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

// The budget's settings that a controller may change by setoption; the
// others are fixed tuning values of the budget itself.
struct TimeSettings {
  int32_t buffer_s = 3;            // "TC Buffer": kept back on a clock without increment
  int32_t hard_buffer_ms = 250;    // "TC Hard Buffer msec": never planned into
  int32_t hard_move_time_ms = 5;   // "TC Hard Move Time msec": the least a move gets
  int32_t hard_move_depth = 5;     // "TC Hard Move Depth": plies on a clock below the hard buffer
  int32_t normal_move_time = 80;   // "TC Normal Move Time": percent of the target share
  int32_t max_move_time = 100;     // "TC Max Move Time": percent of the hard share
};
extern TimeSettings time_settings;

// CPU Usage, 1..100: below 100 the periodic check pauses 100 - value ms.
extern int32_t cpu_usage;
