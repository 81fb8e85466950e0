#include "search/move_picker.h"

#include <algorithm>

namespace {

constexpr Move KEY_BITS = 0xfdff;          // a reply key: the move less its check bit
constexpr Move KILLER_BITS = (Move(1) << 49) - 1;  // a killer keeps identity and order, not priority
constexpr Move PAWN_OR_QUIET_PIECE = 0x4020000;    // pawn kind, or bit 17 of a piece move that took nothing
constexpr Move FIRST_REPLY_ORDER = 0xe00000000000, SECOND_REPLY_ORDER = 0xc00000000000;

[[gnu::always_inline]] inline int HistoryWeight(int depth) {
  return HistoryWeights[std::clamp(depth, 0, int(HistoryWeights.size()) - 1)];
}

// Keeps `key` first in a reply pair; the former first becomes the second.
[[gnu::always_inline]] inline void PushReply(uint16_t (&pair)[2], uint16_t key) {
  if (pair[0] != key) {
    pair[1] = pair[0];
    pair[0] = key;
  }
}

template <int Us>
[[gnu::always_inline]] inline bool IsOurPromotion(Move m) {
  if constexpr (Us == WHITE) return is_white_promotion(m);
  else return is_black_promotion(m);
}

[[gnu::always_inline]] inline int CaptureGainIndex(Move m) { return int(m >> 27 & 7) * 64 + move_to(m); }

}  // namespace

void CreditMove(Move move, int depth, NodeRecord* node, int row) {
  const uint16_t key = uint16_t(move & KEY_BITS);
  if (const Move previous = node[-1].currentMove) PushReply(CounterMoves[previous & 0x1ff], key);

  Move* killers = node->killers;
  if ((killers[0] & KEY_BITS) == key) {
    // The same move again: a check bit stays only when both times it checked.
    if (!(move & MOVE_CHECK)) killers[0] &= ~MOVE_CHECK;
  } else {
    killers[1] = killers[0];
    killers[0] = move & KILLER_BITS;
  }

  uint16_t& h = HistoryEntry(row, move);
  h = uint16_t(h + HistoryWeight(depth) * (32765 - int32_t(h)) / 4096);
}

void HistoryMalus(Move move, int depth, int row) {
  uint16_t& h = HistoryEntry(row, move);
  h = uint16_t(h - HistoryWeight(depth) * int32_t(h) / 4096);
}

template <int Us>
void UpdateGain(NodeRecord* node) {
  constexpr int Mover = Us ^ 1;
  const NodeRecord& parent = node[-1];
  const Move m = parent.currentMove;
  if (!m || parent.approximate) return;
  const int32_t whiteChange = node->positionalScore - parent.positionalScore;
  const int32_t change = Mover == WHITE ? whiteChange : -whiteChange;
  int8_t& gain = GainTable[Mover][m & 0xfcff];
  int16_t& captureGain = CaptureGainTable[Mover][CaptureGainIndex(m)];
  if (m & PAWN_OR_QUIET_PIECE) {
    const int32_t d = (m & MOVE_VICTIM) ? change - captureGain : change;
    const int32_t g = std::clamp(gain + (d - gain) / 2, -127, 127);
    gain = int8_t(g);
  } else {
    // A capture by a piece: what its gain does not explain is the victim's.
    captureGain = int16_t((change - gain + captureGain) / 2);
  }
}

template <int Us>
void ReplyCredit(Move move, NodeRecord* node) {
  const int index = int(node[-1].currentMove & 0x1ff) * 64 + int(position.kingSquare[Us]);
  PushReply(EvasionCounterMoves[index], uint16_t(move & KEY_BITS));
}

template <int Us>
void MarkEvasions(Move* list, NodeRecord* node) {
  const int index = int(node[-1].currentMove & 0x1ff) * 64 + int(position.kingSquare[Us]);
  const Move first = EvasionCounterMoves[index][0], second = EvasionCounterMoves[index][1];
  for (; *list; ++list) {
    const Move m = *list;
    if (IsOurPromotion<Us>(m)) continue;
    const Move key = m & KEY_BITS;
    if (first && key == first) *list = m | FIRST_REPLY_ORDER;
    else if (second && key == second) *list = m | SECOND_REPLY_ORDER;
  }
}

template void UpdateGain<WHITE>(NodeRecord*);
template void UpdateGain<BLACK>(NodeRecord*);
template void ReplyCredit<WHITE>(Move, NodeRecord*);
template void ReplyCredit<BLACK>(Move, NodeRecord*);
template void MarkEvasions<WHITE>(Move*, NodeRecord*);
template void MarkEvasions<BLACK>(Move*, NodeRecord*);
