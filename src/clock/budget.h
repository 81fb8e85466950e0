// The time budget of the running search.
#pragma once

#include <cstdint>

// A budget at or above this is no real budget: ponder, infinite or none.
constexpr int64_t NO_BUDGET = 0x3ffffff;

extern int64_t target_time;  // ms the search aims to use
extern int64_t max_time;     // ms after which it stops at its next check
