// The stored starting values of the learnt ordering tables, loaded at every
// new game. Written at build time by tools/gen_ordering_seeds.cpp from the
// piece-square table; the rule is in the generator's header.
//
// All three are stored for White. Black's entries are White's with the ranks
// flipped (square s to s ^ 56), which the piece-square table makes exact: its
// Black half is the White half rotated, and every row is symmetric by files.
#pragma once

#include <cstdint>

// Colour-free history by MoverClass and to-square, 0 to 16700. Classes 0 and
// 7 belong to no man and are 0.
extern const uint16_t HISTORY_SEEDS[8][64];

// The gain table in seven from-to layers, White's view: [layer][from][to],
// signed, -122 to 99.
constexpr int GAIN_SEED_LAYER_COUNT = 7;
extern const int8_t GAIN_SEED_LAYERS[GAIN_SEED_LAYER_COUNT][64][64];

// Positional worth of a captured man for White as the taker, by victim
// MoverClass and to-square.
extern const int16_t CAPTURE_GAIN_SEEDS[8][64];

// A knight's jump: one file and two ranks apart, or two files and one rank.
constexpr bool IsKnightJump(int from, int to) {
  const int files = (from & 7) > (to & 7) ? (from & 7) - (to & 7) : (to & 7) - (from & 7);
  const int ranks = (from >> 3) > (to >> 3) ? (from >> 3) - (to >> 3) : (to >> 3) - (from >> 3);
  return files * ranks == 2;
}

// The layer of a gain entry, by the two low MoverClass bits that the entry's
// index keeps (0 king, 1 knight or queen, 2 bishop or rook, 3 pawn) and by
// whether from-to is a knight's jump:
//   0 king          1 class bits 0 with a jump: no man, all 0
//   2 queen         3 knight (class bits 1 with a jump)
//   4 bishop on diagonals, rook on lines
//   5 class bits 2 with a jump: no man, all 0
//   6 pawn, jump or not (a pawn never jumps)
// Bishop and rook share a layer: a from-to pair is a diagonal or a line,
// never both, so the pair says which of them moved.
constexpr int GainSeedLayer(int classBits, bool knightJump) {
  return classBits < 3 ? 2 * classBits + (knightJump ? 1 : 0) : 6;
}
