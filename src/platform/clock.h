// Millisecond tick and sleep.
#pragma once

#include <cstdint>

// Milliseconds of a monotonic clock; only differences mean anything.
uint64_t tick_ms();
void sleep_ms(int milliseconds);
