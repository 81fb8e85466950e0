// The pawn cache and the pawn structure record: worked totals of small
// positions added up by hand from the term values as stated, the sets of the
// record, the king shelter rows, and the cache's row, counter and ageing.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "board/position.h"
#include "eval/eval_masks.h"
#include "eval/evaluate.h"
#include "eval/pawn_cache.h"
#include "support/fen_flip.h"
#include "support/score_pairs.h"

namespace {

using namespace quorl_test;

Bitboard Squares(std::initializer_list<const char*> names) {
  Bitboard set = 0;
  for (const char* n : names) set |= Bitboard(1) << Sq(n);
  return set;
}

const PawnRecord& RecordOf(const std::string& fen) {
  EXPECT_EQ(SetPositionFromFen(fen.c_str()), 1) << fen;
  ClearPawnCache();
  return *ProbePawnCache();
}

// --- Worked totals ------------------------------------------------------------------

// White a4 and b5 against bare kings on e1 and e8. Tropism distances from the
// distance rule: a4 to e1 and to e8 are 42 (T[4]); b5 to e1 is 42, to e8 33;
// the squares ahead a5 and b6 are 42 and 33 from e8, 42 and 50 from e1.
//   a4: tropism -42 + 42; its neighbour b5 is not behind it (-90, -120);
//       passed on rank 4 (72, 99), outside (10, 20); kings (0, 50 * 42 / 10
//       - 25 * 42 / 10) = (0, 105). Total (-8, 104).
//   b5: tropism -42 + 33; defended by a4 (9, 14); passed on rank 5 (180, 234),
//       outside (20, 50), protected (40, 80); connected with a4, found first,
//       (50, 100) + (20, 40); kings (0, 140 * 33 / 10 - 70 * 50 / 10) = (0, 112).
//       Total (319, 621).
//   Nearest pawns: white king 42, black king 33: (0, 5 * 33 - 5 * 42) = (0, -45).
TEST(PawnStructure, ConnectedPassersWorkedTotal) {
  const PawnRecord& r = RecordOf("4k3/8/8/1P6/P7/8/8/4K3 w - -");
  EXPECT_EQ(Split(r.pawnScore), (Halves{311, 680}));
  EXPECT_EQ(r.passedPawns, Squares({"a4", "b5"}));
  EXPECT_EQ(r.whiteAttackSpan, Squares({"b5", "b6", "b7", "b8", "a6", "a7", "a8", "c6", "c7", "c8"}));
  EXPECT_EQ(r.blackAttackSpan, 0u);
  // b5 is a pawn that a4 defends; a6 and c6 are attacked once and empty.
  EXPECT_EQ(r.whiteHoldSquares, Squares({"b5"}));
  EXPECT_EQ(r.pawnKeyCheck, position.state.pawnKey);

  // The colour flip gives the negated total and the mirrored sets.
  const PawnRecord& f = RecordOf(FlipFen("4k3/8/8/1P6/P7/8/8/4K3 w - -"));
  EXPECT_EQ(Split(f.pawnScore), (Halves{-311, -680}));
  EXPECT_EQ(f.passedPawns, Squares({"a5", "b4"}));
  EXPECT_EQ(f.blackHoldSquares, Squares({"b4"}));
}

// Doubled pawns on an open file with the kings far away: the front pawn takes
// the free-file branch, the rear one the closed-file branch, both pay (20, 50),
// and only the front one is passed.
TEST(PawnStructure, DoubledPawnsOnAnOpenFile) {
  const PawnRecord& r = RecordOf("7k/8/8/8/3P4/3P4/8/K7 w - -");
  EXPECT_EQ(r.passedPawns, Squares({"d4"}));
  // Distances: d3 and d4 from a1: T[3] = 33 both; from h8: d3 max(T4, U5) = 42,
  // d4 max(T4, U4) = 42. d5 (ahead of d4) from h8 42, from a1 T[4] = 42.
  //   d3: tropism -33 + 42; closed file: doubled (20, 50) and no neighbours
  //       (24, 32); no neighbours (42, 56). Total (-86, -129).
  //   d4: tropism -33 + 42; doubled (20, 50) and no neighbours (82, 110);
  //       isolated on d (178, 237); passed rank 4 (72, 99), outside (10, 20);
  //       kings (0, 50 * 42 / 10 - 25 * 42 / 10) = (0, 105).
  //       Total (-198, -164).
  //   Nearest: white king 33, black king 42: (0, 5 * 42 - 5 * 33) = (0, 45).
  //   Kings on opposite wings, two pawns on White's half: 2 * (30, 10).
  EXPECT_EQ(Split(r.pawnScore), (Halves{-224, -228}));
}

// c4 defended by b3 against d6, kings a1 and h8 (opposite wings, three pawns
// on White's half: (90, 30)). Distances: b3 23 from a1, 57 from h8; c4 33
// and 50; d6 (Black's pawn) 42 from h8, 33 from a1.
//   b3: tropism (0, 34); c4 is beside it but not behind: (-90, -120);
//       passed on rank 3 (18, 18), nothing on its left (0, 4). (-72, -64).
//   c4: tropism (0, 17); defended (8, 12); one enemy in its span against one
//       own pawn behind: a candidate, half of (72, 99), (10, 20), (10, 30):
//       (36, 49) + (5, 10) + (5, 15). (54, 103).
//   d6: tropism (0, -9) for Black; isolated (178, 237); one enemy against
//       none behind, half passed on its third rank: 0. White's view (178, 246).
//   Nearest: White's king 23, Black's 42: (0, 95).
TEST(PawnStructure, CandidateAgainstAsManyEnemies) {
  const PawnRecord& r = RecordOf("7k/8/3p4/8/2P5/1P6/8/K7 w - -");
  EXPECT_EQ(Split(r.pawnScore), (Halves{250, 410}));
  EXPECT_EQ(r.passedPawns, Squares({"b3"}));
  EXPECT_EQ(r.whiteAttackSpan, Squares({"a4", "a5", "a6", "a7", "a8", "c4", "c5", "c6", "c7", "c8", "b5", "d5"}));
  EXPECT_EQ(r.blackAttackSpan, Squares({"c5", "e5"}));
  EXPECT_EQ(r.whiteHoldSquares, Squares({"c4"}));
  EXPECT_EQ(r.blackHoldSquares, 0u);
}

// Without b3, c4 has one enemy in its span and no own pawn behind: half
// passed on rank 4, (30, 30), and isolated (162, 216). Two pawns on White's
// half (60, 20); tropism c4 (0, 17), d6 for Black (0, -9); nearest 33 and 42.
TEST(PawnStructure, OutnumberedPawnIsHalfPassed) {
  const PawnRecord& r = RecordOf("7k/8/3p4/8/2P5/8/8/K7 w - -");
  EXPECT_EQ(Split(r.pawnScore), (Halves{106, 142}));
  EXPECT_EQ(r.passedPawns, 0u);
}

// Bishops and pawns: the same pawns and kings with and without a white bishop
// on f1 (a light square). With one white bishop and no black one,
// (0 - 1) * (Wl + Wd + Bl + Bd) * (2, 2) with the a2 pawn (light, weight 1):
// (-2, -2); the light bishop and its own pawns on light squares, Black
// without a pair: -Wl * (8, 8) = (-8, -8).
TEST(PawnStructure, BishopAndPawnTerms) {
  const Halves without = Split(RecordOf("4k3/8/8/8/8/8/P7/4K3 w - -").pawnScore);
  const Halves with = Split(RecordOf("4k3/8/8/8/8/8/P7/4KB2 w - -").pawnScore);
  EXPECT_EQ((Halves{with.m - without.m, with.e - without.e}), (Halves{-10, -10}));
  // A dark-square bishop on c1 instead: +Wl * (8, 8) - Wd * (8, 8) and the
  // same (-2, -2): (6, 6).
  const Halves dark = Split(RecordOf("4k3/8/8/8/8/8/P7/2B1K3 w - -").pawnScore);
  EXPECT_EQ((Halves{dark.m - without.m, dark.e - without.e}), (Halves{6, 6}));
}

// --- Shelter --------------------------------------------------------------------------

TEST(KingShelter, RowsOfTheWingAndTheCentre) {
  // g1 behind f2, g2, h2: the full wall reads (130, 210); no black pawn on h,
  // g, f: 70 + 70 + 50; a white pawn on the king's diagonal (f2) and no black
  // one: 10.
  EXPECT_EQ(Split(RecordOf("7k/8/8/8/8/8/5PPP/6K1 w - -").whiteShelter), (Halves{330, 210}));
  // f2, g3, h2: 1150 - 300 - 440 - 300 = 110, plus the same 190 and 10.
  EXPECT_EQ(Split(RecordOf("7k/8/8/8/8/6P1/5P1P/6K1 w - -").whiteShelter), (Halves{310, 0}));
  // e1 with a castling right behind d2, e2, f2: half of (130, 210), then 35
  // for each of files d and e without black pawns, 10 for d2 on the diagonal.
  EXPECT_EQ(Split(RecordOf("7k/8/8/8/8/8/3PPP2/4K2R w K -").whiteShelter), (Halves{145, 105}));
  // Without the right: no halving, 70 for each file.
  EXPECT_EQ(Split(RecordOf("7k/8/8/8/8/8/3PPP2/4K2R w - -").whiteShelter), (Halves{280, 210}));
  // The black twins, read on the turned-over board.
  EXPECT_EQ(Split(RecordOf("6k1/5ppp/8/8/8/8/8/7K w - -").blackShelter), (Halves{330, 210}));
  EXPECT_EQ(Split(RecordOf("4k2r/3ppp2/8/8/8/8/8/7K w k -").blackShelter), (Halves{145, 105}));
}

TEST(KingShelter, StormAndTheDiagonal) {
  // g1 with no own pawns: 1150; black pawns g3 (middle file, third rank, 540)
  // and h4 (edge, fourth rank, 100); none on f: 50 more. The diagonal f2..b6
  // holds no pawn: 40.
  EXPECT_EQ(Split(RecordOf("7k/8/8/8/7p/6p1/8/6K1 w - -").whiteShelter), (Halves{1150 + 640 + 50 + 40, 0}));
  // A black pawn on the diagonal and no white one: 20 instead of 40.
  EXPECT_EQ(Split(RecordOf("7k/8/8/2p5/8/8/8/6K1 w - -").whiteShelter), (Halves{1150 + 70 + 70 + 50 + 20, 0}));
  // A pawn of each colour on it: nothing.
  EXPECT_EQ(Split(RecordOf("7k/8/8/2p5/3P4/8/8/6K1 w - -").whiteShelter), (Halves{1150 + 70 + 70 + 50, 0}));
}

// --- The cache ------------------------------------------------------------------------

TEST(PawnCacheRows, HitCountsAndAgeing) {
  ASSERT_EQ(SetPositionFromFen(START_FEN), 1);
  ClearPawnCache();
  PawnRecord* first = ProbePawnCache();
  EXPECT_EQ(first, PawnCacheRow(position.state.pawnKey));
  EXPECT_EQ(first->useCount, 0u) << "a miss does not count";
  for (int i = 0; i < 40; ++i) EXPECT_EQ(ProbePawnCache(), first);
  EXPECT_EQ(first->useCount, 40u);
  AgePawnCache();
  EXPECT_EQ(first->useCount, 2u);
  ClearPawnCache();
  EXPECT_EQ(first->pawnKeyCheck, 0u);
  EXPECT_EQ(first->useCount, 0u);
}

TEST(PawnCacheRows, AReplacedRowKeepsItsCounter) {
  ASSERT_EQ(SetPositionFromFen(START_FEN), 1);
  ClearPawnCache();
  PawnRecord* row = ProbePawnCache();
  row->useCount = 7;
  row->pawnKeyCheck ^= 1;  // as if another structure had taken the row
  EXPECT_EQ(ProbePawnCache(), row);
  EXPECT_EQ(row->pawnKeyCheck, position.state.pawnKey);
  EXPECT_EQ(row->useCount, 7u);
}

// --- Tables ---------------------------------------------------------------------------

// The square of the pawn: a white pawn on e5 has three steps to go; the black
// king catches it from at most three files and three ranks away, one more
// with Black to move (a8 and e4 are then in). From rank 2 the double step
// counts: a2 has five steps, not six.
TEST(PawnMasks, SquareOfThePawn) {
  const Bitboard e5White = PAWN_SQUARE_REACH[WHITE][WHITE][Sq("e5")];
  const Bitboard e5Black = PAWN_SQUARE_REACH[WHITE][BLACK][Sq("e5")];
  EXPECT_TRUE(e5White & Bitboard(1) << Sq("h8"));
  EXPECT_FALSE(e5White & Bitboard(1) << Sq("a8"));
  EXPECT_FALSE(e5White & Bitboard(1) << Sq("e4"));
  EXPECT_TRUE(e5White & Bitboard(1) << Sq("b5"));
  EXPECT_FALSE(e5White & Bitboard(1) << Sq("a5"));
  EXPECT_TRUE(e5Black & Bitboard(1) << Sq("a8"));
  EXPECT_TRUE(e5Black & Bitboard(1) << Sq("e4"));
  EXPECT_FALSE(e5Black & Bitboard(1) << Sq("e3"));
  const Bitboard a2 = PAWN_SQUARE_REACH[WHITE][WHITE][Sq("a2")];
  EXPECT_TRUE(a2 & Bitboard(1) << Sq("f8"));
  EXPECT_FALSE(a2 & Bitboard(1) << Sq("g8"));
}

}  // namespace
