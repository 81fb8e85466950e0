// Square masks of the pawn structure, king safety and passed pawn terms, and
// the pawn-to-king distance table. All are constants written at build time by
// tools/gen_eval_masks.cpp, whose header states the rule of each.
#pragma once

#include <cstdint>

#include "../board/types.h"  // relative, so the build-time generator finds it without include paths

// The squares of the square's file on higher ranks (White's way ahead), and
// on lower ranks (Black's).
extern const Bitboard FILE_AHEAD_WHITE[64];
extern const Bitboard FILE_AHEAD_BLACK[64];
// All squares of the files beside the square's file.
extern const Bitboard ADJACENT_FILES[64];
// The squares of the adjacent files on the square's rank and behind it, by
// colour: lower ranks for White, higher for Black.
extern const Bitboard PAWN_BEHIND[2][64];
// The own and adjacent files on the ranks ahead of the square, by colour.
extern const Bitboard PASSED_SPAN[2][64];
// All files left (towards a) and right (towards h) of the square's file.
extern const Bitboard FILES_LEFT[64];
extern const Bitboard FILES_RIGHT[64];
// The adjacent files on the ranks within two of the square's, both ways:
// where a passed pawn's connected partner stands.
extern const Bitboard PASSER_BAND[64];
// Every square on a rank above, and below, the square's rank.
extern const Bitboard RANKS_ABOVE[64];
extern const Bitboard RANKS_BELOW[64];
// The one or two squares beside the square on its rank.
extern const Bitboard SIDE_NEIGHBOURS[64];
// The diagonal from the king towards the far wing, without the king's square
// and the board's edge.
extern const Bitboard KING_DIAGONAL[64];
// Where a rook is shut in by its own king on b1, c1, f1, g1 and the twins on
// rank 8; empty for every other king square.
extern const Bitboard WING_TRAP[64];
// Squares from which the own king escorts a passed pawn home, by colour.
extern const Bitboard ESCORT[2][64];
// Squares where the enemy king still catches a passed pawn in a pawn ending:
// [pawn colour][side to move][pawn square].
extern const Bitboard PAWN_SQUARE_REACH[2][2][64];
// Distance of a king from a white pawn, in tenths of a file step, with a king
// ahead of the pawn counted by smaller steps: [pawn square][king square]. A
// black pawn reads it with the arguments exchanged.
extern const int8_t PAWN_KING_DISTANCE[64][64];
