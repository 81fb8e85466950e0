// Making moves on the Position.
#pragma once

#include "board/types.h"

// The slow, colour-independent make of the position command: updates the
// board, history, rights, en-passant square, counters, key and side, and
// leaves bitboards and sums to the RebuildDerived that follows. A move of 0
// is a pass.
void ApplyGameMove(Move move);
