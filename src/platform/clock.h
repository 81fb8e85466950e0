// Millisecond tick and sleep.
#pragma once

#include <cstdint>

// Milliseconds of a monotonic clock; only differences mean anything.
uint64_t tick_ms();
void sleep_ms(int milliseconds);

// Replaces the clock behind tick_ms, so that the time rules can be driven
// step by step; null restores the monotonic clock.
void set_tick_source(uint64_t (*source)());
