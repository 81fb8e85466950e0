// The staged supplier of moves to the node loops, and the learning that
// feeds move ordering: killers, counter moves, history, and the expected
// positional gain of a move.
//
// A node starts its picker at a stage and calls NextMove until it gives 0.
// Stages hand out the hash moves, then the winning part of a capture list
// (the doubtful captures exchange-tested and put off), then quiet moves
// generated only once the captures are used up, then what was put off:
//
//   0, 1    quiet generator, then 2
//   2       the quiet list in order, then 3
//   3       the deferred list; its end finishes the node
//   4       first move, then 5
//   5       capture list (wide or narrow), then 6
//   6       best capture by selection; a capture that needs and fails the
//           exchange test is deferred; at the first word with no priority, 7
//   7, 8    close the deferred list, quiet generator at the cursor, then 9
//   9       the quiet list in order, then 10
//   10      the deferred list; its end finishes the node
//   11-13   first, second and third move, then 14
//   14      capture list, less the second and third moves' squares in the
//           quiet maps, then 15
//   15      as 6, skipping the second and third moves
//   16, 17  drop the second and third moves from the rest of the list, close
//           the deferred list, quiet generator at the cursor, then 18
//   18      the quiet list in order, skipping the second and third moves
//   19      the deferred list, then 20
//   20, 21  the underpromotions in order; their end finishes the node
//   22      selection over a list the node prepared, no tests
//   23-26   nothing more
//   27      first move, then 28
//   28      restricted capture list, its width by the node's distance from
//           the bound, then 29
//   29      selection skipping the first move: no quiet move at all
//   30      selection over the evasion list the node prepared
//
// So a node started at 4 never sees underpromotions that the capture list did
// not give, and a node started at 27 sees no quiet move.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "board/exchange.h"
#include "board/move.h"
#include "board/move_producers.h"
#include "board/position.h"
#include "board/types.h"
#include "eval/capture_lists.h"
#include "eval/node_record.h"
#include "report/output.h"
#include "search/ordering_margins.h"
#include "search/ordering_tables.h"
#include "search/search_common.h"
#include "search/search_state.h"

constexpr int PICKER_LIST_SIZE = 256;
constexpr int PICKER_DEFERRED_SIZE = 64;

struct MovePicker {
  Move list[PICKER_LIST_SIZE];          // main list
  Move deferred[PICKER_DEFERRED_SIZE];  // moves put off by the exchange test, then 0
  int32_t stage;                        // where the next call goes on
  int32_t index;                        // cursor in the list or the deferred list
  Move first;                           // hash move
  Move second;                          // second hash or internal-search move
  Move third;                           // 0 unless the node sets it
  int32_t deferredCount;
  int32_t depth;                        // the node's depth in half plies
  int32_t delta;                        // beta (alpha in an open node) less the static score
  uint8_t allTargets;                   // enemy pawns stay targets of the restricted list
  uint8_t fullList;                     // the wide capture list
  int32_t historyRow;                   // 1 far above the static score
  uint8_t shuffleAllowed;               // RandomBudget >= 1
  int32_t lastStage;                    // the stage that gave the last move (pruning reads it)
};

// Stages the node loops name.
enum PickerStage : int32_t {
  PICK_QUIETS_ONLY = 0,
  PICK_FIRST = 4,
  PICK_GOOD_CAPTURES = 6,
  PICK_QUIETS = 9,
  PICK_HASH_MOVES = 11,
  PICK_QUIETS_AFTER_HASH_MOVES = 18,
  PICK_SELECTION = 22,
  PICK_DONE = 23,
  PICK_FAR_BELOW = 27,
  PICK_RESTRICTED = 29,
  PICK_EVASIONS = 30,
};

// Move-word masks of the picker.
constexpr Move PRIORITY_BITS = 0xfffe000000000000;    // bits 49-63: the winning part of a capture list
constexpr Move NO_EXCHANGE_TEST = 0xa2a8000000010000;  // exempt, or even or winning by kinds alone
constexpr Move STAKE_ABOVE_MINOR = 0x380000;           // bits 19-21 of the stake
constexpr Move LISTED_MOVE_BITS = 0x400000000fc3f;     // identity and the promotion mark
constexpr Move HASH_FORM_BITS = MOVE_IDENTITY | (Move(1) << 48);  // identity, queen promotion

// Fills the picker for a node: the staging fields by delta (the all-targets
// byte by the second margin of the node's expected type, hence
// `expectedCut`), shuffling by the node's RandomBudget, an empty list and an
// empty deferred list. The third move is 0; a node that has one sets it after.
// A node starting at 6, 22, 29 or 30 writes its list into `list` afterwards.
template <int Us>
inline void StartPicker(MovePicker* picker, int stage, Move first, Move second, int depth, int delta,
                        bool expectedCut, int randomBudget) {
  picker->stage = stage;
  picker->index = 0;
  picker->first = first;
  picker->second = second;
  picker->third = 0;
  picker->deferredCount = 0;
  picker->depth = depth;
  picker->delta = delta;
  picker->allTargets = delta < SecondMoveCut(expectedCut ? EXPECTED_CUT : EXPECTED_ALL, depth);
  picker->fullList = delta > -20;
  picker->historyRow = delta > 100 ? 1 : 0;
  picker->shuffleAllowed = randomBudget >= 1;
  picker->lastStage = stage;
  picker->list[0] = 0;
  picker->deferred[0] = 0;
}

// The stage that produced the move NextMove gave last.
inline int PickedStage(const MovePicker* picker) { return picker->lastStage; }

namespace picker_detail {

[[gnu::always_inline]] inline bool IsListed(const MovePicker* p, Move word) {
  return (p->second && !((word ^ p->second) & LISTED_MOVE_BITS)) ||
         (p->third && !((word ^ p->third) & LISTED_MOVE_BITS));
}

template <int Us>
[[gnu::always_inline]] inline void QuietGenerator(MovePicker* p, NodeRecord* node) {
  if (shuffle_quiet_lists && p->shuffleAllowed) GenerateQuietsShuffled<Us>(p->list + p->index, node);
  else GenerateQuiets<Us>(p->list + p->index, node, p->historyRow);
}

template <int Us>
[[gnu::always_inline]] inline void MakeCaptureList(MovePicker* p, NodeRecord* node) {
  const Bitboard targets = position.colourBits[Us ^ 1];
  if (p->fullList) CaptureList<Us, CAPTURES_WIDE>(p->list, targets, node, p->first, p->historyRow);
  else CaptureList<Us, CAPTURES_NARROW>(p->list, targets, node, p->first, p->historyRow);
  p->index = 0;
}

// Stages 6 and 15: the winning part of the capture list, largest first. A
// word that is neither exempt nor even-or-winning by its kinds must pass the
// exchange test against the men that may really take back: not those that
// shield their king or their queen, nor, when we risk more than a minor
// piece, those that shield another man. A failure is put off to the end.
template <int Us, bool SkipListed>
inline Move PickGoodCapture(MovePicker* p, NodeRecord* node) {
  for (;;) {
    const Move word = SelectLargest(p->list + p->index);
    if (!(word & PRIORITY_BITS)) return 0;  // the rest stays for the quiet stage
    ++p->index;
    if constexpr (SkipListed)
      if (IsListed(p, word)) continue;
    if (word & NO_EXCHANGE_TEST) return word;
    Bitboard candidates = node->discoverMask & node->queenRayMask;
    if (!(word & STAKE_ABOVE_MINOR)) candidates &= node->pieceRayMask;
    const int from = move_from(word);
    if (ExchangeTest<Us>(move_to(word), position.occupied ^ bit(from), candidates, int64_t(word & MOVE_STAKE)))
      return word;
    // A full deferred list cannot happen with real positions; should it, the
    // move is searched now rather than lost.
    if (p->deferredCount >= PICKER_DEFERRED_SIZE - 1) return word;
    p->deferred[p->deferredCount++] = word;
  }
}

// Stage 16: the words left after the winning captures, less the second and
// third moves, closed up in place.
inline void DropListed(MovePicker* p) {
  Move* out = p->list + p->index;
  for (Move* in = out; *in; ++in)
    if (!IsListed(p, *in)) *out++ = *in;
  *out = 0;
}

}  // namespace picker_detail

// The next move of the node, or 0 when there is none. `node` is the node's
// record: the capture lists write its maps, the quiet generators read them.
template <int Us>
Move NextMove(MovePicker* p, NodeRecord* node) {
  using namespace picker_detail;
  constexpr int Them = Us ^ 1;
  for (;;) {
    switch (p->stage) {
      case 0:
      case 1:
        QuietGenerator<Us>(p, node);
        p->stage = 2;
        [[fallthrough]];
      case 2:
        if (const Move word = p->list[p->index]) {
          ++p->index;
          p->lastStage = 2;
          return word;
        }
        p->stage = 3;
        p->index = 0;
        [[fallthrough]];
      case 3:
      case 10:
        if (const Move word = p->deferred[p->index]) {
          p->lastStage = p->stage;
          ++p->index;
          return word;
        }
        p->stage = PICK_DONE;
        return 0;

      case 4:
        p->stage = 5;
        if (p->first) {
          p->lastStage = 4;
          return p->first;
        }
        [[fallthrough]];
      case 5:
        MakeCaptureList<Us>(p, node);
        p->stage = 6;
        [[fallthrough]];
      case 6:
        if (const Move word = PickGoodCapture<Us, false>(p, node)) {
          p->lastStage = 6;
          return word;
        }
        p->stage = 7;
        [[fallthrough]];
      case 7:
      case 8:
        p->deferred[p->deferredCount] = 0;
        QuietGenerator<Us>(p, node);
        p->stage = 9;
        [[fallthrough]];
      case 9:
        if (const Move word = p->list[p->index]) {
          ++p->index;
          p->lastStage = 9;
          return word;
        }
        p->stage = 10;
        p->index = 0;
        continue;

      case 11:
        p->stage = 12;
        if (p->first) {
          p->lastStage = 11;
          return p->first;
        }
        [[fallthrough]];
      case 12:
        p->stage = 13;
        // A second move equal to the first would be searched twice.
        if (p->second && ((p->second ^ p->first) & LISTED_MOVE_BITS)) {
          p->lastStage = 12;
          return p->second;
        }
        [[fallthrough]];
      case 13:
        p->stage = 14;
        if (p->third && ((p->third ^ p->first) & LISTED_MOVE_BITS) && ((p->third ^ p->second) & LISTED_MOVE_BITS)) {
          p->lastStage = 13;
          return p->third;
        }
        [[fallthrough]];
      case 14:
        MakeCaptureList<Us>(p, node);
        // The quiet generator must not list the second and third moves again.
        for (const Move m : {p->second, p->third}) {
          if (!m) continue;
          node->moveTargets[move_from(m)] &= ~bit(move_to(m));
          if ((m & MOVE_MOVER) == Move(CLASS_PAWN) << 6) node->pawnPushes &= ~bit(move_to(m));
        }
        p->stage = 15;
        [[fallthrough]];
      case 15:
        if (const Move word = PickGoodCapture<Us, true>(p, node)) {
          p->lastStage = 15;
          return word;
        }
        p->stage = 16;
        [[fallthrough]];
      case 16:
      case 17:
        DropListed(p);
        p->deferred[p->deferredCount] = 0;
        QuietGenerator<Us>(p, node);
        p->stage = 18;
        [[fallthrough]];
      case 18:
        while (const Move word = p->list[p->index]) {
          ++p->index;
          if (IsListed(p, word)) continue;
          p->lastStage = 18;
          return word;
        }
        p->stage = 19;
        p->index = 0;
        [[fallthrough]];
      case 19:
        if (const Move word = p->deferred[p->index]) {
          ++p->index;
          p->lastStage = 19;
          return word;
        }
        p->stage = 20;
        [[fallthrough]];
      case 20:
        p->list[0] = 0;
        GenerateUnderpromotions<Us>(p->list, node);
        p->index = 0;
        p->stage = 21;
        [[fallthrough]];
      case 21:
        if (const Move word = p->list[p->index]) {
          ++p->index;
          p->lastStage = 21;
          return word;
        }
        p->stage = PICK_DONE;
        return 0;

      case 22:
        if (const Move word = SelectLargest(p->list + p->index)) {
          ++p->index;
          p->lastStage = 22;
          return word;
        }
        p->stage = PICK_DONE;
        return 0;

      case 27:
        p->stage = 28;
        if (p->first) {
          p->lastStage = 27;
          return p->first;
        }
        [[fallthrough]];
      case 28: {
        // The further below the bound, the fewer kinds of move are worth it.
        const Bitboard pawns = p->allTargets ? 0 : position.pieceBits[PAWN_INDEX + Them];
        const Bitboard targets = position.colourBits[Them] & ~pawns;
        if (p->delta > RestrictedThreshold(0, p->depth))
          CaptureList<Us, RESTRICTED_HIGH>(p->list, targets, node, 0, 1);
        else if (p->delta > RestrictedThreshold(1, p->depth))
          CaptureList<Us, RESTRICTED_MIDDLE>(p->list, targets, node, 0, 1);
        else
          CaptureList<Us, RESTRICTED_LOW>(p->list, targets, node, 0, 1);
        p->index = 0;
        p->stage = 29;
      }
        [[fallthrough]];
      case 29:
        while (const Move word = SelectLargest(p->list + p->index)) {
          ++p->index;
          if (p->first && !((word ^ p->first) & HASH_FORM_BITS)) continue;
          p->lastStage = 29;
          return word;
        }
        p->stage = PICK_DONE;
        return 0;

      case 30:
        if (const Move word = SelectLargest(p->list + p->index)) {
          ++p->index;
          p->lastStage = 30;
          return word;
        }
        p->stage = PICK_DONE;
        return 0;

      default:  // 23 to 26: nothing more
        return 0;
    }
  }
}

// ---------------------------------------------------------------------------
// Learning from results.

// A move that failed high (or is a PV node's best) and has none of the bits
// 0xbb7e000000000000: the counter move of the previous move, the killers, and
// its history entry, which approaches 32765 and stays below it. `move` has
// its check bit set if it gives check.
void CreditMove(Move move, int depth, NodeRecord* node, int row);

// A quiet move that failed low loses history in proportion to its rating.
void HistoryMalus(Move move, int depth, int row);

// After a full evaluation at `node` (Us to move there): learns from the move
// that led here, by the mover's colour, what the positional part of the score
// changed by. Nothing after a null move or after a parent with a lazy score.
template <int Us>
void UpdateGain(NodeRecord* node);

// In a node where Us are in check, after a quiet move failed high: the reply
// keys of the previous move and our king's square.
template <int Us>
void ReplyCredit(Move move, NodeRecord* node);

// Raises the evasions that answered this check before, promotions aside, in
// the zero-terminated evasion list of a node where Us are in check.
template <int Us>
void MarkEvasions(Move* list, NodeRecord* node);
