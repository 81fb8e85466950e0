// Masks of the limited quiet lists. The quiescence-side producers that list
// only a few quiet moves (knight, pawn and king tries filtered by gain) look
// only at the origins and destinations named here; which set applies depends
// on how much material is on the board, and is chosen once per go.
//
// All stored tables are kept for both colours: Black's are White's with the
// ranks flipped, so a producer only ever indexes by its own colour.
#pragma once

#include <cstdint>

#include "types.h"  // relative, so the build-time generator finds it without include paths

struct Position;

// Material stage rows: stage under 6, 6 to 11, 12 to 17, 18 and over.
constexpr int QUIET_STAGE_ROWS = 4;
// The knight table of the gain-sorted quiet list has two rows: under 12, 12 and over.
constexpr int GAIN_KNIGHT_ROWS = 2;

constexpr int QuietStageRow(int stage) { return stage >= 18 ? 3 : stage < 0 ? 0 : stage / 6; }
constexpr int GainKnightRow(int stage) { return stage >= 12 ? 1 : 0; }

// Rank flip: the bit of rank * 8 + file goes to (7 - rank) * 8 + file.
constexpr Bitboard FlipRanks(Bitboard b) { return __builtin_bswap64(b); }

// Origins, for White, by stage row; Black's are the rank flips.
inline constexpr Bitboard QUIET_KNIGHT_ORIGINS[QUIET_STAGE_ROWS] = {
    0xffc3818181818181ull, 0xffe78181c3e7c3ffull, 0xffe7c3c3ffffffffull, 0xffe742e7ffffe7c3ull};
inline constexpr Bitboard QUIET_PAWN_ORIGINS[QUIET_STAGE_ROWS] = {
    0xffffff000000ull, 0xffffff000000ull, 0xffff18000000ull, 0xff3c00000000ull};

// Per-square destination tables, [colour][row][origin square]. Written at
// build time by tools/gen_quiet_masks.cpp.
extern const Bitboard QUIET_KNIGHT_TARGETS[2][QUIET_STAGE_ROWS][64];
extern const Bitboard QUIET_KING_TARGETS[2][QUIET_STAGE_ROWS][64];
extern const Bitboard GAIN_KNIGHT_TARGETS[2][GAIN_KNIGHT_ROWS][64];

// Masks of the limited quiet lists, chosen at each go by the material on the board.
struct QuietMasks {
  Bitboard knightOrigins;
  Bitboard pawnOrigins;
  const Bitboard* knightTargets;      // 64 entries, per origin square
  const Bitboard* kingTargets;        // 64 entries
  const Bitboard* gainKnightTargets;  // 64 entries, the table of the gain-sorted quiet list
};

// By colour, 0 White, 1 Black. Holds the row of 18 and over until the first
// selection, so the producers work before any go.
extern QuietMasks quiet_masks[2];

// Knights + bishops + 2 rooks + 4 queens of both sides: 24 at the start.
int MaterialStage(const Position& p);
// Fills quiet_masks for both colours from a stage.
void SelectQuietMasks(int stage);
