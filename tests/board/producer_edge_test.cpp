// The move producers one list and one word at a time: what the completeness
// test cannot see because it only asks whether every legal move came once.
// Evasions (which answers a check may give, in which order, with which
// promotion forms) and hash-move validation. Every case is told for White and
// run as well on the colour-mirrored position for Black.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "board/mirrored_positions.h"
#include "board/move.h"
#include "board/move_producers.h"
#include "board/position.h"
#include "search/ordering_tables.h"

namespace {

using namespace mirrored;

// The low template of a pawn step, from the table of the word layout.
constexpr Move LOW_PAWN = 0x40200c0;

// Class numbers of the word: N 1, B 2, P 3, K 4, Q 5, R 6.
int Mover(Move m) { return int(m >> 6 & 7); }
int Victim(Move m) { return int(m >> 27 & 7); }
int PromotedClass(Move m) { return int(m >> 42 & 7); }
bool Bit(Move m, int n) { return m >> n & 1; }

std::vector<Move> Words(const Move* first, const Move* end) { return std::vector<Move>(first, end); }

// The learnt tables start from seeds; these cases set every entry they read.
void ClearOrderingTables() {
  std::memset(HistoryTable, 0, sizeof(HistoryTable));
  std::memset(CounterMoves, 0, sizeof(CounterMoves));
  std::memset(GainTable, 0, sizeof(GainTable));
}

// ===========================================================================
// Evasions

template <int Us>
std::vector<Move> Evasions(bool allUnder, Bitboard targets) {
  Move list[256];
  list[0] = ~Move(0);  // the producer must write its own terminator
  Move* end = GenerateEvasions<Us>(list, targets, allUnder);
  EXPECT_EQ(*end, 0u);
  return Words(list, end);
}

template <int Us>
std::vector<Move> Evasions(bool allUnder = true) {
  return Evasions<Us>(allUnder, ~position.colourBits[Us]);
}

std::vector<Move> NonKingMoves(const std::vector<Move>& moves) {
  std::vector<Move> out;
  for (Move m : moves)
    if (Mover(m) != CLASS_KING) out.push_back(m);
  return out;
}

std::vector<int> Destinations(const std::vector<Move>& moves) {
  std::vector<int> out;
  for (Move m : moves) out.push_back(move_to(m));
  return out;
}

template <int Us>
std::vector<int> Ascending(std::initializer_list<const char*> names) {
  std::vector<int> out;
  for (const char* n : names) out.push_back(S<Us>(n));
  std::sort(out.begin(), out.end());
  return out;
}

template <int Us>
void EnPassantAnswersOnlyTheCheckingPawn() {
  // d7-d5 checks the king on e4; e5xd6 removes the checker.
  Load<Us>("4k3/8/8/3pP3/4K3/8/8/8 w - d6");
  ASSERT_NE(position.state.epSquare, 0u);
  std::vector<Move> passant;
  for (Move m : Evasions<Us>())
    if (Bit(m, 58)) passant.push_back(m);
  ASSERT_EQ(passant.size(), 1u);
  // The generated form of en passant.
  EXPECT_EQ(passant[0], FromTo(S<Us>("e5"), S<Us>("d6")) ^ 0x418d0001c0000c0);
  EXPECT_EQ(Victim(passant[0]), CLASS_PAWN);
  EXPECT_EQ(Mover(passant[0]), CLASS_PAWN);

  // The same double step uncovered a bishop check on f5: the capture in
  // passing does not touch the line c8-f5, e5-e6 blocks it.
  Load<Us>("2b4k/8/8/3pPK2/8/8/8/8 w - d6");
  ASSERT_NE(position.state.epSquare, 0u);
  const auto moves = Evasions<Us>();
  bool block = false;
  for (Move m : moves) {
    EXPECT_FALSE(Bit(m, 58)) << MoveToText(m);
    EXPECT_NE(move_to(m), S<Us>("d6")) << MoveToText(m);
    block |= (m & MOVE_IDENTITY) == FromTo(S<Us>("e5"), S<Us>("e6"));
  }
  EXPECT_TRUE(block);
}

TEST(Evasions, EnPassantIsProducedOnlyWhenTheDoubleSteppedPawnChecks) {
  FOR_BOTH_COLOURS(EnPassantAnswersOnlyTheCheckingPawn);
}

template <int Us>
void KnightCheckIsAnsweredOnItsSquare() {
  Load<Us>("4k3/8/8/8/6B1/5n2/3NP1P1/4K3 w - -");
  // King history, row 0, class 4: the top 12 bits go to bits 32-43.
  const uint16_t history[3] = {0x1234, 0xffff, 0x0010};
  const char* kingTo[3] = {"d1", "f1", "f2"};
  for (int i = 0; i < 3; ++i) HistoryTable[0x100 + S<Us>(kingTo[i])] = history[i];

  const auto moves = Evasions<Us>();
  // King moves first, by ascending destination.
  size_t kings = 0;
  while (kings < moves.size() && Mover(moves[kings]) == CLASS_KING) ++kings;
  const std::vector<Move> kingMoves(moves.begin(), moves.begin() + long(kings));
  EXPECT_EQ(Destinations(kingMoves), Ascending<Us>({"d1", "f1", "f2"}));
  for (Move m : kingMoves) {
    int i = 0;
    while (S<Us>(kingTo[i]) != move_to(m)) ++i;
    EXPECT_EQ(m >> 32 & 0xfff, Move(history[i] >> 4)) << MoveToText(m);
    EXPECT_EQ(m >> 44 & 0xf, 6u) << "lowest attacker: the king";
    EXPECT_TRUE(m & MOVE_EXEMPT);
  }

  // Every other answer takes the knight: pawns from the lower file first,
  // then the knight, then the bishop.
  const std::vector<Move> rest(moves.begin() + long(kings), moves.end());
  const char* from[4] = {"e2", "g2", "d2", "g4"};
  const int mover[4] = {CLASS_PAWN, CLASS_PAWN, CLASS_KNIGHT, CLASS_BISHOP};
  ASSERT_EQ(rest.size(), 4u);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(rest[i] & MOVE_IDENTITY, FromTo(S<Us>(from[i]), S<Us>("f3"))) << i;
    EXPECT_EQ(Mover(rest[i]), mover[i]) << i;
    EXPECT_EQ(Victim(rest[i]), CLASS_KNIGHT) << i;
  }

  // Targets without the knight's square: no capture is left, no king move to d1.
  const auto limited = Evasions<Us>(true, ~position.colourBits[Us] & ~bit(S<Us>("f3")) & ~bit(S<Us>("d1")));
  EXPECT_EQ(Destinations(limited), Ascending<Us>({"f1", "f2"}));
}

TEST(Evasions, KnightCheckIsAnsweredOnlyOnItsSquareAndKingMovesComeFirstWithTheirHistory) {
  ClearOrderingTables();
  FOR_BOTH_COLOURS(KnightCheckIsAnsweredOnItsSquare);
  ResetOrderingTables();
}

// Promotion classes of the non-king answers, in list order.
std::vector<int> PromotionClasses(const std::vector<Move>& moves) {
  std::vector<int> out;
  for (Move m : NonKingMoves(moves)) {
    EXPECT_EQ(Mover(m), CLASS_PAWN);
    out.push_back(PromotedClass(m));
  }
  return out;
}

template <int Us>
void PromotionFormsInCheck() {
  const std::vector<int> queenOnly = {CLASS_QUEEN};
  const std::vector<int> queenKnight = {CLASS_QUEEN, CLASS_KNIGHT};
  const std::vector<int> all = {CLASS_QUEEN, CLASS_KNIGHT, CLASS_ROOK};

  // g7xf8 takes the checking rook; a knight on f8 would check h7, not h5.
  Load<Us>("5r2/6Pk/8/8/8/8/8/5K2 w - -");
  EXPECT_EQ(PromotionClasses(Evasions<Us>(false)), queenKnight);
  EXPECT_EQ(PromotionClasses(Evasions<Us>(true)), all);
  for (Move m : NonKingMoves(Evasions<Us>(true))) {
    EXPECT_EQ(m & MOVE_IDENTITY, FromTo(S<Us>("g7"), S<Us>("f8")));
    EXPECT_EQ(Victim(m), CLASS_ROOK);
  }
  Load<Us>("5r2/6P1/8/7k/8/8/8/5K2 w - -");
  EXPECT_EQ(PromotionClasses(Evasions<Us>(false)), queenOnly);
  EXPECT_EQ(PromotionClasses(Evasions<Us>(true)), all);

  // d7-d8 blocks the rook on the last rank; a knight on d8 checks f7, not g5.
  Load<Us>("K6r/3P1k2/8/8/8/8/8/8 w - -");
  EXPECT_EQ(PromotionClasses(Evasions<Us>(false)), queenKnight);
  EXPECT_EQ(PromotionClasses(Evasions<Us>(true)), all);
  for (Move m : NonKingMoves(Evasions<Us>(true))) {
    EXPECT_EQ(m & MOVE_IDENTITY, FromTo(S<Us>("d7"), S<Us>("d8")));
    EXPECT_EQ(Victim(m), 0);
  }
  Load<Us>("K6r/3P4/8/6k1/8/8/8/8 w - -");
  EXPECT_EQ(PromotionClasses(Evasions<Us>(false)), queenOnly);
  EXPECT_EQ(PromotionClasses(Evasions<Us>(true)), all);
}

TEST(Evasions, PromotionsGiveQueenKnightOnlyWhenItChecksAndAllUnderAddsKnightAndRook) {
  FOR_BOTH_COLOURS(PromotionFormsInCheck);
}

// ===========================================================================
// Hash-move validation

struct HashCase {
  const char* fen;  // for White
  const char* from;
  const char* to;
  std::function<void(Move)> check;  // on White's result
};

template <int Us>
Move HashResult(const HashCase& c) {
  Load<Us>(c.fen);
  return HashMoveToMove<Us>(FromTo(S<Us>(c.from), S<Us>(c.to)));
}

void RunHashCases(const std::vector<HashCase>& cases) {
  for (const HashCase& c : cases) {
    SCOPED_TRACE(std::string(c.fen) + " " + c.from + c.to);
    const Move white = HashResult<WHITE>(c);
    c.check(white);
    // Black's copy on the mirrored board gives the mirrored word.
    EXPECT_EQ(HashResult<BLACK>(c), MirrorWord(white));
  }
}

auto Exactly(Move lowFields, const char* from, const char* to) {
  const Move expected = FromTo(Sq(from), Sq(to)) | lowFields;
  return [expected](Move m) { EXPECT_EQ(m, expected); };
}
auto Zero() {
  return [](Move m) { EXPECT_EQ(m, 0u); };
}

TEST(HashMoveToMove, OnlyWordsOfPossibleMovesAreCompleted) {
  constexpr Move kCastle = 0x220100;
  RunHashCases({
      // A step: mover class 3, kind bit 26, the quiet bit 17.
      {"4k3/8/8/4P3/8/8/8/4K3 w - -", "e5", "e6", Exactly(LOW_PAWN, "e5", "e6")},
      {"4k3/8/8/4P3/8/8/8/4K3 w - -", "e5", "e4", Zero()},  // backward
      {"4k3/8/8/8/8/8/4P3/4K3 w - -", "e2", "e4", Exactly(LOW_PAWN, "e2", "e4")},
      {"4k3/8/8/8/8/4n3/4P3/4K3 w - -", "e2", "e4", Zero()},  // over a man
      // Taking the knight: (n ^ 0x20000) & 0xa952000038020000 = 0x0040000008000000
      // (victim bit 54, victim class 1, bit 17 cleared), XOR the pawn's 0x40000c0.
      {"4k3/8/3n4/4P3/8/8/8/4K3 w - -", "e5", "d6", Exactly(0x004000000c0000c0, "e5", "d6")},
      // To the last rank: always the queen.
      {"k7/4P3/8/8/8/8/8/4K3 w - -", "e7", "e8", Exactly(LOW_PAWN | 0x5140000000000, "e7", "e8")},
      // Taking a rook there: (r ^ 0x20000) & mask = 0x0800000030000000, victim class 6.
      {"k2r4/4P3/8/8/8/8/8/4K3 w - -", "e7", "d8", Exactly(0x08051400340000c0, "e7", "d8")},
      // En passant gets its bit and the pawn victim, only with the square set.
      {"4k3/8/8/3pP3/8/8/8/4K3 w - d6", "e5", "d6",
       [](Move m) {
         EXPECT_EQ(m & 0xffff, FromTo(Sq("e5"), Sq("d6")) | 0xc0);
         EXPECT_TRUE(Bit(m, 58));
         EXPECT_TRUE(Bit(m, 52)) << "pawn victim";
         EXPECT_EQ(Victim(m), CLASS_PAWN);
       }},
      // No en-passant square: the same word is no capture in passing.
      {"4k3/8/8/3pP3/8/8/8/4K3 w - -", "e5", "d6",
       [](Move m) {
         EXPECT_FALSE(Bit(m, 58));
         EXPECT_EQ(Victim(m), 0);
       }},
      // Castling needs the right and a free passage square; a king word
      // & 0x7e001c0 is 0x200100, with the quiet bit 0x20000.
      {"4k3/8/8/8/8/8/8/R3K2R w KQ -", "e1", "g1",
       [](Move m) {
         EXPECT_EQ(m, FromTo(Sq("e1"), Sq("g1")) | kCastle);
         EXPECT_TRUE(is_white_castling(m));
       }},
      {"4k3/8/8/8/8/8/8/R3K2R w KQ -", "e1", "c1", Exactly(kCastle, "e1", "c1")},
      {"4k3/8/8/8/8/8/8/R3K2R w Q -", "e1", "g1", Zero()},
      {"4k3/8/8/8/8/8/8/R3K2R w Q -", "e1", "c1", Exactly(kCastle, "e1", "c1")},
      {"4k3/8/8/8/8/8/8/R3K2R w K -", "e1", "c1", Zero()},
      {"4k3/8/8/8/8/8/8/R3KB1R w KQ -", "e1", "g1", Zero()},  // f1 taken
      {"4k3/8/8/8/8/8/8/R2QK2R w KQ -", "e1", "c1", Zero()},  // d1 taken
      // b1 is not looked at: the search's own test after the make decides.
      {"4k3/8/8/8/8/8/8/RN2K2R w KQ -", "e1", "c1", Exactly(kCastle, "e1", "c1")},
      // Words from empty or enemy squares, onto own men or the king: zero.
      {"4k3/8/8/8/8/8/4P3/4K3 w - -", "e3", "e4", Zero()},   // nothing there
      {"4k3/8/8/8/8/8/4P3/4K3 w - -", "e1", "e2", Zero()},   // onto our pawn
      {"4k3/8/8/8/8/8/4P3/4K3 w - -", "e8", "e7", Zero()},   // their king
      {"4k3/8/8/8/8/8/8/4R1K1 w - -", "e1", "e8", Zero()},   // onto their king
      // A plain rook step for comparison: the rook word & 0x7e001c0 is 0x800180
      // (kind bit 23, class 6), with the quiet bit 0x20000; no stake beyond it.
      {"4k3/8/8/8/8/8/8/4R1K1 w - -", "e1", "e5", Exactly(0x820180, "e1", "e5")},
  });
}

}  // namespace
