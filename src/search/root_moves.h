// Every move of the side to move, as the root and the line walker need them:
// the wide capture list, the underpromotions and the quiet moves (the
// evasions when in check), each proved legal by a make.
#pragma once

#include "board/make_unmake.h"
#include "board/move_producers.h"
#include "eval/attack_maps.h"
#include "eval/capture_lists.h"
#include "search/search_common.h"

// The candidate list, not yet tested for legality. The node's attack maps
// must describe the position (Evaluate or AttackMaps has run on it).
template <int Us>
Move* CandidateMoves(Move* list, NodeRecord* node) {
  *list = 0;
  if (KingInCheck<Us>()) return GenerateEvasions<Us>(list, ~position.colourBits[Us], true);
  CaptureList<Us, CAPTURES_WIDE>(list, position.colourBits[Us ^ 1], node, 0, 0);
  GenerateUnderpromotions<Us>(list, node);
  GenerateQuiets<Us>(list, node, 0);
  while (*list) ++list;
  return list;
}

// Does `m` leave our king safe? Made and unmade without counting a node.
template <int Us>
bool LeavesKingSafe(Move m, NodeRecord* node) {
  SavedState saved;
  const PeriodicCheckHold hold;
  MakeMove<Us>(m, &saved, node);
  const bool safe = !KingInCheck<Us>();
  UnmakeMove<Us>(m, &saved);
  return safe;
}

// The legal move of the position that `m` names (from, to and, for a
// promotion, its piece), or 0. Uses `node` as scratch for the maps.
template <int Us>
Move FindLegalMove(Move m, NodeRecord* node) {
  if (!m) return 0;
  Move list[256];
  AttackMaps(node);
  const Move* end = CandidateMoves<Us>(list, node);
  for (const Move* p = list; p < end; ++p) {
    const bool same = (*p & MOVE_IDENTITY) == (m & MOVE_IDENTITY) &&
                      (!is_promotion(*p) || promotion_index(WHITE, *p) == promotion_index(WHITE, m));
    if (same && LeavesKingSafe<Us>(*p, node)) return *p;
  }
  return 0;
}
