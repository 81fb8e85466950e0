// What every node routine shares: the node stack and the ply index, the
// score bounds of mates and king captures, the repetition test, the lazy
// estimate, and the check test after a make.
#pragma once

#include <cstdint>

#include "board/attacks.h"
#include "board/pawn_steps.h"
#include "board/position.h"
#include "eval/material.h"
#include "eval/node_record.h"
#include "search/ordering_tables.h"

// Record 0 is the imaginary parent of the root record 1.
extern NodeRecord node_stack[NODE_STACK_SIZE];

// Plies from record 0: the root is 1.
[[gnu::always_inline]] inline int PlyIndex(const NodeRecord* node) { return int(node - node_stack); }

// A king capture is worth this less the ply index; being mated, the ply
// index less this one more.
constexpr int KING_CAPTURE_SCORE = 8160;
constexpr int MATED_SCORE = 8161;
// Hash values are stored with this offset, so that they fit 14 bits unsigned.
constexpr int HASH_VALUE_OFFSET = 8190;

// A position seen before since the last irreversible move, at an even
// distance of four or more plies: one earlier occurrence is a draw.
inline bool IsRepetition() {
  const StateBlock& s = position.state;
  const uint32_t reach = s.fiftyCount;
  if (reach < 4) return false;
  const uint64_t* history = position.keyHistory;
  for (uint32_t back = 4; back <= reach && back <= s.historyCount; back += 2)
    if (history[s.historyCount - back] == s.key) return true;
  return false;
}

// Is the king of Side attacked on the board as it stands?
template <int Side>
[[gnu::always_inline]] inline bool KingInCheck() {
  constexpr int Them = Side ^ 1;
  const Bitboard* men = position.pieceBits;
  const int k = int(position.kingSquare[Side]);
  const Bitboard occ = position.occupied;
  return (KNIGHT_ATTACKS[k] & men[KNIGHT_INDEX + Them]) || (PawnSources<Them>(k) & men[PAWN_INDEX + Them]) ||
         (RookAttacks(k, occ) & (men[ROOK_INDEX + Them] | men[QUEEN_INDEX + Them])) ||
         (BishopAttacks(k, occ) & (men[BISHOP_INDEX + Them] | men[QUEEN_INDEX + Them])) ||
         (KING_ATTACKS[k] & men[KING_INDEX + Them]);
}

// The 9-bit stage field of the material word: 256 with all pieces on.
[[gnu::always_inline]] inline int MaterialStageField() { return int(position.state.materialSignature >> 25 & 0x1ff); }

// The material part of the score in score units, White's view.
[[gnu::always_inline]] inline int32_t MaterialScore() {
  return MaterialValue(position.state.materialSignature, position.state.materialAdjust) / 10;
}

// The lazy estimate of a node reached by a move of the other side: the
// parent's positional part moved by the learnt gain of the move (and of its
// capture), plus the material known exactly. Leaves the positional part in
// the record, marked approximate; returns the score from Us's view.
template <int Us>
inline int32_t LazyEstimate(NodeRecord* node) {
  constexpr int Mover = Us ^ 1;
  const Move m = node[-1].currentMove;
  int32_t change = GainTable[Mover][m & 0xfcff];
  if (m & 0x38000000) change += CaptureGainTable[Mover][(m >> 27 & 7) * 64 + (m & 63)];
  const int32_t positional = node[-1].positionalScore + (Mover == WHITE ? change : -change);
  node->positionalScore = positional;
  node->approximate = 1;
  const int32_t white = positional + MaterialScore();
  return Us == WHITE ? white : -white;
}

// A value above beta + 30 is pulled back toward it by a shift, so that a
// stand-pat far above beta does not overstate the bound.
[[gnu::always_inline]] inline int32_t DampAbove(int32_t value, int32_t beta) {
  return value < beta + 30 ? value : beta + 30 + ((value - beta - 24) >> 3);
}

// A value far below a bound is lifted toward it: the floor of a node that
// found nothing better than its static score.
[[gnu::always_inline]] inline int32_t FloorBelow(int32_t value, int32_t bound) {
  return value < bound - 30 ? bound - (bound - value - 30) / 8 - 30 : value;
}

// Does `word` take back the move made two plies up (the same man going back
// where it came from, neither move a capture)? Such a move is skipped unseen
// in some nodes.
[[gnu::always_inline]] inline bool UndoesLastMove(Move word, const NodeRecord* node) {
  const Move m2 = node[-2].currentMove;
  const Move reverse = (m2 & 0x3f) << 10 | (m2 >> 10 & 0x3f) | (m2 & 0x38000000) >> 10;
  return m2 && (word & 0x295200000000fc3full) == reverse;
}

// Picks the largest word of a zero-terminated list from `cursor` on and
// swaps it to the cursor; 0 at the end of the list.
[[gnu::always_inline]] inline Move SelectLargest(Move* cursor) {
  if (!*cursor) return 0;
  Move* best = cursor;
  for (Move* p = cursor + 1; *p; ++p)
    if (*p > *best) best = p;
  const Move m = *best;
  *best = *cursor;
  *cursor = m;
  return m;
}
