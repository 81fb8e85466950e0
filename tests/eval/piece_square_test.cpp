// The shape of the piece-square table: every white row mirrors between the
// files, the pawn counts moving between the square-colour fields. The sums
// themselves are followed through random games by the make/unmake test.
#include <gtest/gtest.h>

#include <cstdint>

#include "board/position.h"
#include "eval/piece_square.h"

namespace {

constexpr int PAWN = 0, KING = 5;
constexpr int WHITE_MEN = 0;

int64_t entry(int man, int colour, int square) {
  return PIECE_SQUARE_VALUES[(2 * man + colour) * 64 + square];
}

// The packed pair of an entry: its low 32 bits read as a signed number.
int64_t pair_part(int64_t value) { return int32_t(uint32_t(value)); }
// What the entry holds above the pair.
uint64_t count_part(int64_t value) { return uint64_t(value - pair_part(value)); }

TEST(PieceSquareValues, EveryWhiteRowIsSymmetricBetweenTheFiles) {
  for (int man = PAWN; man <= KING; ++man) {
    for (int rank = 0; rank < 8; ++rank) {
      for (int file = 0; file < 4; ++file) {
        SCOPED_TRACE(testing::Message() << "man " << man << " rank " << rank + 1 << " file " << file);
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

}  // namespace
