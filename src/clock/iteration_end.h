// When a search ends: the test after each iteration.
#pragma once

#include <cstdint>

// After iteration `iteration` (half plies) has finished: true when the
// search is to end now.
bool IterationEndTest(int32_t iteration);
