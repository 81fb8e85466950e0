#include "eval/piece_square.h"

// Filled with the evaluator's piece-square terms when the evaluator lands;
// until then every addend is zero and pstSum carries only bias and castling.
const int64_t PIECE_SQUARE_VALUES[12 * 64] = {};
