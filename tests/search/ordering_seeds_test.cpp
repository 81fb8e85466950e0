// The new-game seeds of the learnt ordering tables, checked against the
// piece-square table they are read from, for each colour on its own entries.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "board/types.h"
#include "eval/piece_square.h"
#include "search/ordering_seeds.h"
#include "search/ordering_tables.h"

namespace {

// Opening plus endgame half of an entry, White's view.
int64_t Halves(int index, int square) {
  const int32_t packed = int32_t(uint32_t(uint64_t(PIECE_SQUARE_VALUES[index * 64 + square])));
  const int32_t endgame = int16_t(packed & 0xffff);
  return (packed - endgame) / 65536 + endgame;
}

// The worth of a man in score units, averaged over the phase, in its own side's view.
double Worth(int index, int square) {
  const double white = double(Halves(index, square)) / 20.0;
  return (index & 1) ? -white : white;
}

constexpr int MAN_OF_CLASS[8] = {-1, KNIGHT_INDEX, BISHOP_INDEX, PAWN_INDEX, KING_INDEX, QUEEN_INDEX, ROOK_INDEX, -1};

class Seeds : public testing::Test {
 protected:
  void SetUp() override { ResetOrderingTables(); }
};

TEST_F(Seeds, HistoryStaysInItsRangeAndIsAlikeForRowsAndCheckHalves) {
  int lowest = 1 << 20, highest = -1;
  for (int row = 0; row < 2; ++row)
    for (int column = 0; column < 1024; ++column) {
      const int h = HistoryTable[row * 1024 + column];
      EXPECT_EQ(h, HistoryTable[column & 0x1ff]) << row << " " << column;
      lowest = std::min(lowest, h);
      highest = std::max(highest, h);
    }
  EXPECT_EQ(lowest, 0);
  EXPECT_EQ(highest, 16700);
}

// Within a class, a square worth more to a man (both colours counted, each
// in its own view) never gets less history.
TEST_F(Seeds, HistoryFollowsTheWorthOfTheSquare) {
  for (int c = 1; c < 7; ++c) {
    const int man = MAN_OF_CLASS[c];
    double worth[64];
    for (int sq = 0; sq < 64; ++sq) worth[sq] = Worth(man, sq) + Worth(man + 1, sq);
    int spread[2] = {1 << 20, -1};
    for (int a = 0; a < 64; ++a) {
      if (c == CLASS_PAWN && (a < 8 || a >= 56)) continue;  // no pawn steps there
      const int ha = HistoryTable[c * 64 + a];
      spread[0] = std::min(spread[0], ha);
      spread[1] = std::max(spread[1], ha);
      for (int b = 0; b < 64; ++b) {
        if (c == CLASS_PAWN && (b < 8 || b >= 56)) continue;
        if (worth[a] > worth[b]) {
          EXPECT_GE(ha, HistoryTable[c * 64 + b]) << "class " << c << " " << a << " " << b;
        }
      }
    }
    EXPECT_GT(spread[1] - spread[0], 200) << "class " << c;
  }
  // Classes 0 and 7 belong to no man.
  for (int sq = 0; sq < 64; ++sq) EXPECT_EQ(HistoryTable[sq], 0);
}

int Distance(int a, int b, bool files) { return files ? std::abs((a & 7) - (b & 7)) : std::abs((a >> 3) - (b >> 3)); }

// The man that makes a from-to step with these class bits for this colour,
// or -1; what the seeds are read from.
int ManOfStep(int colour, int classBits, int from, int to) {
  const int df = Distance(from, to, true), dr = Distance(from, to, false);
  if (from == to) return -1;
  const bool line = df == 0 || dr == 0, diagonal = df == dr, jump = df * dr == 2;
  const int home = colour == WHITE ? 4 : 60;
  switch (classBits) {
    case 0:
      return (df <= 1 && dr <= 1) || (from == home && (to == home + 2 || to == home - 2)) ? KING_INDEX + colour : -1;
    case 1:
      return jump ? KNIGHT_INDEX + colour : (line || diagonal) ? QUEEN_INDEX + colour : -1;
    case 2:
      return diagonal ? BISHOP_INDEX + colour : line ? ROOK_INDEX + colour : -1;
    default: {
      const int forward = colour == WHITE ? 8 : -8;
      const int rank = from >> 3, last = colour == WHITE ? 7 : 0, start = colour == WHITE ? 1 : 6;
      if (rank == 0 || rank == 7 || (to >> 3) == last) return -1;
      const bool step = to == from + forward || (to == from + 2 * forward && rank == start) ||
                        ((to == from + forward - 1 || to == from + forward + 1) && df == 1);
      return step ? PAWN_INDEX + colour : -1;
    }
  }
}

TEST_F(Seeds, GainIsTheChangeOfWorthOfTheMan) {
  int nonzero[2] = {0, 0};
  for (int colour = 0; colour < 2; ++colour)
    for (int index = 0; index < 65536; ++index) {
      const int g = GainTable[colour][index];
      EXPECT_GE(g, -122);
      EXPECT_LE(g, 99);
      if (index & 0x300) {
        EXPECT_EQ(g, 0);  // never part of an index (move & 0xfcff)
        continue;
      }
      const int from = index >> 10, classBits = index >> 6 & 3, to = index & 63;
      const int man = ManOfStep(colour, classBits, from, to);
      const long expected =
          man < 0 ? 0 : std::clamp(std::lround(Worth(man, to) - Worth(man, from)), -122l, 99l);
      ASSERT_EQ(g, expected) << "colour " << colour << " from " << from << " class bits " << classBits << " to " << to;
      nonzero[colour] += g != 0;
    }
  EXPECT_GT(nonzero[WHITE], 1000);
  EXPECT_EQ(nonzero[WHITE], nonzero[BLACK]);
}

TEST_F(Seeds, GainTellsKnightFromQueenAndBishopFromRook) {
  // White knight g1-f3 and queen d1-d3 share their class bits.
  const int knight = GainTable[WHITE][6 << 10 | 1 << 6 | 21];
  EXPECT_EQ(knight, std::lround(Worth(KNIGHT_INDEX, 21) - Worth(KNIGHT_INDEX, 6)));
  EXPECT_GT(knight, 0);
  EXPECT_EQ(GainTable[WHITE][3 << 10 | 1 << 6 | 19], std::lround(Worth(QUEEN_INDEX, 19) - Worth(QUEEN_INDEX, 3)));
  // Black bishop f8-c5 and rook a8-d8.
  EXPECT_EQ(GainTable[BLACK][61 << 10 | 2 << 6 | 34],
            std::lround(Worth(BISHOP_INDEX + 1, 34) - Worth(BISHOP_INDEX + 1, 61)));
  EXPECT_EQ(GainTable[BLACK][56 << 10 | 2 << 6 | 59],
            std::lround(Worth(ROOK_INDEX + 1, 59) - Worth(ROOK_INDEX + 1, 56)));
  // Black's e7-e5 is White's e2-e4.
  EXPECT_EQ(GainTable[BLACK][52 << 10 | 3 << 6 | 36], GainTable[WHITE][12 << 10 | 3 << 6 | 28]);
  EXPECT_GT(GainTable[WHITE][12 << 10 | 3 << 6 | 28], 0);
}

TEST_F(Seeds, CaptureGainIsTheWorthTheVictimTakesAway) {
  int nonzero = 0;
  for (int colour = 0; colour < 2; ++colour)
    for (int victim = 0; victim < 8; ++victim)
      for (int to = 0; to < 64; ++to) {
        const int man = MAN_OF_CLASS[victim];
        const bool none = man < 0 || man == KING_INDEX || (man == PAWN_INDEX && (to < 8 || to >= 56));
        // Taking the man takes its worth to its own side out of the score: a
        // man badly placed for its side was worth something to the taker.
        const long expected = none ? 0 : std::lround(Worth(man + (colour ^ 1), to));
        EXPECT_EQ(CaptureGainTable[colour][victim * 64 + to], expected) << colour << " " << victim << " " << to;
        nonzero += expected != 0;
      }
  EXPECT_GT(nonzero, 400);
}

}  // namespace
