// One record per ply of the search: what the evaluator leaves for the move
// producers and the pruning tests, and what the search keeps about the ply.
#pragma once

#include <cstdint>

#include "board/types.h"

struct NodeRecord {
  Bitboard whiteAttacks;     // every square a white man attacks, king included
  Bitboard blackAttacks;
  Bitboard blackThreatened;  // black men attacked by a cheaper white man, or attacked and undefended
  Bitboard whiteThreatened;
  Bitboard discoverMask;     // all ones but men on a line from a mover's slider to the enemy king
  Bitboard pieceRayMask;     // all ones but squares between a mover's slider and a man behind one blocker
  Bitboard queenRayMask;     // the same for an enemy queen behind one blocker
  Move killers[2];
  int32_t staticScore;       // evaluation from the side to move's view
  int32_t positionalScore;   // final score less material, from White's view
  int32_t sideIndex;         // 0 if White is to move at this record, 1 if Black
  int32_t sideSign;          // +1 White to move, -1 Black
  int32_t otherSign;
  uint8_t approximate;       // the score fields hold a lazy estimate
  Move currentMove;          // the move searched from this record; bit 9 if it checks
  uint32_t moveNumber;
  uint32_t nodeKind;
  uint32_t nodeDepth;
  Bitboard moveTargets[64];  // per origin square, the targets not yet produced
  Bitboard pawnPushes;       // destinations of quiet pawn steps still to be produced
  Bitboard ownMen;           // men of the side to move still allowed to produce quiet moves
};

constexpr int NODE_STACK_SIZE = 256;
