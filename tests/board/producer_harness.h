// Drives the engine's own list makers and producers the way a node does:
// in check the evasions, otherwise a capture list, then the quiet moves and
// the underpromotions. Shared by the producer tests and the perft test.
#pragma once

#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "board/reference_moves.h"
#include "board/types.h"
#include "eval/capture_lists.h"
#include "eval/node_record.h"

namespace harness {

// Node records with a parent: stack[1] is the node, stack[0] its parent.
struct NodeStack {
  NodeRecord records[4] = {};
  NodeRecord* node() { return &records[1]; }
};

// The capture list maker of `variant`, picked at run time.
template <int Us>
Bitboard RunCaptureList(int variant, Move* list, Bitboard targets, NodeRecord* node, Move hashMove, int row) {
  switch (variant) {
    case QUIESCE_NARROW: return CaptureList<Us, QUIESCE_NARROW>(list, targets, node, hashMove, row);
    case QUIESCE_MIDDLE: return CaptureList<Us, QUIESCE_MIDDLE>(list, targets, node, hashMove, row);
    case QUIESCE_WIDE: return CaptureList<Us, QUIESCE_WIDE>(list, targets, node, hashMove, row);
    case CAPTURES_NARROW: return CaptureList<Us, CAPTURES_NARROW>(list, targets, node, hashMove, row);
    case CAPTURES_WIDE: return CaptureList<Us, CAPTURES_WIDE>(list, targets, node, hashMove, row);
    case RESTRICTED_HIGH: return CaptureList<Us, RESTRICTED_HIGH>(list, targets, node, hashMove, row);
    case RESTRICTED_MIDDLE: return CaptureList<Us, RESTRICTED_MIDDLE>(list, targets, node, hashMove, row);
    default: return CaptureList<Us, RESTRICTED_LOW>(list, targets, node, hashMove, row);
  }
}

// Every move word the node would produce for the side to move on the global
// position: out of check the hash move first when given (a full word from
// HashMoveToMove), then the capture list of `variant` with all enemy men as
// targets, the quiet list and the underpromotions; in check the evasions
// with every underpromotion. The node's attack maps are written first.
std::vector<Move> ProduceAll(int side, int variant, NodeRecord* node, Move hashMove, int historyRow = 0);

bool InCheck(int side);

// Whether the side's king is safe after `m` is made on the global position
// (which the unmake restores).
bool KingSafeAfter(int side, Move m);

// The legal moves of the board as text, bishop promotions left out: the
// engine never produces them.
std::set<std::string> ProducedLegalTexts(const reference::Board& board);

// A legal move of the board, picked at random, in the form the hash table
// gives back (completed by the validation), or 0. Underpromotions never come
// back from the table; with `noPromotion` no promotion at all is taken.
Move HashFormMove(const reference::Board& board, std::mt19937_64& rng, bool noPromotion = false);

// Moves of the engine's producers counted to `depth`, legality by the king
// test after the make; each queen promotion is counted once more for the
// bishop promotion that the engine never produces.
uint64_t EnginePerft(int side, int depth);

}  // namespace harness
