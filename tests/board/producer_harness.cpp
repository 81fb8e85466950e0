#include "board/producer_harness.h"

#include "board/make_unmake.h"
#include "board/move_producers.h"
#include "board/position.h"
#include "clock/node_count.h"
#include "eval/attack_maps.h"
#include "eval/capture_lists.h"
#include "search/search_common.h"

namespace harness {

namespace {

template <int Us>
int Produce(Move* list, int variant, NodeRecord* node, Move hashMove, int row) {
  Move* start = list;
  *list = 0;
  if (KingInCheck<Us>()) {
    GenerateEvasions<Us>(list, ~position.colourBits[Us], true);
  } else {
    if (hashMove) *list++ = hashMove;
    *list = 0;
    AttackMaps(node);
    RunCaptureList<Us>(variant, list, position.colourBits[Us ^ 1], node, hashMove, row);
    GenerateQuiets<Us>(list, node, row);
    GenerateUnderpromotions<Us>(list, node);
  }
  while (*list) ++list;
  return int(list - start);
}

// A bishop promotion from a queen promotion word.
constexpr Move BishopFromQueen(Move queen) { return (queen & ~PROMOTION_CLEAR) | (PROMOTE_BISHOP & ~Move(0xc0)); }

template <int Us>
uint64_t Perft(NodeRecord* node, int depth) {
  Move list[256];
  const int n = Produce<Us>(list, CAPTURES_WIDE, node, 0, 0);
  uint64_t count = 0;
  for (int i = 0; i < n; ++i) {
    const Move tries[2] = {list[i], is_promotion(list[i]) && (list[i] & PROMOTION_QUEEN) == PROMOTION_QUEEN
                                        ? BishopFromQueen(list[i])
                                        : 0};
    for (const Move m : tries) {
      if (!m) continue;
      SavedState saved;
      MakeMove<Us>(m, &saved, node);
      if (!KingInCheck<Us>()) count += depth == 1 ? 1 : Perft<Us ^ 1>(node + 1, depth - 1);
      UnmakeMove<Us>(m, &saved);
    }
  }
  return count;
}

}  // namespace

std::vector<Move> ProduceAll(int side, int variant, NodeRecord* node, Move hashMove, int historyRow) {
  Move list[512];
  const int n = side == WHITE ? Produce<WHITE>(list, variant, node, hashMove, historyRow)
                              : Produce<BLACK>(list, variant, node, hashMove, historyRow);
  return std::vector<Move>(list, list + n);
}

bool InCheck(int side) { return side == WHITE ? KingInCheck<WHITE>() : KingInCheck<BLACK>(); }

uint64_t EnginePerft(int side, int depth) {
  static NodeRecord stack[64];
  node_countdown = int64_t(1) << 62;  // no periodic check inside the count
  return side == WHITE ? Perft<WHITE>(&stack[1], depth) : Perft<BLACK>(&stack[1], depth);
}

namespace {

template <int Us>
bool SafeAfter(Move m) {
  static NodeRecord stack[4];
  node_countdown = int64_t(1) << 62;  // no periodic check (it would read our input)
  SavedState saved;
  MakeMove<Us>(m, &saved, &stack[1]);
  const bool safe = !InCheck(Us);
  UnmakeMove<Us>(m, &saved);
  return safe;
}

}  // namespace

bool KingSafeAfter(int side, Move m) { return side == WHITE ? SafeAfter<WHITE>(m) : SafeAfter<BLACK>(m); }

std::set<std::string> ProducedLegalTexts(const reference::Board& board) {
  std::set<std::string> texts;
  for (const std::string& t : board.LegalMoveTexts())
    if (!(t.size() == 5 && t[4] == 'b')) texts.insert(t);
  return texts;
}

Move HashFormMove(const reference::Board& board, std::mt19937_64& rng, bool noPromotion) {
  const auto moves = board.LegalMoves();
  if (moves.empty()) return 0;
  const auto& m = moves[rng() % moves.size()];
  if (m.promotion && (noPromotion || m.promotion != reference::QUEEN)) return 0;
  const Move word = Move(m.from) << 10 | Move(m.to);
  return board.Side() == WHITE ? HashMoveToMove<WHITE>(word) : HashMoveToMove<BLACK>(word);
}

}  // namespace harness
