// The node routines of the main search, one copy per side to move. A routine
// of one colour calls the other colour's routines for a child and its own for
// a search of the same node (an internal or verification search).
//
//   PvSearch         open window, in check or not, any depth
//   ScoutSearch      null window with the care of a PV node, any depth
//   DeepSearch       null window, not in check, depth 12 and more
//   MiddleSearch     null window, not in check, depth 6 to 11
//   EvasionSearch    null window, in check, depth 6 and more
//   FrontierSearch   null window, not in check, depth 2 to 5
//   FrontierEvasions null window, in check, depth 1 to 5
//
// Depth is in half plies. Null-window routines take beta alone (alpha is
// beta - 1) and return a bound: >= beta failed high, < beta failed low. A
// routine leaves its best move (or its hash move) in the node's currentMove,
// where an internal search of the same node finds it.
#pragma once

#include <cstdint>

#include "eval/node_record.h"

// SearchFlags, handed down the tree.
constexpr uint32_t FLAG_EXCLUSION = 0x10;        // only testing whether excluded moves are singular
constexpr uint32_t FLAG_NARROW_PROBING = 0x1000; // an expected all node may probe narrowly
constexpr uint32_t FLAG_EXPECTED_CUT = 0x2000;   // toggled at every child
constexpr uint32_t FLAG_NO_NULL = 0x4000;        // after a null move or in a verification
constexpr uint32_t FLAG_NULL_CUT_CHILD = 0x8000; // child of the confirming null search of a cut node
constexpr uint32_t FLAG_VERIFY_STEP = 0x100000;  // verification re-searches in this line
constexpr uint32_t FLAG_VERIFY_LIMIT = 0x300000;
constexpr uint32_t ROOT_LATE_MOVE_FLAGS = 0x13f00;
constexpr uint32_t PV_CHILD_FLAGS = 0x3700;
constexpr uint32_t VERIFY_FLAGS = 0x41010;

template <int Us>
int32_t PvSearch(int32_t alpha, int32_t beta, int32_t depth, bool inCheck, NodeRecord* node, int32_t mode,
                 int32_t randomBudget);
template <int Us>
int32_t ScoutSearch(int32_t beta, int32_t depth, bool inCheck, NodeRecord* node, int32_t randomBudget);
template <int Us>
int32_t DeepSearch(int32_t beta, int32_t depth, NodeRecord* node, uint32_t exclusion, uint32_t flags,
                   int32_t reducedBy, int32_t randomBudget);
template <int Us>
int32_t MiddleSearch(int32_t beta, int32_t depth, NodeRecord* node, uint32_t exclusion, uint32_t flags,
                     int32_t reducedBy, int32_t randomBudget);
template <int Us>
int32_t EvasionSearch(int32_t beta, int32_t depth, NodeRecord* node, uint32_t exclusion, uint32_t flags,
                      int32_t reducedBy, int32_t randomBudget);
template <int Us>
int32_t FrontierSearch(int32_t beta, int32_t depth, NodeRecord* node, int32_t randomBudget);
template <int Us>
int32_t FrontierEvasions(int32_t beta, int32_t depth, NodeRecord* node, int32_t randomBudget);

// The null-window routine that fits a node of Us to move at `depth`, in
// check or not: quiescence below 2 (below 1 in check), a frontier routine
// below 6, MiddleSearch below 12, DeepSearch above; EvasionSearch in check.
template <int Us>
int32_t NullWindowSearch(int32_t beta, int32_t depth, bool inCheck, NodeRecord* node, uint32_t exclusion,
                         uint32_t flags, int32_t reducedBy, int32_t randomBudget);

// Is the position a dead draw of a bishop of the wrong colour with rook
// pawns, for the side to move (strongSideToMove) or for the other side?
template <int Us>
bool WrongBishopDraw(bool strongSideToMove);
