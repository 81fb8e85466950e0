// Making moves on the Position.
#pragma once

#include <cstdint>

#include "board/position.h"
#include "board/types.h"

struct NodeRecord;

// The slow, colour-independent make of the position command: updates the
// board, history, rights, en-passant square, counters, key and side, and
// leaves bitboards and sums to the RebuildDerived that follows. A move of 0
// is a pass.
void ApplyGameMove(Move move);

// --- Make and unmake inside the search ---------------------------------------
// One copy per side to move (Us = WHITE or BLACK); the side is never read from
// the Position. They are defined in board/make_unmake.h, included at the end
// of this header, so that every caller can inline them.

// The caller's slot for the StateBlock of the position before a move; unmake
// copies it back whole.
using SavedState = StateBlock;

// What a null move changes and its undo puts back.
struct NullRecord {
  uint32_t epSquare;
  uint32_t fiftyCount;
  uint64_t key;
};

// Material correction by piece, indexed as MATERIAL_STEPS (10 and 11 the
// bishops on dark squares); set by the root from the options before a search.
extern int32_t MATERIAL_ADJUST_STEPS[12];

// Every move, castling included. White's copy counts the node and runs the
// periodic check when a block of nodes is used up.
template <int Us>
inline void MakeMove(Move move, SavedState* saved, NodeRecord* node);
template <int Us>
inline void UnmakeMove(Move move, const SavedState* saved);
// The same for moves that cannot be castling; White's copy counts the node but
// does not check.
template <int Us>
inline void MakeQuiet(Move move, SavedState* saved, NodeRecord* node);
template <int Us>
inline void UnmakeQuiet(Move move, const SavedState* saved);
// Passes the move: side key, en-passant square, counters.
template <int Us>
inline void MakeNull(NullRecord* record, NodeRecord* node);
// The four assignments that take a null move back.
inline void UndoNull(const NullRecord* record);

#include "board/make_unmake.h"
