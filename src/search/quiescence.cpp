#include "search/quiescence.h"

#include "board/exchange.h"
#include "board/make_unmake.h"
#include "board/move_producers.h"
#include "eval/attack_maps.h"
#include "eval/capture_lists.h"
#include "eval/evaluate.h"
#include "hash/table.h"
#include "search/move_picker.h"
#include "search/ordering_margins.h"
#include "search/node_support.h"
#include "search/search_common.h"

namespace {

using namespace HashEntry;

constexpr int32_t NO_VALUE = -32768;  // a hash move that proved illegal was not searched

// A queen can chase a king with safe checks for hundreds of plies without
// repeating a position, and the open-window nodes search every quiet check
// of their lists, with no width stop: a chain of them multiplies at each
// ply. Quiet checks are tried only in the first plies of quiescence, and no
// quiet move near the end of the node stack. Captures and promotions run
// out by themselves.
constexpr int QUIET_CHECK_PLIES = 8;
constexpr int QUIET_MOVE_PLY_LIMIT = 160;

inline bool QuietMoveSkipped(Move m, int32_t qply, const NodeRecord* node) {
  if (m & MOVE_VICTIM) return false;
  return PlyIndex(node) >= QUIET_MOVE_PLY_LIMIT || (qply < -QUIET_CHECK_PLIES && !is_promotion(m));
}

// The stand-pat value of a static score at or above beta, damped past beta + 30.
inline int32_t StandPat(int32_t score, int32_t beta) {
  const int32_t v = score + 6;
  return v < beta + 30 ? v : beta + 30 + ((score - beta - 24) >> 3);
}

// Makes `m`, searches the reply with the routine that fits (the opponent in
// check or not), unmakes. With `verify`, a move that leaves our king attacked
// is taken back unsearched (hash moves and en passant, which the producers
// do not prove legal).
template <int Us, bool Open>
int32_t SearchReply(Move m, int32_t alpha, int32_t beta, int32_t qply, NodeRecord* node, bool verify) {
  constexpr int Them = Us ^ 1;
  SavedState saved;
  MakeMove<Us>(m, &saved, node);
  if (verify && KingInCheck<Us>()) {
    UnmakeMove<Us>(m, &saved);
    return NO_VALUE;
  }
  int32_t v;
  const bool check = KingInCheck<Them>();
  if (check) node->currentMove |= MOVE_CHECK;
  if constexpr (Open)
    v = check ? -QuiescePvEvasions<Them>(-beta, -alpha, qply, node + 1) : -QuiescePv<Them>(-beta, -alpha, qply, node + 1);
  else
    v = check ? -QuiesceEvasions<Them>(1 - beta, qply, node + 1) : -Quiesce<Them>(1 - beta, qply, node + 1);
  UnmakeMove<Us>(m, &saved);
  return v;
}

// Targets and variant of a capture list in quiescence: far below beta the
// cheap enemy men are not worth taking, and the list narrows with the gap
// and the depth into quiescence.
struct QuietRange {
  Bitboard targets;
  int32_t width;
};

template <int Us>
QuietRange CaptureRange(int32_t gap, int32_t qply) {
  constexpr int Them = Us ^ 1;
  const Bitboard* men = position.pieceBits;
  const int64_t g = (int64_t(MaterialStageField()) * 160 + 45056) * gap / 0x80000;
  Bitboard t = position.colourBits[Them];
  if (g > 18) t &= ~men[PAWN_INDEX + Them];
  if (g > 58) t &= ~(men[KNIGHT_INDEX + Them] | men[BISHOP_INDEX + Them]);
  if (g > 90) t &= ~men[ROOK_INDEX + Them];
  return {t, QuiesceWidth(gap > 65535 ? 65535 : gap) + qply};
}

template <int Us>
Bitboard MakeCaptureList(Move* list, const QuietRange& r, NodeRecord* node, Move hashMove) {
  if (r.width <= -3) return CaptureList<Us, QUIESCE_NARROW>(list, r.targets, node, hashMove, 0);
  if (r.width < 1) return CaptureList<Us, QUIESCE_MIDDLE>(list, r.targets, node, hashMove, 0);
  return CaptureList<Us, QUIESCE_WIDE>(list, r.targets, node, hashMove, 0);
}

// Whether a capture list word may be searched: the exchange test of words
// that do not prove themselves, with the men that may answer limited by the
// list's masks. A bishop taking a knight is tested against a pawn's loss when
// the material word asks for it.
template <int Us>
bool PassesExchange(Move m, Bitboard mask, const NodeRecord* node) {
  const int from = move_from(m), to = move_to(m);
  const Bitboard occ = position.occupied ^ bit(from);
  if ((m & 0x8000039000000ull) == 0x9000000 && (position.state.materialSignature >> 51 & 1))
    if (!ExchangeTest<Us>(to, occ, mask, 0x20000)) return false;
  if (m & 0xa2a8000000010000ull) return true;
  Bitboard candidates = mask & node->queenRayMask;
  if (!(m & 0x380000)) candidates &= node->pieceRayMask;
  return ExchangeTest<Us>(to, occ, candidates, int64_t(m & MOVE_STAKE));
}

// The best of a null-window node so far. A value that reaches beta is stored
// as a lower bound of depth 2 and ends the node.
struct Best {
  int32_t value;
  Move move = 0;

  bool Raise(Move m, int32_t v, int32_t beta, uint64_t key) {
    if (v <= value) return false;
    value = v;
    move = m;
    if (v < beta) return false;
    StoreLowerPlain(key, m, 2, v + HASH_VALUE_OFFSET);
    return true;
  }
};

// The end of a node that had no cut: the static score, floored when far
// below the bound, or exact when no move did better.
inline int32_t Finish(uint64_t key, int32_t score, int32_t bound, Best best) {
  const int32_t v = score + 6;
  if (v < bound - 30) {
    const int32_t floor = FloorBelow(v, bound);
    if (floor > best.value) best.value = floor;
  } else if (v >= best.value) {
    StoreExact(key, best.move, 1, v + HASH_VALUE_OFFSET);
    return v;
  }
  StoreUpperPlain(key, best.move, 1, best.value + HASH_VALUE_OFFSET);
  return best.value;
}

// The entry of a null-window node: a repetition is a draw, and a bound in the
// table that decides beta ends the node, whatever its depth. Otherwise the
// hash move of the last matching slot that has one, completed.
template <int Us>
bool NullWindowEntry(int32_t beta, uint64_t key, int32_t* value, Move* hashMove) {
  if (IsRepetition()) {
    *value = 0;
    return true;
  }
  const HashBucket bucket = LoadBucket(key);
  if (ProbeCut(bucket, key, [beta](uint64_t e, int32_t v) { return (IsLower(e) && v >= beta) || (IsUpper(e) && v < beta); },
               value))
    return true;
  const Move hashForm = BucketMove(bucket, key);
  *hashMove = hashForm ? HashMoveToMove<Us>(hashForm) : 0;
  return false;
}

}  // namespace

template <int Us>
int32_t Quiesce(int32_t beta, int32_t qply, NodeRecord* node) {
  const uint64_t key = position.state.key;
  int32_t cut;
  Move hashMove;
  if (NullWindowEntry<Us>(beta, key, &cut, &hashMove)) return cut;

  const Move previous = node[-1].currentMove;
  int32_t score;
  if (previous) {
    // Far below beta the estimate stands and only the cheap maps are made.
    const int32_t e = LazyEstimate<Us>(node);
    const int32_t c = (previous & MOVE_VICTIM) ? 15 : -15;
    const int32_t a = node[-1].approximate ? 10 : -10;
    if (e >= beta - a - c - Blend(122, 162)) {
      score = FullScore<Us>(node);
      if (score + 6 >= beta) return StandPat(score, beta);
    } else {
      score = node->staticScore = e;
      AttackMaps(node);
    }
  } else {
    score = NullMoveScore(node);
  }
  if (score + 6 >= beta) return StandPat(score, beta);
  Best best{score + 6};

  if (hashMove && best.Raise(hashMove, SearchReply<Us, false>(hashMove, beta - 1, beta, qply - 1, node, true), beta, key))
    return best.value;

  Move list[256];
  const QuietRange range = CaptureRange<Us>(beta - score, qply);
  const Bitboard mask = MakeCaptureList<Us>(list, range, node, hashMove);
  for (Move* cursor = list;; ++cursor) {
    const Move m = SelectLargest(cursor);
    if (!m) break;
    if (m >> 63) return KING_CAPTURE_SCORE - PlyIndex(node);
    if (QuietMoveSkipped(m, qply, node)) continue;
    if (!PassesExchange<Us>(m, mask, node)) continue;
    if (best.Raise(m, SearchReply<Us, false>(m, beta - 1, beta, qply - 1, node, m & MOVE_EN_PASSANT), beta, key))
      return best.value;
    // A quiet check closes the loop unless the list is wide: at most one is tried.
    if (range.width < 3 && !(m >> 49)) break;
  }
  return Finish(key, score, beta, best);
}

template <int Us>
int32_t QuiescePv(int32_t alpha, int32_t beta, int32_t qply, NodeRecord* node) {
  if (IsRepetition()) return 0;
  const uint64_t key = position.state.key;
  const HashBucket bucket = LoadBucket(key);
  int32_t cut;
  if (ProbeCut(bucket, key, [=](uint64_t e, int32_t v) {
        return (IsLower(e) && IsUpper(e)) || (IsLower(e) && v >= beta) || (IsUpper(e) && qply < Depth(e) && v <= alpha);
      }, &cut))
    return cut;
  const Move hashForm = BucketMove(bucket, key);
  const Move hashMove = hashForm ? HashMoveToMove<Us>(hashForm) : 0;

  const int32_t score = node[-1].currentMove ? FullScore<Us>(node) : NullMoveScore(node);
  if (score + 6 >= beta) return StandPat(score, beta);
  Best best{score + 6};
  if (best.value > alpha) alpha = best.value;
  const auto raise = [&](Move m, int32_t v) {
    if (best.Raise(m, v, beta, key)) return true;
    if (best.value > alpha) alpha = best.value;
    return false;
  };
  if (hashMove && raise(hashMove, SearchReply<Us, true>(hashMove, alpha, beta, qply - 1, node, true))) return best.value;

  Move list[256];
  const QuietRange range = CaptureRange<Us>(beta - score, qply);
  const Bitboard mask = MakeCaptureList<Us>(list, range, node, hashMove);
  for (Move* cursor = list;; ++cursor) {
    const Move m = SelectLargest(cursor);
    if (!m) break;
    if (m >> 63) return KING_CAPTURE_SCORE - PlyIndex(node);
    if (QuietMoveSkipped(m, qply, node)) continue;
    if (!PassesExchange<Us>(m, mask, node)) continue;
    if (raise(m, SearchReply<Us, true>(m, alpha, beta, qply - 1, node, m & MOVE_EN_PASSANT))) return best.value;
  }
  return Finish(key, score, alpha, best);
}

template <int Us>
int32_t QuiesceEvasions(int32_t beta, int32_t qply, NodeRecord* node) {
  constexpr int Them = Us ^ 1;
  const uint64_t key = position.state.key;
  int32_t cut;
  Move hashMove;
  if (NullWindowEntry<Us>(beta, key, &cut, &hashMove)) return cut;

  int32_t score = node[-1].currentMove ? (node->staticScore = LazyEstimate<Us>(node)) : NullMoveScore(node);
  Best best{-KING_CAPTURE_SCORE};
  if (hashMove && best.Raise(hashMove, SearchReply<Us, false>(hashMove, beta - 1, beta, qply - 1, node, true), beta, key))
    return best.value;

  // Near beta the estimate is not good enough: evaluate.
  const int64_t scale = int64_t(MaterialStageField()) * 104 + 52224;
  int64_t gap = scale * (beta - score);
  if (gap <= 100 * 0x10000 && gap >= -100 * 0x10000) {
    score = FullScore<Us>(node);
    gap = scale * (beta - score);
  }

  Move list[256];
  const Bitboard occ = position.occupied;
  if (score < beta) {
    // Far below beta in check: only captures answer, no quiet evasion is tried.
    GenerateEvasions<Us>(list, position.colourBits[Them], false);
    if (!hashMove) best.value = score;
    MarkEvasions<Us>(list, node);
    for (Move* cursor = list;; ++cursor) {
      const Move m = SelectLargest(cursor);
      if (!m) break;
      if (hashMove && SameMove(m, hashMove)) continue;
      if (!(m & 0xa2a8000000210000ull) &&
          !ExchangeTest<Us>(move_to(m), occ ^ bit(move_from(m)), ~Bitboard(0), int64_t(m & MOVE_STAKE)))
        continue;
      if (best.Raise(m, SearchReply<Us, false>(m, beta - 1, beta, qply - 1, node, m & MOVE_EN_PASSANT), beta, key))
        return best.value;
    }
    const int32_t floor = FloorBelow(score, beta);
    if (floor > best.value) best.value = floor;
  } else {
    Move* end = GenerateEvasions<Us>(list, ~position.colourBits[Us], false);
    if (end - list > 1) --qply;  // a forced single reply costs nothing
    MarkEvasions<Us>(list, node);
    const int64_t bound = gap / 0x600000 * 0x20000;
    for (Move* cursor = list;; ++cursor) {
      const Move m = SelectLargest(cursor);
      if (!m) break;
      if (hashMove && SameMove(m, hashMove)) continue;
      const bool quiet = !(m & 0xad52000000000000ull);
      if (quiet && UndoesLastMove(m, node) && beta >= -11 && position.state.fiftyCount >= 2) {
        if (best.value < -12) best.value = -12;
        continue;
      }
      // A reply that loses material by exchange is scored, not searched.
      if (quiet ? !(m & 0xad52000000200000ull) : !(m & 0xa2a8000000210000ull)) {
        const int64_t loss = ExchangeBound<Us>(move_to(m), occ ^ bit(move_from(m)), int64_t(m & MOVE_STAKE), bound);
        if (loss > 0) {
          const int32_t v = FloorBelow(score - int32_t(loss * 128 / 0x20000), beta);
          if (v > best.value) best.value = v;
          continue;
        }
      }
      const int32_t v = SearchReply<Us, false>(m, beta - 1, beta, qply, node, m & MOVE_EN_PASSANT);
      if (v >= beta && quiet) ReplyCredit<Us>(m, node);
      if (best.Raise(m, v, beta, key)) return best.value;
    }
  }
  StoreUpperPlain(key, best.move, 1, best.value + HASH_VALUE_OFFSET);
  return best.value;
}

template <int Us>
int32_t QuiescePvEvasions(int32_t alpha, int32_t beta, int32_t qply, NodeRecord* node) {
  constexpr int Them = Us ^ 1;
  if (IsRepetition()) return 0;
  const uint64_t key = position.state.key;
  int32_t cut;
  if (ProbeCut(LoadBucket(key), key, [=](uint64_t e, int32_t v) {
        return (IsLower(e) && IsUpper(e)) || (IsLower(e) && v >= beta) || (IsUpper(e) && v <= alpha);
      }, &cut))
    return cut;

  const int32_t score = node[-1].currentMove ? FullScore<Us>(node) : NullMoveScore(node);
  const int32_t margin = Blend(16, 24);
  // Until a reply is found the node counts as mated, unless the static score
  // lies far below alpha anyway.
  Best best{score < alpha - margin ? score + margin : PlyIndex(node) - MATED_SCORE};
  Move list[256];
  Move* end = score + margin >= alpha ? GenerateEvasions<Us>(list, ~position.colourBits[Us], false)
                                      : GenerateEvasions<Us>(list, position.colourBits[Them], false);
  if (end == list) return PlyIndex(node) - MATED_SCORE;
  if (end - list > 1) --qply;
  MarkEvasions<Us>(list, node);
  for (Move* cursor = list;; ++cursor) {
    const Move m = SelectLargest(cursor);
    if (!m) break;
    const int32_t v = SearchReply<Us, true>(m, alpha, beta, qply, node, m & MOVE_EN_PASSANT);
    if (v >= beta && v > best.value && !(m & 0xad52000000000000ull)) ReplyCredit<Us>(m, node);
    if (best.Raise(m, v, beta, key)) return best.value;
    if (best.value > alpha) alpha = best.value;
  }
  node->currentMove = 0;
  StoreUpperPlain(key, 0, 1, best.value + HASH_VALUE_OFFSET);
  return best.value;
}

#define QUORL_QUIESCENCE(Us)                                                      \
  template int32_t Quiesce<Us>(int32_t, int32_t, NodeRecord*);                    \
  template int32_t QuiesceEvasions<Us>(int32_t, int32_t, NodeRecord*);            \
  template int32_t QuiescePv<Us>(int32_t, int32_t, int32_t, NodeRecord*);         \
  template int32_t QuiescePvEvasions<Us>(int32_t, int32_t, int32_t, NodeRecord*);
QUORL_QUIESCENCE(WHITE)
QUORL_QUIESCENCE(BLACK)
#undef QUORL_QUIESCENCE
