#include "search/search_margins.h"

#include "board/position.h"
#include "report/output.h"

int32_t extension_word = 3;

void ComputeSearchMargins() {
  const Bitboard* men = position.pieceBits;
  const auto both = [men](int index) { return popcount(men[index] | men[index + 1]); };
  const int32_t stage = both(KNIGHT_INDEX) + both(BISHOP_INDEX) + 2 * both(ROOK_INDEX) + 4 * both(QUEEN_INDEX);
  phase_stage = stage;
  extension_word = stage / 6 < 3 ? stage / 6 : 3;
}

int32_t FiftyMoveLimit() { return goe_mode ? 40 : 100; }
