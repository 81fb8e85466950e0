#include "search/node_search.h"

#include <algorithm>

#include "board/exchange.h"
#include "board/make_unmake.h"
#include "board/move_producers.h"
#include "eval/attack_maps.h"
#include "eval/capture_lists.h"
#include "hash/table.h"
#include "pool/slave_dialogue.h"
#include "search/move_picker.h"
#include "search/node_support.h"
#include "search/ordering_margins.h"
#include "search/quiescence.h"
#include "search/search_common.h"
#include "search/search_margins.h"
#include "search/samples.h"
#include "search/search_state.h"
#include "tablebase/probe.h"

namespace {

using namespace HashEntry;

// Move-word tests of the node loops.
constexpr Move NOT_QUIET = 0xad52000000000000;            // quiet count rises only without these
constexpr Move NO_CREDIT = 0xbb7e000000000000;            // no killer or history credit
constexpr Move NO_MALUS = 0x0404000000000000;             // en passant, underpromotion
constexpr Move SCOUT_NO_MALUS = 0xad56000000000000;
constexpr Move EXCHANGE_EXEMPT = 0xad5a000000210000;      // without these: exchange-tested first
constexpr Move PV_EXCHANGE_EXEMPT = 0xad5a000000210200;
constexpr Move MARGIN_EXEMPT = 0xad5f000040000200;        // without these: pruned by margin
constexpr Move FRONTIER_MARGIN_EXEMPT = 0xa95f000040000200;
constexpr Move REDUCE_EXEMPT = 0xad5b000040000000;        // without these: may be reduced
constexpr Move FRONTIER_CAPTURE_EXEMPT = 0xa6a8000000210000;
constexpr Move EVASION_EXCHANGE_EXEMPT = 0xad52000000200000;
constexpr Move FRONTIER_EVASION_EXEMPT = 0xa952000000200000;
constexpr Move TOP_FIFTEEN = 0xfffe000000000000;
constexpr Move CAPTURE_CUT_VICTIMS = 0x2940000000000000;  // knight or better taken
constexpr Move EVEN_CAPTURE_BITS = 0x22a8000000000000;
constexpr Move BISHOP_STAKE_BIT = Move(1) << 24;
constexpr int32_t NO_MOVE_YET = -8190;
constexpr int32_t MATE_RANGE = 8001;
constexpr int64_t GAP_UNIT = 0x10000;
constexpr int64_t PAWN_STAKE = 0x20000;

// --- Small pieces ------------------------------------------------------------

inline int32_t ClampMate(int32_t v) { return v < -MATE_RANGE ? -MATE_RANGE : v > MATE_RANGE ? MATE_RANGE : v; }
inline int32_t StoreDepth(int32_t depth) { return depth < 1 ? 1 : depth > 63 ? 63 : depth; }
inline int32_t BoundDepth(int32_t depth) { return depth < 2 ? 2 : depth > 63 ? 63 : depth; }
inline int32_t OrderField(Move m) { return int32_t(m >> 32 & 0xffff); }
inline bool IsQuiet(Move m) { return !(m & NOT_QUIET); }
inline bool IsPawnMove(Move m) { return (m & MOVE_MOVER) == Move(CLASS_PAWN) << 6; }
inline uint32_t ExclusionOf(Move m) { return uint32_t(m & 0xfc3f); }

inline bool Excluded(Move m, uint32_t exclusion) {
  const uint32_t k = ExclusionOf(m);
  return exclusion && (k == (exclusion & 0xffff) || k == exclusion >> 16);
}

template <int Us>
inline int32_t Gain(Move m) { return GainTable[Us][m & 0xfcff]; }

template <int Us>
inline bool UndoAllowed(int32_t bound, int32_t limit) {
  return bound > limit && position.state.fiftyCount >= 2;
}

// Makes `m` and keeps it only when our king is not left attacked. The move
// goes into the node's record with its check bit set from the board.
template <int Us>
inline bool MakeLegal(Move m, SavedState* saved, NodeRecord* node) {
  MakeMove<Us>(m, saved, node);
  if (KingInCheck<Us>()) {
    UnmakeMove<Us>(m, saved);
    return false;
  }
  return true;
}

template <int Us>
inline bool MarkCheck(NodeRecord* node) {
  const bool check = KingInCheck<Us ^ 1>();
  node->currentMove = check ? node->currentMove | MOVE_CHECK : node->currentMove & ~MOVE_CHECK;
  return check;
}

// Pawn geometry of the extensions: the enemy's half of the board, and the
// middle of the board or beyond, both seen from Us.
template <int Us>
inline bool FromEnemyHalf(Move m) {
  const int rank = square_rank(move_from(m));
  return Us == WHITE ? rank >= 4 : rank <= 3;
}
template <int Us>
inline bool ReachesMiddle(Move m) {
  const int rank = square_rank(move_to(m));
  return Us == WHITE ? rank >= 3 : rank <= 4;
}

// After our pawn moved to `to`: no enemy pawn ahead on its file, and every
// enemy pawn that attacks it is matched by one of ours that defends it.
template <int Us>
inline bool PassedAfterMove(int to) {
  constexpr int Them = Us ^ 1;
  const Bitboard theirs = position.pieceBits[PAWN_INDEX + Them], ours = position.pieceBits[PAWN_INDEX + Us];
  const Bitboard file = FILE_A << square_file(to);
  const Bitboard ahead = Us == WHITE ? file & (~Bitboard(1) << to) : file & (bit(to) - 1);
  if (ahead & theirs) return false;
  const int attackers = popcount(PawnSources<Them>(to) & theirs);
  return attackers == 0 || popcount(PawnSources<Us>(to) & ours) >= attackers;
}

// The regaining recapture: the last move took on this square, and our static
// score lies well below what the parent had, so taking back is forced.
inline bool RegainsCapture(Move m, const NodeRecord* node) {
  const Move last = node[-1].currentMove;
  return last && (m & MOVE_VICTIM) && move_to(m) == move_to(last) &&
         node->staticScore + 50 < -node[-1].staticScore;
}

// Pawns of a man by its class: the rough values of the capture cut.
constexpr int32_t CLASS_PAWNS[8] = {0, 3, 3, 1, 0, 9, 5, 0};
inline int32_t PawnsOfWord(uint64_t pieceWord) { return CLASS_PAWNS[pieceWord >> WORD_CLASS_SHIFT & 7]; }
inline int32_t PawnsOfCode(uint32_t code) { return code ? PawnsOfWord(PIECE_WORDS[code]) : 0; }

// A child flag word for a real move: the node type toggles, null-move and
// exclusion marks do not pass on.
inline uint32_t ChildFlags(uint32_t flags) {
  return (flags & ~(FLAG_EXCLUSION | FLAG_NO_NULL | FLAG_NULL_CUT_CHILD)) ^ FLAG_EXPECTED_CUT;
}

// The mark a PV node puts on its null-window children, by ply parity.
inline uint32_t PlyMark(int32_t ply) { return ply & 1 ? 0x20000 : 0x40000; }

// The RandomBudget a null-window node gives a child.
inline int32_t ChildBudget(int32_t budget, Move m) { return (m & TOP_FIFTEEN) ? budget : budget - 1; }

// The evasion list of a node in check, with the replies that answered this
// check before raised, and the hash move taken out into `taken` (the node
// searches it first; 0 when it is no evasion). Returns the number of
// evasions, the hash move included.
template <int Us>
int PrepareEvasions(Move* list, NodeRecord* node, Move hashMove, bool allUnder, Move* taken) {
  Move* end = GenerateEvasions<Us>(list, ~position.colourBits[Us], allUnder);
  const int count = int(end - list);
  MarkEvasions<Us>(list, node);
  *taken = 0;
  if (hashMove)
    for (Move* p = list; p < end; ++p)
      if (SameMove(*p, hashMove)) {
        *taken = *p;
        *p = *--end;
        *end = 0;
        break;
      }
  return count;
}

// --- The hash probe of the null-window nodes ---------------------------------

struct Probe {
  Move hashMove = 0;
  int32_t hashDepth = -1;   // depth of the slot that gave the move (2 for a bare upper bound)
  int32_t deepest = -1;     // deepest matching slot of any kind
  int32_t lowerDepth = -1;  // deepest lower bound
  int32_t upperDepth = -1;  // deepest upper bound
  bool nullBarred = false;  // an upper bound below beta of at least `barDepth`
};

// A cut needs the depth and a bound on the right side of beta; an entry that
// a surprise made restricted serves only nodes of the same expectation, and
// in a node that follows a null move a lower bound needs a move.
template <int Us>
bool ProbeNullWindow(uint64_t key, int32_t beta, int32_t depth, uint32_t flags, int32_t barDepth, NodeRecord* node,
                     Probe* probe, int32_t* value) {
  const bool cutNode = (flags & (FLAG_EXPECTED_CUT | FLAG_EXCLUSION)) == FLAG_EXPECTED_CUT;
  const bool allNode = !(flags & (FLAG_EXPECTED_CUT | FLAG_EXCLUSION));
  const HashBucket bucket = LoadBucket(key);
  Move form = 0;
  for (int i = 0; i < 4; ++i) {
    const uint64_t e = bucket.word[i];
    if (!Matches(e, key)) continue;
    const int32_t d = Depth(e), v = Value(e);
    if (d >= depth) {
      const bool lowerCut = IsLower(e) && v >= beta && (!IsRestricted(e) || allNode) &&
                            (!(flags & FLAG_NO_NULL) || BestMove(e));
      const bool upperCut = IsUpper(e) && v < beta && (!IsRestricted(e) || cutNode);
      if (lowerCut || upperCut) {
        RefreshDate(key, i, e);
        *value = v;
        return true;
      }
    }
    if (IsUpper(e) && v < beta && d >= barDepth) probe->nullBarred = true;
    if (IsLower(e)) probe->lowerDepth = std::max(probe->lowerDepth, d);
    if (IsUpper(e)) probe->upperDepth = std::max(probe->upperDepth, d);
    probe->deepest = std::max(probe->deepest, d);
    if (BestMove(e)) {
      const int32_t moveDepth = IsUpper(e) && !IsLower(e) ? 2 : d;
      if (moveDepth > probe->hashDepth) {
        probe->hashDepth = moveDepth;
        form = BestMove(e);
      }
    }
  }
  probe->hashMove = form ? HashMoveToMove<Us>(form) : 0;
  node->currentMove = probe->hashMove;
  return false;
}

// The plain probe of the frontier routines: depth suffices, the value
// against beta picks the bound; the deepest slot's move.
template <int Us>
bool ProbePlain(uint64_t key, int32_t beta, int32_t depth, Move* hashMove, int32_t* value) {
  const HashBucket bucket = LoadBucket(key);
  Move form = 0;
  int32_t formDepth = -1;
  for (const uint64_t e : bucket.word) {
    if (!Matches(e, key)) continue;
    const int32_t v = Value(e);
    if (Depth(e) >= depth && ((IsLower(e) && v >= beta) || (IsUpper(e) && v < beta))) {
      *value = v;
      return true;
    }
    if (BestMove(e) && Depth(e) > formDepth) {
      formDepth = Depth(e);
      form = BestMove(e);
    }
  }
  *hashMove = form ? HashMoveToMove<Us>(form) : 0;
  return false;
}

// --- Wrong bishop ----------------------------------------------------------------

// Strong has only rook pawns on one file and bishops that cannot cover the
// promotion square, the other king holds the corner, and no pawn of Strong
// can leave its file by taking a pawn or a minor piece: Strong cannot win.
template <int Strong>
bool WrongBishopCorner() {
  constexpr int Weak = Strong ^ 1;
  const Bitboard* men = position.pieceBits;
  if (men[KNIGHT_INDEX + Strong] | men[ROOK_INDEX + Strong] | men[QUEEN_INDEX + Strong]) return false;
  const Bitboard pawns = men[PAWN_INDEX + Strong];
  if (!pawns) return false;
  int file;
  if (!(pawns & ~FILE_A)) file = 0;
  else if (!(pawns & ~FILE_H)) file = 7;
  else return false;
  const int corner = (Strong == WHITE ? 56 : 0) + file;
  const Bitboard cornerColour = (bit(corner) & LIGHT_SQUARES) ? LIGHT_SQUARES : DARK_SQUARES;
  if (men[BISHOP_INDEX + Strong] & cornerColour) return false;
  const int inner = corner + (file == 0 ? 1 : -1);
  const int step = Strong == WHITE ? -8 : 8;
  const Bitboard box = bit(corner) | bit(inner) | bit(corner + step) | bit(inner + step);
  if (!(bit(int(position.kingSquare[Weak])) & box)) return false;
  Bitboard takes = 0;
  for (Bitboard b = pawns; b; b &= b - 1) takes |= PawnSources<Weak>(lowest_square(b));
  return !(takes & (men[PAWN_INDEX + Weak] | men[KNIGHT_INDEX + Weak] | men[BISHOP_INDEX + Weak]));
}

}  // namespace

template <int Us>
bool WrongBishopDraw(bool strongSideToMove) {
  return strongSideToMove ? WrongBishopCorner<Us>() : WrongBishopCorner<Us ^ 1>();
}

// --- Dispatch --------------------------------------------------------------------

template <int Us>
int32_t NullWindowSearch(int32_t beta, int32_t depth, bool inCheck, NodeRecord* node, uint32_t exclusion,
                         uint32_t flags, int32_t reducedBy, int32_t randomBudget) {
  if (inCheck) {
    if (depth < 1) return QuiesceEvasions<Us>(beta, 0, node);
    if (depth < 6) return FrontierEvasions<Us>(beta, depth, node, randomBudget);
    return EvasionSearch<Us>(beta, depth, node, exclusion, flags, reducedBy, randomBudget);
  }
  if (depth < 2) return Quiesce<Us>(beta, 0, node);
  if (depth < 6) return FrontierSearch<Us>(beta, depth, node, randomBudget);
  if (depth < 12) return MiddleSearch<Us>(beta, depth, node, exclusion, flags, reducedBy, randomBudget);
  return DeepSearch<Us>(beta, depth, node, exclusion, flags, reducedBy, randomBudget);
}

namespace {

// --- The open-window nodes ---------------------------------------------------------
//
// PvSearch and ScoutSearch share one body: ScoutSearch is PvSearch on the
// null window (beta - 1, beta), with its own internal search, a narrower
// singular test, and null-window re-searches where PvSearch opens the window.

template <int Us, bool Scout>
int32_t OpenNode(int32_t alpha, int32_t beta, int32_t depth, bool inCheck, NodeRecord* node, int32_t mode,
                 int32_t budget) {
  constexpr int Them = Us ^ 1;
  const int32_t ply = PlyIndex(node);
  const StateBlock& st = position.state;
  node->nodeKind = 0;
  node->nodeDepth = uint32_t(depth);
  if (ply > 200) return 0;
  if (int32_t(st.fiftyCount) >= FiftyMoveLimit()) return 0;
  if (IsRepetition()) return 0;
  if (beta <= ply - MATED_SCORE) return beta;
  const uint64_t key = st.key;

  // The table: an exact entry deep enough ends the node unless it is a mate
  // value the window does not ask about; shallow nodes also take bounds.
  int32_t deepest = -1, formDepth = -1;
  Move form = 0;
  for (const uint64_t e : LoadBucket(key).word) {
    if (!Matches(e, key)) continue;
    const int32_t d = Depth(e), v = Value(e);
    if (d >= depth) {
      const bool exact = IsLower(e) && IsUpper(e);
      const bool lowerFits = v < MATE_RANGE || beta < MATE_RANGE;
      const bool upperFits = v > -MATE_RANGE || alpha > -MATE_RANGE;
      if (exact && lowerFits && upperFits) {
        if (!Scout && IsGoodMoveDepth(depth) && BestMove(e)) NoteGoodMove(key, HashMoveToMove<Us>(BestMove(e)));
        return ClampMate(v);
      }
      if (Scout && exact) return ClampMate(v);
      if (depth < 6 && IsLower(e) && v >= beta && lowerFits) return ClampMate(v);
      if (depth < 6 && IsUpper(e) && v <= alpha && upperFits) return ClampMate(v);
    }
    deepest = std::max(deepest, d);
    if (BestMove(e)) {
      const int32_t moveDepth = IsUpper(e) && !IsLower(e) ? 2 : d;
      if (moveDepth > formDepth) formDepth = moveDepth, form = BestMove(e);
    }
  }
  Move hashMove = form ? HashMoveToMove<Us>(form) : 0;
  node->currentMove = hashMove;
  int32_t table;
  if (TablebaseGate(depth) && ProbeTablebase(&table, Us)) return TableValueAtPly(table, ply);

  if (depth < 2)
    return inCheck ? QuiescePvEvasions<Us>(alpha, beta, 0, node) : QuiescePv<Us>(alpha, beta, 0, node);
  const int32_t score = node[-1].currentMove ? FullScore<Us>(node) : NullMoveScore(node);

  // Internal search for a move worth trying first.
  Move second = 0;
  if (deepest < depth - (hashMove ? 10 : 2)) {
    if (depth < 12) {
      if constexpr (Scout) OpenNode<Us, true>(beta - 1, beta, depth - 2, inCheck, node, 0, budget);
      else OpenNode<Us, false>(alpha, beta, depth - 2, inCheck, node, 0, budget);
      if (node->currentMove) hashMove = node->currentMove;
    } else {
      const int32_t v = OpenNode<Us, false>(alpha, beta + 500, depth - 8, inCheck, node, 0, budget);
      const Move found = node->currentMove;
      if (found) hashMove = found;
      if (v > alpha) {
        const int32_t v2 = Scout ? OpenNode<Us, true>(beta - 1, beta, depth - 4, inCheck, node, 0, budget)
                                 : OpenNode<Us, false>(alpha, beta, depth - 4, inCheck, node, 0, budget);
        if (v2 > alpha && node->currentMove && !SameMove(node->currentMove, hashMove)) {
          second = hashMove;
          hashMove = node->currentMove;
        }
      }
    }
    node->nodeKind = 0;
    node->staticScore = score;
  }

  MovePicker picker;
  const int32_t delta = alpha - score;
  int32_t extension = 0;
  Move pending = 0;  // a hash move searched before the evasion list
  if (inCheck) {
    StartPicker<Us>(&picker, PICK_EVASIONS, hashMove, second, depth, delta, false, budget);
    const int n = PrepareEvasions<Us>(picker.list, node, hashMove, depth >= 12, &pending);
    if (!n) return ply - MATED_SCORE;
    if (n == 1) extension = 2, node->nodeKind = 4;
    else if (n == 2) extension = 1;
    hashMove = pending;
    picker.first = pending;
  } else {
    StartPicker<Us>(&picker, depth < 12 ? PICK_FIRST : PICK_HASH_MOVES, hashMove, second, depth, delta, false, budget);
  }

  // Singular test of the hash move: a move far better than the others, or
  // forced, is searched deeper.
  if (depth >= 16 && extension < 2 && hashMove) {
    SavedState saved;
    int32_t s = alpha;
    bool legal = false;
    if (MakeLegal<Us>(hashMove, &saved, node)) {
      legal = true;
      const bool check = MarkCheck<Us>(node);
      const Move m = hashMove;
      const bool pawnPassed = IsPawnMove(m) && PassedAfterMove<Us>(move_to(m));
      if (check || (m & MOVE_VICTIM) || (extension_word >= 2 && inCheck) || (pawnPassed && ReachesMiddle<Us>(m)))
        extension = 1;
      if (RegainsCapture(m, node)) extension = 2, node->nodeKind = 4;
      else if (pawnPassed && FromEnemyHalf<Us>(m)) extension = 2;
      else if (!Scout) s = -OpenNode<Them, false>(-beta, -alpha, depth - 12, check, node + 1, 0, budget);
      UnmakeMove<Us>(m, &saved);
    }
    if (Scout && legal && extension < 2) {
      const int32_t t = beta - 16;
      if (NullWindowSearch<Us>(t, depth - 10, inCheck, node, ExclusionOf(hashMove), VERIFY_FLAGS, 0, budget) < t)
        extension = 2, node->nodeKind = 2;
      if (!picker.second && node->currentMove && !SameMove(node->currentMove, hashMove))
        picker.second = node->currentMove;
    } else if (!Scout && s > alpha && extension < 2) {
      bool forced = false;
      if (depth >= 26) {
        const int32_t t = std::min(s - 80, 20000);
        if (NullWindowSearch<Us>(t, depth - 14, inCheck, node, ExclusionOf(hashMove), VERIFY_FLAGS, 0, budget) < t)
          extension = 2, node->nodeKind = 4, forced = true;
      }
      if (!forced) {
        const int32_t t = s - 16;
        if (NullWindowSearch<Us>(t, depth - 10, inCheck, node, ExclusionOf(hashMove), VERIFY_FLAGS, 0, budget) < t)
          extension = 2, node->nodeKind = 2;
        if (!picker.second && node->currentMove && !SameMove(node->currentMove, hashMove))
          picker.second = node->currentMove;
      }
    }
    node->staticScore = score;
  }

  const int32_t bound = Scout ? beta : alpha;  // what the pruning tests read
  int32_t best = NO_MOVE_YET;
  Move bestMove = 0;
  int32_t quietCount = 0, moveNumber = 0;
  bool tried = false;
  const int row = picker.historyRow;
  for (;;) {
    Move m;
    if (pending) m = pending, pending = 0;
    else if (!(m = NextMove<Us>(&picker, node))) break;
    const bool isHash = hashMove && SameMove(m, hashMove);
    if (!inCheck && IsQuiet(m) && UndoAllowed<Us>(Scout ? beta : alpha, Scout ? 0 : -1) && UndoesLastMove(m, node)) {
      tried = true;
      continue;
    }
    // Pruning reads the maps of the capture list: only for moves that came
    // after it was made.
    const int stage = PickedStage(&picker);
    const bool listed = !inCheck && stage >= PICK_GOOD_CAPTURES && (stage < PICK_HASH_MOVES || stage > 13);
    if (depth < 9 && listed && !isHash) {
      if (!(m & PV_EXCHANGE_EXEMPT) && (node->discoverMask & bit(move_from(m))) &&
          !ExchangeTest<Us>(move_to(m), position.occupied ^ bit(move_from(m)), node->discoverMask,
                            int64_t(m & MOVE_STAKE)))
        continue;
      if (!(m & MARGIN_EXEMPT) && CountMarginTable[depth + 3][std::min(quietCount, 127)] + Gain<Us>(m) + score < bound)
        continue;
    }
    SavedState saved;
    if (!MakeLegal<Us>(m, &saved, node)) continue;
    const bool check = MarkCheck<Us>(node);
    node->moveNumber = uint32_t(++moveNumber);
    tried = true;

    int32_t childDepth;
    const bool pawnPassed = IsPawnMove(m) && PassedAfterMove<Us>(move_to(m));
    if ((isHash && RegainsCapture(m, node)) || (pawnPassed && FromEnemyHalf<Us>(m)) || (m & DOUBLE_THREAT_MARK))
      childDepth = depth;
    else if (check || (m & MOVE_VICTIM) || (extension_word >= 2 && inCheck) || (pawnPassed && ReachesMiddle<Us>(m)) ||
             (m & THREAT_MARK))
      childDepth = depth - 1;
    else
      childDepth = depth - 2;
    childDepth = std::max(childDepth, depth - 2 + extension);
    extension = 0;
    const int32_t childBudget = (m & TOP_FIFTEEN) || inCheck ? 1 : 0;

    int32_t v;
    if (isHash || childDepth < 2) {
      v = Scout ? -OpenNode<Them, true>(-beta, 1 - beta, childDepth, check, node + 1, 0, childBudget)
                : -OpenNode<Them, false>(-beta, -alpha, childDepth, check, node + 1, isHash ? mode : 0, childBudget);
    } else {
      const uint32_t flags = PlyMark(ply) | (Scout ? 0x3000u : PV_CHILD_FLAGS);
      v = -NullWindowSearch<Them>(-alpha, childDepth, check, node + 1, 0, flags, depth - childDepth, childBudget);
      if (Scout) {
        if (v >= beta && depth > 5) v = -OpenNode<Them, true>(-beta, 1 - beta, childDepth, check, node + 1, 0, childBudget);
      } else if (v > alpha) {
        if (depth >= 16 && (alpha + 200 <= beta || mode != 0)) {
          const bool sampled = NodeSamples(mode, depth) && (hashMove || bestMove);
          if (sampled) NodeSample(SAMPLE_UNCLEAR, node, mode, alpha, alpha, m);
          v = -OpenNode<Them, true>(-alpha - 1, -alpha, childDepth, check, node + 1, 0, childBudget);
          if (sampled && v > alpha) NodeSample(SAMPLE_BETTER, node, mode, alpha, alpha, m);
        }
        if (v > alpha) v = -OpenNode<Them, false>(-beta, -alpha, childDepth, check, node + 1, 0, childBudget);
      }
    }
    const Move made = node->currentMove;
    UnmakeMove<Us>(m, &saved);
    if (NodeReports(mode, depth)) SampleAfterMove(node, mode, depth, v, alpha, beta, m, moveNumber == 1, hashMove, bestMove);

    // Another process may have finished this node meanwhile.
    if (depth >= 10) {
      for (const uint64_t e : LoadBucket(key).word) {
        if (!Matches(e, key) || Depth(e) < depth) continue;
        const int32_t hv = Value(e);
        const bool exact = IsLower(e) && IsUpper(e);
        const bool decides = exact || (Scout && ((IsLower(e) && hv >= beta) || (IsUpper(e) && hv < beta)));
        if (!decides) continue;
        if (!is_child && hashMove && SameMove(BestMove(e), hashMove) &&
            (!SameMove(m, hashMove) || (bestMove && !SameMove(bestMove, hashMove))))
          continue;
        node->currentMove = BestMove(e) ? HashMoveToMove<Us>(BestMove(e)) : 0;
        if (alpha > -MATE_RANGE && beta < MATE_RANGE && hv >= -8000 && hv <= 8000) {
          if (!Scout && HtmlAlternatives(depth)) HtmlAlternative(node, alpha, hv, bound, beta, hashMove, 0, key);
          return hv;
        }
      }
    }

    if (v <= alpha && IsQuiet(m) && !(m & (Scout ? SCOUT_NO_MALUS : NO_MALUS))) HistoryMalus(m, depth, row);
    best = std::max(best, v);
    if (!Scout && v >= 0 && WrongBishopCorner<Us>()) {
      node->currentMove = 0;
      return 0;
    }
    if (!Scout && HtmlAlternatives(depth)) HtmlAlternative(node, alpha, v, bound, beta, hashMove, m, key);
    if (v > alpha) {
      alpha = v;
      bestMove = made;
      if (!Scout && IsGoodMoveDepth(depth)) NoteGoodMove(key, made);
    }
    if (alpha >= beta) {
      if (!(m & NO_CREDIT)) CreditMove(made, depth, node, row);
      StoreLowerPlain(key, made, StoreDepth(depth), StoredForm(v));
      node->currentMove = made;
      return v;
    }
    if (IsQuiet(m)) ++quietCount;
    if constexpr (!Scout) NoteFailLow(ply, alpha, bestMove != 0);
  }

  if (!tried) {
    node->currentMove = 0;
    return inCheck ? ply - MATED_SCORE : 0;
  }
  if (!bestMove) {
    StoreUpperPlain(key, 0, StoreDepth(depth), StoredForm(alpha));
    node->currentMove = 0;
    return alpha;
  }
  if (!(bestMove & NO_CREDIT)) CreditMove(bestMove, depth, node, row);
  StoreExact(key, bestMove, StoreDepth(depth), StoredForm(alpha));
  node->currentMove = bestMove;
  return alpha;
}

}  // namespace

template <int Us>
int32_t PvSearch(int32_t alpha, int32_t beta, int32_t depth, bool inCheck, NodeRecord* node, int32_t mode,
                 int32_t randomBudget) {
  return OpenNode<Us, false>(alpha, beta, depth, inCheck, node, mode, randomBudget);
}

template <int Us>
int32_t ScoutSearch(int32_t beta, int32_t depth, bool inCheck, NodeRecord* node, int32_t randomBudget) {
  return OpenNode<Us, true>(beta - 1, beta, depth, inCheck, node, 0, randomBudget);
}

namespace {

// --- DeepSearch and MiddleSearch ----------------------------------------------------
//
// One body, the differences switched by depth class: the deep node evaluates
// in full, runs the two-stage null move, the capture cut, singular tests and
// narrow probing; the middle node may stand on the lazy estimate, has the
// static cut, a one-stage null move into the frontier, tries the hash move
// before any list and prunes quiet moves by count and margin.

template <int Us, bool Deep>
int32_t NullWindowNode(int32_t beta, int32_t depth, NodeRecord* node, uint32_t exclusion, uint32_t flags,
                       int32_t reducedBy, int32_t budget) {
  constexpr int Them = Us ^ 1;
  const int32_t ply = PlyIndex(node);
  const StateBlock& st = position.state;
  if (beta <= ply - MATED_SCORE) return beta;
  if (ply > 200) return 0;  // also guards the middle nodes: the stack has 256 records
  if (int32_t(st.fiftyCount) >= FiftyMoveLimit()) return 0;
  if (IsRepetition()) return 0;
  // A dead draw of the wrong bishop answers any window at once: we cannot
  // win it when beta asks for more than a draw, they cannot when it asks less.
  if (Deep && (beta >= 1 ? WrongBishopCorner<Us>() : WrongBishopCorner<Them>())) return 0;
  node->nodeKind = 1;
  node->nodeDepth = uint32_t(depth);
  const uint64_t key = st.key ^ ExclusionKey(exclusion);
  const bool cutNode = (flags & (FLAG_EXPECTED_CUT | FLAG_EXCLUSION)) == FLAG_EXPECTED_CUT;
  const bool allNode = !(flags & (FLAG_EXPECTED_CUT | FLAG_EXCLUSION));
  Probe probe;
  int32_t cut;
  if (ProbeNullWindow<Us>(key, beta, depth, flags, Deep ? 0 : depth - 4, node, &probe, &cut)) return cut;
  Move hashMove = probe.hashMove;

  const Move previous = node[-1].currentMove;
  int32_t score;
  if (Deep || !previous) {
    score = previous ? FullScore<Us>(node) : NullMoveScore(node);
  } else {
    // Far from beta the estimate stands, with the cheap maps.
    const int32_t e = LazyEstimate<Us>(node);
    const int32_t c = (previous & MOVE_VICTIM) ? 15 : -15;
    const int32_t a = node[-1].approximate ? 10 : -10;
    const int32_t reach = c + a + Blend(161, 215);
    if (e < beta - reach || e > beta + reach) {
      score = node->staticScore = e;
      AttackMaps(node);
    } else {
      score = FullScore<Us>(node);
    }
  }
  if (Deep && !previous && (flags & FLAG_NARROW_PROBING) && probe.lowerDepth > probe.upperDepth)
    flags &= ~FLAG_NARROW_PROBING;
  int32_t table;
  if (Deep && TablebaseGate(depth) && ProbeTablebase(&table, Us)) return table;

  if (!Deep && !(previous & THREAT_MARK) && score - StaticCutMargin(depth) >= beta) return score - StaticCutMargin(depth);

  // Null move: pass, and see whether the opponent still cannot reach beta.
  const Bitboard* men = position.pieceBits;
  const bool pawnsOnly = !(position.colourBits[Us] & ~(men[PAWN_INDEX + Us] | men[KING_INDEX + Us]));
  const uint32_t nullFlags =
      ((flags & FLAG_EXPECTED_CUT) ? flags & ~FLAG_NARROW_PROBING : flags) & ~(FLAG_EXCLUSION | FLAG_NULL_CUT_CHILD);
  const auto nullChild = [&](int32_t childBeta, int32_t c, uint32_t childFlags) {
    if (c < 2) return Quiesce<Them>(childBeta, 0, node + 1);
    return NullWindowSearch<Them>(childBeta, c, false, node + 1, 0, childFlags, 2, budget);
  };
  if (!probe.nullBarred && !(flags & FLAG_NO_NULL) && !pawnsOnly && score >= beta + (Deep ? 0 : 6)) {
    bool tryNull = true;
    if (Deep && depth >= 18) {
      const int32_t v = NullWindowSearch<Us>(beta, depth - 12, false, node, exclusion, flags | FLAG_NO_NULL, reducedBy, budget);
      if (v < beta) tryNull = false;
      else if (depth - 12 >= probe.hashDepth && node->currentMove) hashMove = node->currentMove;
      node->staticScore = score;
    }
    if (tryNull) {
      const int32_t less = (score >= beta + 30) + (score >= beta + 50) + (score >= beta + 150);
      NullRecord record;
      MakeNull<Us>(&record, node);
      const uint32_t childFlags = (nullFlags ^ FLAG_EXPECTED_CUT) | FLAG_NO_NULL;
      int32_t r;
      if constexpr (Deep) {
        // A cheap first look at a lower bar decides whether the real test runs.
        r = 40 - nullChild(41 - beta, depth - 14, childFlags);
        if (r >= beta) {
          int32_t c = depth - 8 - less - (depth >= 16);
          if (c == 1) c = 2;
          r = -nullChild(1 - beta, c, childFlags | (cutNode ? FLAG_NULL_CUT_CHILD : 0));
        }
      } else {
        const int32_t c = depth - less;
        r = c < 9 ? -Quiesce<Them>(1 - beta, 0, node + 1)
                  : -FrontierSearch<Them>(1 - beta, std::max(c - 8, 2), node + 1, budget);
      }
      UndoNull(&record);
      if (r >= beta) {
        if (!hashMove) StoreLower(key, 0, std::min(depth, 63), StoredForm(r), allNode);
        node->currentMove = hashMove;
        return r;
      }
    }
  }

  // Capture cut: a capture of a knight or more that the last move did not
  // pay for, far above beta even at a shallower depth.
  if (Deep && hashMove && (hashMove & CAPTURE_CUT_VICTIMS) && !(previous & EVEN_CAPTURE_BITS) && beta < 2000) {
    const int to = move_to(hashMove), from = move_from(hashMove);
    const int32_t victim = PawnsOfWord(position.board[to]);
    if (victim * 100 + score > beta + 200) {
      const int32_t t = PawnsOfWord(position.board[from]) + PawnsOfCode(st.capturedCode) + 3 - victim;
      if (t <= 0 || ExchangeTest<Us>(to, position.occupied ^ bit(from), ~Bitboard(0), t * PAWN_STAKE)) {
        SavedState saved;
        if (MakeLegal<Us>(hashMove, &saved, node)) {
          const bool check = MarkCheck<Us>(node);
          const int32_t v = -NullWindowSearch<Them>(-beta - 199, depth - 8, check, node + 1, 0, ChildFlags(flags), 8,
                                                    ChildBudget(budget, hashMove));
          UnmakeMove<Us>(hashMove, &saved);
          if (v >= beta + 200) {
            node->currentMove = hashMove;
            return beta;
          }
        }
      }
    }
  }

  // Internal search for a move when a cut is expected.
  if (!hashMove && cutNode) {
    if (Deep) {
      if (NullWindowSearch<Us>(beta, depth - depth / 4 - 4, false, node, exclusion, flags, reducedBy, budget) >= beta)
        hashMove = node->currentMove;
      node->staticScore = score;
    } else if (depth >= 8 && (score >= beta || depth >= 12)) {
      int32_t v = beta - 1;
      if (depth >= 10) v = NullWindowSearch<Us>(beta, depth - 4, false, node, exclusion, flags, reducedBy, budget);
      else if (!exclusion) v = FrontierSearch<Us>(beta, depth - 4, node, budget);
      if (v >= beta) hashMove = node->currentMove;
      node->staticScore = score;
    }
  }

  // Singular test of the hash move.
  int32_t singular = 0;
  Move second = 0;
  if (Deep && depth >= 18 && hashMove && cutNode && !exclusion) {
    const int32_t t = beta - 30;
    if (NullWindowSearch<Us>(t, depth - 10, false, node, ExclusionOf(hashMove), FLAG_EXCLUSION, 0, budget) >= t) {
      if (node->currentMove && !SameMove(node->currentMove, hashMove)) second = node->currentMove;
    } else {
      node->nodeKind = 3;
      singular = 2;
      if (reducedBy > 0 && (ply <= 3 || (ply <= 5 && node[-2].nodeKind == 3))) {
        if (reducedBy > 2) return beta - 1;
        singular = reducedBy + 2;
      }
      // A reduced late move that holds a singular reply goes back to full depth.
      if (reducedBy > 2 && ply < 9) return beta - 1;
    }
    node->staticScore = score;
  }

  // Narrow probing of an expected all node: a cheap search for a move well
  // tested around beta.
  if (Deep && depth >= 20 && allNode && (flags & FLAG_NARROW_PROBING) && !exclusion && depth - 12 >= 4) {
    for (int32_t r = 4; r <= depth - 12; r += 2) {
      int32_t lo = beta - 75, hi = beta + 20, x = beta;
      hashMove = 0;
      while (lo < hi - 5 && lo < x && x < hi) {
        const int32_t v = NullWindowSearch<Us>(x, r, false, node, 0, flags | FLAG_NO_NULL | FLAG_EXCLUSION, reducedBy, budget);
        if (v < x) {
          hi = v;
          x = v - 4;
        } else {
          lo = v;
          hashMove = node->currentMove;
          x = v + 5;
        }
      }
      if (!hashMove) break;
    }
    node->staticScore = score;
  }

  const int rowType = cutNode ? EXPECTED_CUT : EXPECTED_ALL;
  const int32_t delta = beta - score;
  const int row = delta > 100 ? 1 : 0;  // the history row of the picker's staging
  int32_t tried = 0, quietCount = 0;
  MovePicker picker;
  const int32_t base = Deep ? (cutNode ? 7 : 3) + (depth >= 16) : (cutNode ? 6 : 2) + (depth >= 9);

  // Searches one legal move that is made: extensions, reductions and the
  // re-searches that confirm a cut. Returns the value from our side.
  const auto searchMove = [&](Move m, bool isHash, int stage) {
    const bool check = MarkCheck<Us>(node);
    node->moveNumber = uint32_t(tried + 1);
    int32_t e = isHash ? singular : 0;
    if (IsPawnMove(m) && FromEnemyHalf<Us>(m) && PassedAfterMove<Us>(move_to(m))) ++e;
    const uint32_t childFlags = ChildFlags(flags);
    const int32_t childBudget = ChildBudget(budget, m);
    int32_t v;
    if (check) {
      const int32_t d = depth - 1 + (e ? e - 1 : 0);
      v = -NullWindowSearch<Them>(1 - beta, d, true, node + 1, 0, childFlags, depth - d, childBudget);
      if (v >= beta && tried + 1 >= 5 && cutNode && ply < 50 && flags < FLAG_VERIFY_LIMIT)
        v = -NullWindowSearch<Them>(1 - beta, d + 3, true, node + 1, 0, childFlags + FLAG_VERIFY_STEP, 0, childBudget);
      return v;
    }
    int32_t r = 0;
    const bool quietStage = stage == PICK_QUIETS || stage == PICK_QUIETS_AFTER_HASH_MOVES;
    if (quietStage && !exclusion && !(m & REDUCE_EXEMPT) && (cutNode || tried >= 4)) {
      r = base;
      if (Deep) r += tried >= 12;
      else r += (tried >= (depth <= 8 ? (14 - depth) * 2 : (17 - depth) * 2)) - (tried < 7);
      const int32_t reduced = depth + e - r;
      v = -NullWindowSearch<Them>(1 - beta, reduced - 2, false, node + 1, 0, childFlags, r - e + 2, childBudget);
      if (v < beta) return v;
    }
    if (cutNode && tried >= 7 && r) e -= 2;
    const int32_t d = depth - 2 + e;
    v = -NullWindowSearch<Them>(1 - beta, d, false, node + 1, 0, childFlags, depth - d, childBudget);
    // A late cut in an expected cut node is confirmed one ply deeper, or at
    // its own depth once a line holds enough of these.
    if (v >= beta && cutNode && tried >= 7 && ply < 100)
      v = -NullWindowSearch<Them>(1 - beta, flags < FLAG_VERIFY_LIMIT ? d + 2 : d, false, node + 1, 0,
                                  childFlags + FLAG_VERIFY_STEP, 0, childBudget);
    return v;
  };
  const auto failHigh = [&](Move m, int32_t v) {
    if (!(m & NO_CREDIT)) CreditMove(node->currentMove, depth, node, row);
    StoreLower(key, m, std::min(depth, 63), StoredForm(v), allNode);
    return v;
  };

  if (!Deep && hashMove && !Excluded(hashMove, exclusion)) {
    // The middle node tries its hash move before it makes any list.
    SavedState saved;
    if (MakeLegal<Us>(hashMove, &saved, node)) {
      const int32_t v = searchMove(hashMove, true, PICK_FIRST);
      UnmakeMove<Us>(hashMove, &saved);
      tried = 1;
      if (v >= beta) {
        node->currentMove = hashMove | (node->currentMove & MOVE_CHECK);
        return failHigh(hashMove, v);
      }
      if (IsQuiet(hashMove) && !(hashMove & NO_MALUS)) HistoryMalus(hashMove, depth, row);
      if (cutNode) flags &= ~FLAG_NARROW_PROBING;
    }
  }

  if constexpr (Deep) {
    if (depth < 20 && delta >= MoveCut(rowType, depth)) {
      StartPicker<Us>(&picker, PICK_FAR_BELOW, hashMove, second, depth, delta, cutNode, budget);
      tried = 1;
    } else {
      StartPicker<Us>(&picker, depth < 16 ? PICK_FIRST : PICK_HASH_MOVES, hashMove, second, depth, delta, cutNode, budget);
    }
  } else if (delta < MoveCut(rowType, depth)) {
    StartPicker<Us>(&picker, PICK_FIRST + 1, hashMove, 0, depth, delta, cutNode, budget);
  } else {
    // Far below beta: only captures and the strongest threats, no quiet move.
    ++tried;
    StartPicker<Us>(&picker, PICK_RESTRICTED, hashMove, 0, depth, delta, cutNode, budget);
    const Bitboard theirs = position.colourBits[Them];
    if (delta > RestrictedThreshold(0, depth)) CaptureList<Us, RESTRICTED_HIGH>(picker.list, theirs, node, 0, 1);
    else if (delta > RestrictedThreshold(1, depth)) CaptureList<Us, RESTRICTED_MIDDLE>(picker.list, theirs, node, 0, 1);
    else {
      const Bitboard pawns = delta < SecondMoveCut(rowType, depth) ? 0 : men[PAWN_INDEX + Them];
      CaptureList<Us, CAPTURES_WIDE>(picker.list, theirs & ~pawns, node, 0, 1);
    }
  }

  const int32_t exchangeDepth = cutNode ? 16 : 14;
  for (;;) {
    const Move m = NextMove<Us>(&picker, node);
    if (!m) break;
    if (Excluded(m, exclusion)) continue;
    const int stage = PickedStage(&picker);
    const bool isHash = hashMove && SameMove(m, hashMove);
    if (!Deep && isHash) continue;  // searched before the list
    if (IsQuiet(m) && UndoAllowed<Us>(beta, 0) && UndoesLastMove(m, node)) {
      ++tried;
      continue;
    }
    const bool listed = stage != PICK_FIRST && stage != PICK_FAR_BELOW && (stage < PICK_HASH_MOVES || stage > 13);
    if (!Deep && listed && !(m & (NOT_QUIET | MOVE_CHECK))) {
      const int32_t order = OrderField(m);
      const bool pruned = (depth < 11 && order >= 2048 && order <= 2347) ||
                          (depth < 13 && order >= 2048 && order <= 2147) ||
                          (!(m & FRONTIER_MARGIN_EXEMPT) && quietCount > 2 * depth + 4) ||
                          (!(m & MARGIN_EXEMPT) && CountMarginTable[depth][std::min(quietCount, 127)] + Gain<Us>(m) + score < beta);
      // A pruned move was never tried: a node that prunes them all has
      // searched nothing.
      if (pruned) continue;
    }
    if (listed && !isHash && depth <= exchangeDepth && !(m & EXCHANGE_EXEMPT) && !(depth > 4 && (m & MOVE_CHECK)) &&
        (node->discoverMask & bit(move_from(m))) &&
        !ExchangeTest<Us>(move_to(m), position.occupied ^ bit(move_from(m)), node->discoverMask, int64_t(m & MOVE_STAKE)))
      continue;
    SavedState saved;
    if (!MakeLegal<Us>(m, &saved, node)) continue;
    const int32_t v = searchMove(m, isHash, stage);
    const Move made = node->currentMove;
    UnmakeMove<Us>(m, &saved);
    ++tried;
    if (IsQuiet(m)) ++quietCount;

    if (Deep && depth >= 12) {
      Probe again;
      if (ProbeNullWindow<Us>(key, beta, depth, flags, 0, node, &again, &cut)) return cut;
      node->currentMove = made;
    }
    if (v >= beta) return failHigh(m, v);
    if (IsQuiet(m) && !(m & NO_MALUS)) HistoryMalus(m, depth, row);
    if (cutNode) flags &= ~FLAG_NARROW_PROBING;

    // The second move of a cut node that did not cut on its hash move.
    if (Deep && isHash && !is_child && depth >= 16 && cutNode && !exclusion && singular == 0 && !picker.second) {
      if (NullWindowSearch<Us>(beta, depth - 10, false, node, ExclusionOf(m), flags, reducedBy, budget) >= beta &&
          node->currentMove && !SameMove(node->currentMove, m))
        picker.second = node->currentMove;
      node->staticScore = score;
    }
  }

  if (!tried) {
    node->currentMove = 0;
    return 0;
  }
  // The bound is restricted only when a cut was expected: an all node that
  // fails low did what its type said, and every node may use its result.
  StoreUpper(key, hashMove, BoundDepth(depth), StoredForm(beta - 1), cutNode);
  node->currentMove = hashMove;
  return beta - 1;
}

}  // namespace

template <int Us>
int32_t DeepSearch(int32_t beta, int32_t depth, NodeRecord* node, uint32_t exclusion, uint32_t flags,
                   int32_t reducedBy, int32_t randomBudget) {
  return NullWindowNode<Us, true>(beta, depth, node, exclusion, flags, reducedBy, randomBudget);
}

template <int Us>
int32_t MiddleSearch(int32_t beta, int32_t depth, NodeRecord* node, uint32_t exclusion, uint32_t flags,
                     int32_t reducedBy, int32_t randomBudget) {
  return NullWindowNode<Us, false>(beta, depth, node, exclusion, flags, reducedBy, randomBudget);
}

template <int Us>
int32_t EvasionSearch(int32_t beta, int32_t depth, NodeRecord* node, uint32_t exclusion, uint32_t flags,
                      int32_t reducedBy, int32_t randomBudget) {
  constexpr int Them = Us ^ 1;
  const int32_t ply = PlyIndex(node);
  if (beta <= ply - MATED_SCORE) return beta;
  if (ply > 200) return 0;
  if (IsRepetition()) return 0;
  node->nodeKind = 1;
  node->nodeDepth = uint32_t(depth);
  const uint64_t key = position.state.key ^ ExclusionKey(exclusion);
  const bool cutNode = (flags & (FLAG_EXPECTED_CUT | FLAG_EXCLUSION)) == FLAG_EXPECTED_CUT;
  const bool allNode = !(flags & (FLAG_EXPECTED_CUT | FLAG_EXCLUSION));
  Probe probe;
  int32_t cut;
  if (ProbeNullWindow<Us>(key, beta, depth, flags, 0, node, &probe, &cut)) return cut;
  Move hashMove = Excluded(probe.hashMove, exclusion) ? 0 : probe.hashMove;
  const int32_t score = FullScore<Us>(node);

  int32_t singular = 0;
  if (depth >= 18 && hashMove && cutNode && !exclusion) {
    if (EvasionSearch<Us>(beta - 30, depth - 10, node, ExclusionOf(hashMove), FLAG_EXCLUSION, 0, randomBudget) < beta - 30) {
      node->nodeKind = 3;
      singular = 2;
      if (reducedBy > 0 && (ply <= 3 || (ply <= 5 && node[-2].nodeKind == 3))) singular = reducedBy + 2;
    }
    node->staticScore = score;
  }

  Move list[PICKER_LIST_SIZE];
  Move taken;
  const int count = PrepareEvasions<Us>(list, node, hashMove, false, &taken);
  if (!count) return ply - MATED_SCORE;
  const uint32_t childFlags = ChildFlags(flags);
  const int32_t checkExtension = extension_word / 2;
  int32_t best = ply - MATED_SCORE;
  int32_t legal = 0;
  // The child of a reply: one ply less in check, the check extension
  // otherwise; a reply found singular gets its extension instead.
  const auto search = [&](Move m, int32_t extra, int32_t reduction) {
    const bool check = MarkCheck<Us>(node);
    node->moveNumber = uint32_t(++legal);
    const int32_t budget = ChildBudget(randomBudget, m);
    if (check) {
      const int32_t d = extra ? depth - 2 + extra : depth - 1;
      return -NullWindowSearch<Them>(1 - beta, d, true, node + 1, 0, childFlags, depth - d, budget);
    }
    const int32_t d = depth - 2 + (extra ? extra : checkExtension);
    if (reduction) {
      const int32_t v = -NullWindowSearch<Them>(1 - beta, d - reduction, false, node + 1, 0, childFlags, depth - d + reduction, budget);
      if (v < beta) return v;
    }
    return -NullWindowSearch<Them>(1 - beta, d, false, node + 1, 0, childFlags, depth - d, budget);
  };
  const auto failHigh = [&](Move m, int32_t v) {
    if (IsQuiet(m) && !(m & MOVE_EN_PASSANT)) ReplyCredit<Us>(m, node);
    StoreLower(key, m, std::min(depth, 63), StoredForm(v), allNode);
    return v;
  };

  if (taken) {
    SavedState saved;
    if (MakeLegal<Us>(taken, &saved, node)) {
      const int32_t v = search(taken, singular, 0);
      UnmakeMove<Us>(taken, &saved);
      if (v >= beta) return failHigh(taken, v);
      best = std::max(best, v);
      if (cutNode) flags &= ~FLAG_NARROW_PROBING;
    }
  }
  const Bitboard occ = position.occupied;
  int32_t listed = 0;  // replies of the list searched so far
  for (Move* cursor = list;; ++cursor) {
    const Move m = SelectLargest(cursor);
    if (!m) break;
    if (Excluded(m, exclusion)) continue;
    if (IsQuiet(m) && UndoAllowed<Us>(beta, 0) && UndoesLastMove(m, node)) {
      best = std::max(best, 0);
      continue;
    }
    if (depth < 11 && !(m & EVASION_EXCHANGE_EXEMPT) &&
        !ExchangeTest<Us>(move_to(m), occ ^ bit(move_from(m)), ~Bitboard(0), int64_t(m & MOVE_STAKE)))
      continue;
    SavedState saved;
    if (!MakeLegal<Us>(m, &saved, node)) continue;
    // The first reply of the list goes unreduced, whether or not a hash
    // move came before it.
    const int32_t reduction = !listed || !(cutNode && depth >= 12) ? 0 : 4 + (legal >= 2 ? 2 : 0);
    ++listed;
    const int32_t v = search(m, 0, reduction);
    UnmakeMove<Us>(m, &saved);
    if (v >= beta) {
      node->currentMove = m;
      return failHigh(m, v);
    }
    best = std::max(best, v);
  }
  StoreUpper(key, 0, BoundDepth(depth), StoredForm(best), cutNode);
  node->currentMove = 0;
  return best;
}

namespace {

// The search of one move in the frontier: a check goes to the evasion
// routine one ply less, a deeper node to the frontier, the rest to
// quiescence.
template <int Us>
int32_t FrontierChild(int32_t beta, int32_t depth, int32_t extra, NodeRecord* node, int32_t budget) {
  constexpr int Them = Us ^ 1;
  const bool check = MarkCheck<Us>(node);
  if (check) return -NullWindowSearch<Them>(1 - beta, depth - 1 + extra, true, node + 1, 0, 0, 2, budget);
  if (depth > 3 - extra) return -FrontierSearch<Them>(1 - beta, depth - 2 + extra, node + 1, budget);
  return -Quiesce<Them>(1 - beta, 0, node + 1);
}

// The entry of both frontier routines: the ply guard, the repetition, and
// the plain probe. True when the node is decided with `*value`.
template <int Us>
bool FrontierEntry(int32_t beta, int32_t depth, NodeRecord* node, Move* hashMove, int32_t* value) {
  *hashMove = 0;
  if (PlyIndex(node) > 200 || IsRepetition()) {
    *value = 0;
    return true;
  }
  node->nodeKind = 1;
  node->nodeDepth = uint32_t(depth);
  return ProbePlain<Us>(position.state.key, beta, depth, hashMove, value);
}

}  // namespace

template <int Us>
int32_t FrontierSearch(int32_t beta, int32_t depth, NodeRecord* node, int32_t randomBudget) {
  constexpr int Them = Us ^ 1;
  const uint64_t key = position.state.key;
  Move hashMove;
  int32_t cut;
  if (FrontierEntry<Us>(beta, depth, node, &hashMove, &cut)) return cut;

  // G: how far below beta a score lies, scaled by the material on the board
  // (in units of 0x10000 for the limits below).
  const int64_t scale = int64_t(MaterialStageField()) * 104 + 52224;
  const auto gap = [&](int32_t s) { return scale * (beta - s); };
  const int32_t table = depth / 4 > 1 ? 1 : depth / 4;
  const Move previous = node[-1].currentMove;
  int32_t score;
  bool lazy = false;
  int32_t best;
  bool evaluated = !previous;
  if (!previous) {
    score = NullMoveScore(node);
  } else {
    score = LazyEstimate<Us>(node);
    node->staticScore = score;
    lazy = true;
  }
  if (!hashMove) {
    if (previous) {
      const int64_t g = gap(score);
      const int64_t m = ((node[-1].approximate ? 10 : -10) + ((previous & MOVE_VICTIM) ? 15 : -15)) * GAP_UNIT;
      const bool standsBelow = g - m > 190 * GAP_UNIT;
      if (previous & THREAT_MARK) {
        if (!standsBelow && !(g + m < -190 * GAP_UNIT)) evaluated = true;
      } else if (!standsBelow) {
        if (g + m < -210 * GAP_UNIT) {
          node->currentMove = 0;
          return beta + 30 + ((score - beta - 24) >> 3);
        }
        evaluated = true;
      }
      if (evaluated) {
        score = FullScore<Us>(node);
        lazy = false;
      }
    }
    best = std::min(score, beta - 1);
    if (evaluated && score >= beta + 6) {
      static constexpr int64_t NULL_TRY[2] = {-0x39, -0x9f};
      if (gap(score) <= NULL_TRY[table] * GAP_UNIT) {
        node->currentMove = 0;
        return beta + 30 + ((score - beta - 24) >> 3);
      }
      // The pass is tried only when no man of ours hangs: attacked and not
      // defended.
      const Bitboard ours = Us == WHITE ? node->whiteAttacks : node->blackAttacks;
      const Bitboard theirs = Us == WHITE ? node->blackAttacks : node->whiteAttacks;
      if (!(position.colourBits[Us] & theirs & ~ours)) {
        NullRecord record;
        MakeNull<Us>(&record, node);
        const int32_t v = -Quiesce<Them>(1 - beta, 0, node + 1);
        UndoNull(&record);
        if (v >= beta) {
          StoreLowerPlain(key, 0, depth, StoredForm(v));
          node->currentMove = 0;
          return v;
        }
      }
      best = beta - 1;
    }
  } else {
    best = std::min(score, beta - 1);
  }

  int32_t quietCount = 0;
  const auto failHigh = [&](Move m, int32_t v, int32_t storeDepth) {
    if (IsQuiet(m) && !(m & NO_CREDIT)) CreditMove(node->currentMove, depth, node, 0);
    StoreLowerPlain(key, m, storeDepth, StoredForm(v));
    return v;
  };
  if (hashMove) {
    SavedState saved;
    if (MakeLegal<Us>(hashMove, &saved, node)) {
      const int32_t v = FrontierChild<Us>(beta, depth, 0, node, randomBudget);
      UnmakeMove<Us>(hashMove, &saved);
      if (v >= beta) return failHigh(hashMove, v, depth);
      if (IsQuiet(hashMove)) {
        if (!(hashMove & NO_MALUS)) HistoryMalus(hashMove, depth, 0);
        quietCount = 1;
      }
      best = std::max(best, v);
    } else {
      best = beta - 1;
    }
  }
  if (lazy) AttackMaps(node);

  // The end of a node that found nothing: the static score, lifted when far
  // below beta, against the best searched.
  const auto closing = [&](int32_t floorDepth) {
    const int32_t v = FloorBelow(std::min(beta - 1, score + 6), beta);
    best = std::max(best, v);
    StoreUpperPlain(key, 0, floorDepth, StoredForm(best));
    node->currentMove = 0;
    return best;
  };
  const Bitboard occ = position.occupied;
  const auto losesExchange = [&](Move m, Bitboard mask, int64_t extra) {
    return !ExchangeTest<Us>(move_to(m), occ ^ bit(move_from(m)), mask, int64_t(m & MOVE_STAKE) + extra);
  };
  Move list[PICKER_LIST_SIZE];
  const int64_t g = gap(score);
  static constexpr int64_t T1[2] = {30, 70}, T2[2] = {120, 140};

  if (g > T1[table] * GAP_UNIT) {
    // Below beta: captures that hold, then a few quiet moves with gain.
    const bool middle = g <= T2[table] * GAP_UNIT;
    Bitboard targets = position.colourBits[Them];
    Bitboard mask;
    if (middle) {
      mask = CaptureList<Us, CAPTURES_NARROW>(list, targets, node, hashMove, 0);
    } else {
      if (g > 230 * GAP_UNIT) targets &= ~position.pieceBits[PAWN_INDEX + Them];
      if (g > 600 * GAP_UNIT) targets &= ~(position.pieceBits[KNIGHT_INDEX + Them] | position.pieceBits[BISHOP_INDEX + Them]);
      mask = CaptureList<Us, QUIESCE_WIDE>(list, targets, node, 0, 1);
    }
    for (Move* cursor = list;; ++cursor) {
      const Move m = SelectLargest(cursor);
      if (!m) break;
      if (hashMove && SameMove(m, hashMove)) continue;
      if (IsQuiet(m) && UndoAllowed<Us>(beta, -8) && UndoesLastMove(m, node)) continue;
      if (!(m & FRONTIER_CAPTURE_EXEMPT) && losesExchange(m, mask, 0)) continue;
      SavedState saved;
      if (!MakeLegal<Us>(m, &saved, node)) continue;
      const int32_t v = FrontierChild<Us>(beta, depth, 0, node, ChildBudget(randomBudget, m));
      UnmakeMove<Us>(m, &saved);
      if (v >= beta) return failHigh(m, v, depth);
      best = std::max(best, v);
    }
    if (!middle) {
      best = std::max(best, beta - ((beta - score - 36) >> 3) - 30);
      StoreUpperPlain(key, 0, 1, StoredForm(best));
      node->currentMove = 0;
      return best;
    }
    // Quiet moves whose learnt gain could lift the score to beta.
    list[0] = 0;
    int column = 0;
    const int32_t q = beta - CountMarginTable[0][0] - score;
    if (beta - score >= Blend(70, 50)) GenerateGainLimited<Us>(list, node, q);
    else GenerateGainQuiets<Us>(list, node, std::max(0, q), 0);
    const Move m2 = node[-2].currentMove;
    for (Move* p = list; *p; ++p) {
      const Move m = *p & ~(~Move(0) << 40);
      if (Gain<Us>(m) + CountMarginTable[0][std::min(column, 127)] + score < beta) continue;
      if (hashMove && SameMove(m, hashMove)) continue;
      if (UndoAllowed<Us>(beta, -12) && UndoesLastMove(m, node)) continue;
      // A man that moved two plies ago and could have gone here at once.
      if (m2 && !(m2 & (MOVE_VICTIM | MOVE_CHECK)) && move_from(m) == move_to(m2)) {
        const int cls = int(m2 >> 6 & 7);
        if (cls != CLASS_PAWN && cls != CLASS_KNIGHT) {
          const int from = move_from(m2);
          const Bitboard o = occ ^ bit(move_to(m2));
          const Bitboard reach = cls == CLASS_KING ? KING_ATTACKS[from]
                                 : cls == CLASS_BISHOP ? BishopAttacks(from, o)
                                 : cls == CLASS_ROOK ? RookAttacks(from, o)
                                                     : BishopAttacks(from, o) | RookAttacks(from, o);
          if (reach & bit(move_to(m))) continue;
        }
      }
      if (losesExchange(m, ~Bitboard(0), 0)) continue;
      SavedState saved;
      MakeQuiet<Us>(m, &saved, node);
      if (KingInCheck<Us>()) {
        UnmakeQuiet<Us>(m, &saved);
        continue;
      }
      ++column;
      const bool check = MarkCheck<Us>(node);
      const int32_t v = check ? -QuiesceEvasions<Them>(1 - beta, 0, node + 1) : -Quiesce<Them>(1 - beta, 0, node + 1);
      UnmakeQuiet<Us>(m, &saved);
      if (v >= beta) return failHigh(m, v, 2);
      best = std::max(best, v);
    }
    return closing(2);
  }

  // Near beta: every move, captures first, quiet moves pruned by margin.
  MovePicker picker;
  StartPicker<Us>(&picker, PICK_FIRST + 1, hashMove, 0, depth, beta - score, false, randomBudget);
  for (;;) {
    const Move m = NextMove<Us>(&picker, node);
    if (!m) break;
    if (hashMove && SameMove(m, hashMove)) continue;
    const int stage = PickedStage(&picker);
    const bool quiet = IsQuiet(m);
    if (quiet && UndoAllowed<Us>(beta, -8) && UndoesLastMove(m, node)) continue;
    if (stage == 10) {
      // A capture put off by the exchange test: only when the score leaves room.
      const int32_t loss = (m & MOVE_VICTIM) == Move(CLASS_PAWN) << 27 ? 150 : 100;
      if (score - loss < beta) continue;
    } else if (stage == PICK_QUIETS && !(m & FRONTIER_MARGIN_EXEMPT)) {
      const int32_t order = OrderField(m);
      if (CountMarginTable[depth][std::min(quietCount, 127)] + Gain<Us>(m) + score + 4 < beta ||
          (order >= 2048 && order <= 2547) || quietCount > 2 * depth - 2)
        continue;
    }
    if (stage == PICK_QUIETS && !(m & EXCHANGE_EXEMPT) &&
        losesExchange(m, ~Bitboard(0), (m & BISHOP_STAKE_BIT) ? PAWN_STAKE / 2 : 0))
      continue;
    SavedState saved;
    if (!MakeLegal<Us>(m, &saved, node)) continue;
    const int32_t v = FrontierChild<Us>(beta, depth, 0, node, ChildBudget(randomBudget, m));
    UnmakeMove<Us>(m, &saved);
    if (quiet) ++quietCount;
    if (v >= beta) return failHigh(m, v, depth);
    if (quiet && !(m & NO_MALUS)) HistoryMalus(m, depth, 0);
    best = std::max(best, v);
  }
  return closing(depth);
}

template <int Us>
int32_t FrontierEvasions(int32_t beta, int32_t depth, NodeRecord* node, int32_t randomBudget) {
  const int32_t ply = PlyIndex(node);
  const uint64_t key = position.state.key;
  Move hashMove;
  int32_t cut;
  if (FrontierEntry<Us>(beta, depth, node, &hashMove, &cut)) return cut;
  const int32_t score = node[-1].currentMove ? (node->staticScore = LazyEstimate<Us>(node)) : NullMoveScore(node);
  int32_t best = std::min(beta - 1, score - 25);
  const int32_t extra = extension_word / 2;
  const auto failHigh = [&](Move m, int32_t v) {
    if (IsQuiet(m)) ReplyCredit<Us>(m, node);
    StoreLowerPlain(key, m, depth < 3 ? 2 : depth, StoredForm(v));
    return v;
  };

  Move list[PICKER_LIST_SIZE];
  Move taken;
  const int count = PrepareEvasions<Us>(list, node, hashMove, false, &taken);
  if (!count) return ply - MATED_SCORE;
  if (taken) {
    SavedState saved;
    if (MakeLegal<Us>(taken, &saved, node)) {
      const int32_t v = FrontierChild<Us>(beta, depth, extra, node, randomBudget);
      UnmakeMove<Us>(taken, &saved);
      if (v >= beta) return failHigh(taken, v);
      best = std::max(best, v);
    }
  }
  const Bitboard occ = position.occupied;
  int32_t number = 0;
  for (Move* cursor = list;; ++cursor) {
    const Move m = SelectLargest(cursor);
    if (!m) break;
    if (IsQuiet(m) && UndoAllowed<Us>(beta, -8) && UndoesLastMove(m, node)) continue;
    if (!(m & MARGIN_EXEMPT) && CountMarginTable[std::min(depth, 11)][std::min(number, 127)] + Gain<Us>(m) + score - 5 < beta)
      continue;
    if (!(m & FRONTIER_EVASION_EXEMPT) &&
        !ExchangeTest<Us>(move_to(m), occ ^ bit(move_from(m)), ~Bitboard(0), int64_t(m & MOVE_STAKE)))
      continue;
    SavedState saved;
    if (!MakeLegal<Us>(m, &saved, node)) continue;
    ++number;
    const int32_t v = FrontierChild<Us>(beta, depth, extra, node, ChildBudget(randomBudget, m));
    UnmakeMove<Us>(m, &saved);
    if (v >= beta) return failHigh(m, v);
    best = std::max(best, v);
  }
  StoreUpperPlain(key, hashMove, depth < 2 ? 1 : depth, StoredForm(best));
  node->currentMove = 0;
  return best;
}

#define QUORL_NODE_SEARCH(Us)                                                                                   \
  template int32_t PvSearch<Us>(int32_t, int32_t, int32_t, bool, NodeRecord*, int32_t, int32_t);                \
  template int32_t ScoutSearch<Us>(int32_t, int32_t, bool, NodeRecord*, int32_t);                               \
  template int32_t DeepSearch<Us>(int32_t, int32_t, NodeRecord*, uint32_t, uint32_t, int32_t, int32_t);         \
  template int32_t MiddleSearch<Us>(int32_t, int32_t, NodeRecord*, uint32_t, uint32_t, int32_t, int32_t);       \
  template int32_t EvasionSearch<Us>(int32_t, int32_t, NodeRecord*, uint32_t, uint32_t, int32_t, int32_t);      \
  template int32_t FrontierSearch<Us>(int32_t, int32_t, NodeRecord*, int32_t);                                  \
  template int32_t FrontierEvasions<Us>(int32_t, int32_t, NodeRecord*, int32_t);                                \
  template int32_t NullWindowSearch<Us>(int32_t, int32_t, bool, NodeRecord*, uint32_t, uint32_t, int32_t, int32_t); \
  template bool WrongBishopDraw<Us>(bool);
QUORL_NODE_SEARCH(WHITE)
QUORL_NODE_SEARCH(BLACK)
#undef QUORL_NODE_SEARCH
