// The shape of the piece-square table (mirror symmetry, the pawn counts), and pstSum decoded on positions summed by hand.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "board/position.h"
#include "eval/piece_square.h"

namespace {

constexpr int PAWN = 0, KNIGHT = 1, KING = 5;
constexpr int WHITE_MEN = 0, BLACK_MEN = 1;

int64_t entry(int man, int colour, int square) {
  return PIECE_SQUARE_VALUES[(2 * man + colour) * 64 + square];
}

// The packed pair of an entry: its low 32 bits read as a signed number.
int64_t pair_part(int64_t value) { return int32_t(uint32_t(value)); }
// What the entry holds above the pair.
uint64_t count_part(int64_t value) { return uint64_t(value - pair_part(value)); }

constexpr uint64_t counts(int white_light, int white_dark, int black_light, int black_dark) {
  return uint64_t(white_light) << 32 | uint64_t(white_dark) << 37 | uint64_t(black_light) << 42 |
         uint64_t(black_dark) << 47;
}

TEST(PieceSquareValues, EveryWhiteRowIsSymmetricBetweenTheFiles) {
  for (int man = PAWN; man <= KING; ++man) {
    for (int rank = 0; rank < 8; ++rank) {
      for (int file = 0; file < 4; ++file) {
        SCOPED_TRACE("man " + std::to_string(man) + " rank " + std::to_string(rank + 1) + " file " +
                     std::to_string(file));
        const int64_t left = entry(man, WHITE_MEN, rank * 8 + file);
        const int64_t right = entry(man, WHITE_MEN, rank * 8 + 7 - file);
        EXPECT_EQ(pair_part(left), pair_part(right));
        // Mirrored squares have opposite colours, so a pawn's count moves
        // between the light and dark fields with the same weight.
        EXPECT_EQ(count_part(left) >> 32 & 31, count_part(right) >> 37 & 31);
        EXPECT_EQ(count_part(left) >> 37 & 31, count_part(right) >> 32 & 31);
      }
    }
  }
}

// Black's entries are White's turned over: the colour flip of the evaluation
// holds them to that. Only pawns carry counts, each colour in its own fields.
TEST(PieceSquareValues, PawnCountFollowsFileWeightAndSquareColour) {
  const int weight[8] = {1, 2, 3, 4, 4, 3, 2, 1};
  for (int square = 0; square < 64; ++square)
    for (int man = KNIGHT; man <= KING; ++man)
      EXPECT_EQ(count_part(entry(man, WHITE_MEN, square)) | count_part(entry(man, BLACK_MEN, square)), 0u) << man;
  for (int square = 8; square < 56; ++square) {
    const int file = square & 7, rank = square >> 3;
    const bool dark = ((file + rank) & 1) == 0;  // a1 is dark
    const int w = weight[file];
    EXPECT_EQ(count_part(entry(PAWN, WHITE_MEN, square)), dark ? counts(0, w, 0, 0) : counts(w, 0, 0, 0))
        << square;
    EXPECT_EQ(count_part(entry(PAWN, BLACK_MEN, square)), dark ? counts(0, 0, 0, w) : counts(0, 0, w, 0))
        << square;
  }
}

struct Decoded {
  int m, e;
  unsigned white_light, white_dark, black_light, black_dark;
};

// The evaluator's split of the biased word, and the count fields above it.
Decoded decode(int64_t sum) {
  const uint32_t s = uint32_t(sum);
  const uint64_t high = uint64_t(sum) >> 32;
  return {int(s >> 16) - 32768, int(s & 0xffff) - 32768, unsigned(high & 31), unsigned(high >> 5 & 31),
          unsigned(high >> 10 & 31), unsigned(high >> 15 & 31)};
}

TEST(PieceSquareSum, StartPositionIsTheBiasWithTenInEveryCount) {
  ASSERT_EQ(SetPositionFromFen(START_FEN), 1);
  const Decoded d = decode(position.state.pstSum);
  EXPECT_EQ(d.m, 0);
  EXPECT_EQ(d.e, 0);
  // Rank 2: a, c, e, g light (1 + 3 + 4 + 2), b, d, f, h dark (2 + 4 + 3 + 1);
  // rank 7 the other way round.
  EXPECT_EQ(d.white_light, 10u);
  EXPECT_EQ(d.white_dark, 10u);
  EXPECT_EQ(d.black_light, 10u);
  EXPECT_EQ(d.black_dark, 10u);
  EXPECT_EQ(uint64_t(position.state.pstSum) >> 52, 0u);
}

TEST(PieceSquareSum, PositionsDecodeToTheirHandSums) {
  struct Case {
    const char* fen;
    Decoded expected;
  } cases[] = {
      // e2-e4 (39, 22) and g1-f3 (526, 314); rights cancel.
      {"rnbqkbnr/pppppppp/8/8/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq -", {565, 336, 10, 10, 10, 10}},
      // Ke1 (-10, -300), Nc3 (-144, -88), ke8 (10, 300), pd5 (27, 208).
      {"4k3/8/8/3p4/8/2N5/8/4K3 w - -", {-117, 120, 0, 0, 4, 0}},
      // Ke1 (-10, -300), kg8 (-490, 530).
      {"6k1/8/8/8/8/8/8/4K3 w - -", {-500, 230, 0, 0, 0, 0}},
      // Men cancel; rights K (+100) and q (-20).
      {"r3k2r/pp6/8/8/8/8/6PP/R3K2R w Kq -", {80, 0, 2, 1, 2, 1}},
      // Ka1 (430, -760), Qh1 (-410, -260), kh8 (-430, 760), pc2 (-9, 135):
      // the endgame half goes below the bias.
      {"7k/8/8/8/8/8/2p5/K6Q w - -", {-419, -125, 0, 0, 3, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.fen);
    ASSERT_EQ(SetPositionFromFen(c.fen), 1);
    const Decoded d = decode(position.state.pstSum);
    EXPECT_EQ(d.m, c.expected.m);
    EXPECT_EQ(d.e, c.expected.e);
    EXPECT_EQ(d.white_light, c.expected.white_light);
    EXPECT_EQ(d.white_dark, c.expected.white_dark);
    EXPECT_EQ(d.black_light, c.expected.black_light);
    EXPECT_EQ(d.black_dark, c.expected.black_dark);
  }
}

}  // namespace
