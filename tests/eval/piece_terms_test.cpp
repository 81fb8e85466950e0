// The piece, king safety and passed pawn terms of the evaluation: the bishop
// key-square rows against their telling rows (the generator checks the
// multipliers and the knight rows itself), and worked sums of small positions
// added up by hand from the term values as stated.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "board/attacks.h"
#include "board/position.h"
#include "eval/evaluate.h"
#include "eval/key_squares.h"
#include "eval/king_tables.h"
#include "eval/pawn_cache.h"
#include "eval/piece_square.h"
#include "support/fen_flip.h"
#include "support/score_pairs.h"

namespace {

using namespace quorl_test;

// The pattern bits of a table row, by key square: which bit of the pattern a
// square sets, found by the multiplier itself.
int SlotOf(uint64_t multiplier, int square) {
  const uint32_t p = KeyPattern(Bitboard(1) << square, multiplier);
  return p == 0 ? -1 : __builtin_ctz(p);
}

// --- Key-square tables --------------------------------------------------------------

// Value of the bishop's pattern with only the key square `key` present.
Halves BishopKey(int colour, const char* origin, const char* key) {
  const int o = Sq(origin);
  const int slot = SlotOf(BISHOP_KEY_MULTIPLIER[colour][o], Sq(key));
  EXPECT_GE(slot, 0) << key << " is a key of " << origin;
  return slot < 0 ? Halves{-1, -1} : Split(BISHOP_KEY_TABLE[colour][o][1u << slot]);
}

int KeyCount(uint64_t multiplier, Bitboard reach) { return __builtin_popcount(KeyPattern(reach, multiplier)); }

TEST(KeySquares, BishopTellingRows) {
  const Halves centre{37, 42}, side{16, 16}, none{0, 0}, behind{5, 5};
  for (const char* k : {"c3", "d4", "e5", "f6"}) EXPECT_EQ(BishopKey(WHITE, "a1", k), centre) << k;
  for (const char* k : {"d2", "e3", "f4"}) EXPECT_EQ(BishopKey(WHITE, "c1", k), centre) << k;
  EXPECT_EQ(BishopKey(WHITE, "c1", "g5"), side);
  for (const char* k : {"d5", "f5", "c6"}) EXPECT_EQ(BishopKey(WHITE, "e4", k), centre) << k;
  EXPECT_EQ(BishopKey(WHITE, "e4", "g6"), side);
  for (const char* k : {"c6", "e6"}) EXPECT_EQ(BishopKey(WHITE, "d5", k), centre) << k;
  for (const char* k : {"b7", "f7"}) EXPECT_EQ(BishopKey(WHITE, "d5", k), side) << k;
  for (const char* k : {"d7", "f7"}) EXPECT_EQ(BishopKey(WHITE, "e6", k), side) << k;
  for (const char* k : {"c8", "g8"}) EXPECT_EQ(BishopKey(WHITE, "e6", k), none) << k;
  for (const char* k : {"c3", "d4", "e5", "f6"}) EXPECT_EQ(BishopKey(WHITE, "h8", k), behind) << k;
  // Four keys in every telling row, and the table adds them up.
  for (const char* o : {"a1", "c1", "e4", "d5", "e6", "h8"})
    EXPECT_EQ(KeyCount(BISHOP_KEY_MULTIPLIER[WHITE][Sq(o)], BISHOP_RAYS[Sq(o)]), 4) << o;
  EXPECT_EQ(Split(BISHOP_KEY_TABLE[WHITE][Sq("a1")][15]), (Halves{148, 168}));
  EXPECT_EQ(Split(BISHOP_KEY_TABLE[WHITE][Sq("e4")][15]), (Halves{127, 142}));
  // Black reads the board turned over: its bishop on h8 is White's on a1.
  for (const char* k : {"f6", "e5", "d4", "c3"}) EXPECT_EQ(BishopKey(BLACK, "h8", k), centre) << k;
  EXPECT_EQ(BishopKey(BLACK, "a1", "f6"), behind);
}

// --- Worked sums ----------------------------------------------------------------------

// The term sum of a position less its piece-square sum, tempo and pawn record:
// what the piece, threat, king and passed pawn terms add, White's view.
Halves PieceTerms(const std::string& fen, int side) {
  EXPECT_EQ(SetPositionFromFen(fen.c_str()), 1) << fen;
  NodeRecord node;
  std::memset(&node, 0, sizeof node);
  node.sideIndex = side;
  node.sideSign = side == WHITE ? 1 : -1;
  node.otherSign = -node.sideSign;
  const PawnRecord* pawns;
  const uint32_t sum = EvaluationSum(&node, pawns);
  const uint32_t rest = sum - uint32_t(position.state.pstSum) - uint32_t(node.sideSign) * Pack(22, 44) -
                        pawns->pawnScore;
  return Split(rest);
}

// Worked sums, White's view; the colour flip of each must give the same sum
// negated.
struct WorkedSum {
  const char* fen;
  int side;
  Halves expected;
};

const WorkedSum WORKED_SUMS[] = {
    // a1 bishop: outpost (45, 30), seven squares 7 * (27, 27), four keys c3-f6
    // 4 * (37, 42); the king in check is a man attacked, loose: (30, 60) + (120, 180).
    {"7k/8/8/8/8/8/8/B6K w - -", WHITE, {532, 627}},
    // e4 knight: outpost (69, 46), all four keys target (217, 329) and safe (112, 168).
    {"7k/8/8/8/4N3/8/8/K7 w - -", WHITE, {398, 543}},
    // a1 rook: twelve squares 12 * (17, 23), fourteen fixed 14 * (8, 9), open
    // file (183, 136); it defends its king (12, 12).
    {"6k1/8/8/8/8/8/8/R5K1 w - -", WHITE, {511, 550}},
    // Rooks a1 and a2: mobility, fixed mobility and open file each, defended
    // by each other and a1 the king 3 * (12, 12); no pair bonus without an
    // enemy queen.
    {"7k/8/8/8/8/8/R7/R6K w - -", WHITE, {949, 997}},
    // Rook h1 shut in by the king on g1, own pawn h3: h2 (17, 23), fixed nine
    // squares (72, 81), the file closed, shut in -(339, 0), push (32, 144),
    // pawn, rook and king defended 3 * (12, 12).
    {"6k1/8/8/8/8/7P/8/6KR w - -", WHITE, {-182, 284}},
    // d5 forks c6 and e6: threats (800, 1200); each knight's keys (329, 497)
    // for Black; push (32, 144), two men not pawn-defended 2 * (30, 60); the
    // passed pawn's dynamic terms of rank 5 without a safe path.
    {"7k/8/2n1n3/3P4/8/8/8/K7 w - -", WHITE, {307, 642}},
    // a1 queen against the king on a8: counter 49 worth (39, 29), nineteen
    // squares 19 * (27, 29); the shelters cancel; the queen defends her king
    // (12, 12) and checks the loose black king (30, 60) + (120, 180).
    {"k7/8/8/8/8/8/8/Q5K1 w - -", WHITE, {714, 832}},
    // Knight f6 at the king's corner with a black queen on: counter 32 + 29
    // worth (183, 134); outpost (69, 46), keys (217, 329) and two safe ones
    // (78, 119); the queen 19 * (27, 29); the knight loose and attacked
    // (30, 60) + (120, 180).
    {"7k/8/q4N2/8/8/8/8/7K w - -", WHITE, {-116, -163}},
    // h6 escorted by its king: dynamic terms of rank 6, push (32, 144),
    // pawn and king defending each other 2 * (12, 12), a pawn more (20, 90),
    // and the race 5 * 500, one step less with Black to move.
    {"4k3/6K1/7P/8/8/8/8/8 w - -", WHITE, {314, 778 + 2500}},
    {"4k3/6K1/7P/8/8/8/8/8 b - -", BLACK, {314, 778 + 2000}},
    // e3: no dynamic terms on rank 3; the king on h8 is inside the square.
    {"7k/8/8/8/8/4P3/8/K7 w - -", WHITE, {52, 234}},
    // e5: dynamic terms of rank 5; h8 catches it, a8 does not unless Black moves.
    {"7k/8/8/4P3/8/8/8/K7 w - -", WHITE, {161, 494}},
    {"k7/8/8/4P3/8/8/8/7K w - -", WHITE, {161, 494 + 2000}},
    {"k7/8/8/4P3/8/8/8/7K b - -", BLACK, {161, 494}},
};

TEST(PieceTerms, WorkedSumsOfSmallPositions) {
  for (const WorkedSum& w : WORKED_SUMS) {
    EXPECT_EQ(PieceTerms(w.fen, w.side), w.expected) << w.fen;
    EXPECT_EQ(PieceTerms(FlipFen(w.fen), w.side ^ 1), (Halves{-w.expected.m, -w.expected.e})) << "flip of " << w.fen;
  }
}

}  // namespace
