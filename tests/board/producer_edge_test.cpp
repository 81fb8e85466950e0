// The move producers one list and one word at a time: what the completeness
// test cannot see because it only asks whether every legal move came once.
// Evasions (which answers a check may give, in which order, with which
// promotion forms), hash-move validation, and the order values, marks and
// filters of the quiet, gain and underpromotion lists. Every case is told for
// White and run as well on the colour-mirrored position for Black.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "board/attacks.h"
#include "board/mirrored_positions.h"
#include "board/move.h"
#include "board/move_producers.h"
#include "board/position.h"
#include "board/quiet_masks.h"
#include "eval/node_record.h"
#include "search/ordering_tables.h"

namespace {

using namespace mirrored;

// The low templates of the quiet producer, from the table of the word layout.
constexpr Move LOW_PAWN = 0x40200c0, LOW_KNIGHT = 0x2060040, LOW_BISHOP = 0x1060080;
constexpr Move LOW_ROOK = 0x8a0180, LOW_QUEEN = 0x520140, LOW_KING = 0x230100;

// Class numbers of the word: N 1, B 2, P 3, K 4, Q 5, R 6.
int Mover(Move m) { return int(m >> 6 & 7); }
int Victim(Move m) { return int(m >> 27 & 7); }
int PromotedClass(Move m) { return int(m >> 42 & 7); }
bool Bit(Move m, int n) { return m >> n & 1; }

// A quiet word of the quiet producer: identity, low template, order value.
template <int Us>
Move Quiet(const char* from, const char* to, Move low, uint64_t order = 0) {
  return (order << 32 | FromTo(S<Us>(from), S<Us>(to))) ^ low;
}

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
    EXPECT_FALSE(Bit(m, 45)) << "never a bishop";
    const int cls = PromotedClass(m);
    // The one-hot promoted kind agrees with the class: Q 48, N 47, R 46.
    const int kindBit = cls == CLASS_QUEEN ? 48 : cls == CLASS_KNIGHT ? 47 : cls == CLASS_ROOK ? 46 : -1;
    EXPECT_NE(kindBit, -1) << cls;
    if (kindBit > 0) {
      EXPECT_TRUE(Bit(m, kindBit));
    }
    out.push_back(cls);
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
      {"4k3/8/8/4P3/8/8/8/4K3 w - -", "e5", "d5", Zero()},  // sideways
      {"4k3/8/8/8/8/8/4P3/4K3 w - -", "e2", "e4", Exactly(LOW_PAWN, "e2", "e4")},
      {"4k3/8/8/8/8/4n3/4P3/4K3 w - -", "e2", "e4", Zero()},  // over a man
      {"4k3/8/8/8/8/4B3/4P3/4K3 w - -", "e2", "e4", Zero()},
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
      {"4k3/8/8/8/8/8/8/R3K2R w - -", "e1", "g1", Zero()},
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

// ===========================================================================
// Quiet lists from hand-made maps

class QuietList : public ::testing::Test {
 protected:
  void SetUp() override {
    ClearOrderingTables();
    saved_[0] = quiet_masks[0];
    saved_[1] = quiet_masks[1];
  }
  void TearDown() override {
    ResetOrderingTables();
    quiet_masks[0] = saved_[0];
    quiet_masks[1] = saved_[1];
  }
  QuietMasks saved_[2];
};
using GainList = QuietList;
using Underpromotions = QuietList;

// The node of the quiet examples: knight b1, bishop c1, queen d1, king e1,
// rook h1, pawn e2, each with a few targets left by the list maker.
constexpr const char* QUIET_FEN = "4k3/8/8/8/8/8/4P3/1NBQK2R w - -";

template <int Us>
void SetThreatened(NodeRecord* node, Bitboard set) {
  if constexpr (Us == WHITE) node->whiteThreatened = set;
  else node->blackThreatened = set;
}

template <int Us>
void QuietMaps(NodeRecord* node) {
  node->pawnPushes = Set<Us>({"e3", "e4"});
  node->moveTargets[S<Us>("b1")] = Set<Us>({"a3", "c3"});
  node->moveTargets[S<Us>("c1")] = Set<Us>({"b2"});
  node->moveTargets[S<Us>("d1")] = Set<Us>({"c2", "d2"});
  node->moveTargets[S<Us>("h1")] = Set<Us>({"g1", "h2"});
  node->moveTargets[S<Us>("e1")] = Set<Us>({"f1", "f2"});
  node->ownMen = position.colourBits[Us];
}

// The eleven words of the example with their order values, from the rules:
// bonus for a man on a threatened square or 2048, plus the history entry.
template <int Us>
std::vector<Move> QuietExample(const std::function<uint64_t(const char* from, uint64_t bonus)>& order) {
  struct Entry {
    const char* from;
    const char* to;
    Move low;
    uint64_t bonus;
  };
  const Entry entries[] = {{"e2", "e3", LOW_PAWN, 3584},   {"e2", "e4", LOW_PAWN, 3584},
                           {"b1", "a3", LOW_KNIGHT, 5120}, {"b1", "c3", LOW_KNIGHT, 5120},
                           {"c1", "b2", LOW_BISHOP, 5120}, {"d1", "c2", LOW_QUEEN, 8192},
                           {"d1", "d2", LOW_QUEEN, 8192},  {"h1", "g1", LOW_ROOK, 6656},
                           {"h1", "h2", LOW_ROOK, 6656},   {"e1", "f1", LOW_KING, 2048},
                           {"e1", "f2", LOW_KING, 2048}};
  std::vector<Move> out;
  for (const Entry& e : entries) out.push_back(Quiet<Us>(e.from, e.to, e.low, order(e.from, e.bonus)));
  return out;
}

std::vector<Move> Descending(std::vector<Move> v) {
  std::sort(v.begin(), v.end(), std::greater<Move>());
  return v;
}

template <int Us>
std::vector<Move> RunQuiets(NodeRecord* node, int row, std::vector<Move> already = {}) {
  Move list[256];
  for (size_t i = 0; i < already.size(); ++i) list[i] = already[i];
  list[already.size()] = 0;
  Move* end = GenerateQuiets<Us>(list, node, row);
  EXPECT_EQ(*end, 0u);
  return Words(list, end);
}

// History index of a quiet word: row, class and destination.
template <int Us>
uint16_t& History(int row, const char* to, int cls) {
  return HistoryTable[row * 1024 + cls * 64 + S<Us>(to)];
}

template <int Us>
void QuietOrderValues() {
  ClearOrderingTables();
  Load<Us>(QUIET_FEN);
  NodeRecord stack[4] = {};
  NodeRecord* node = &stack[1];
  QuietMaps<Us>(node);
  History<Us>(0, "c3", CLASS_KNIGHT) = 100;
  History<Us>(0, "d2", CLASS_QUEEN) = 7;
  History<Us>(1, "a3", CLASS_KNIGHT) = 300;

  // Nothing threatened: 2048 for every class, history of row 0 added.
  SetThreatened<Us>(node, 0);
  std::vector<Move> expected = QuietExample<Us>([](const char*, uint64_t) { return uint64_t(2048); });
  expected[3] += Move(100) << 32;  // b1c3
  expected[6] += Move(7) << 32;    // d1d2
  EXPECT_EQ(RunQuiets<Us>(node, 0), Descending(expected));

  // Every man threatened: each class its bonus, the king still 2048.
  SetThreatened<Us>(node, position.colourBits[Us]);
  expected = QuietExample<Us>([](const char*, uint64_t bonus) { return bonus; });
  expected[3] += Move(100) << 32;
  expected[6] += Move(7) << 32;
  EXPECT_EQ(RunQuiets<Us>(node, 0), Descending(expected));

  // Row 1 reads only its own entries.
  expected = QuietExample<Us>([](const char*, uint64_t bonus) { return bonus; });
  expected[2] += Move(300) << 32;  // b1a3
  EXPECT_EQ(RunQuiets<Us>(node, 1), Descending(expected));

  // Only the knight b1 threatened.
  SetThreatened<Us>(node, Set<Us>({"b1"}));
  expected = QuietExample<Us>([](const char* from, uint64_t bonus) {
    return std::string(from) == "b1" ? bonus : uint64_t(2048);
  });
  expected[3] += Move(100) << 32;
  expected[6] += Move(7) << 32;
  EXPECT_EQ(RunQuiets<Us>(node, 0), Descending(expected));

  // Knight, bishop and rook out of ownMen give no quiets; the queen still moves.
  SetThreatened<Us>(node, 0);
  node->ownMen = Set<Us>({"e1", "e2"});
  expected.clear();
  for (Move m : QuietExample<Us>([](const char*, uint64_t) { return uint64_t(2048); })) {
    const int cls = Mover(m);
    if (cls == CLASS_PAWN || cls == CLASS_KING || cls == CLASS_QUEEN) expected.push_back(m);
  }
  expected[3] += Move(7) << 32;  // d1d2
  EXPECT_EQ(RunQuiets<Us>(node, 0), Descending(expected));
}

TEST_F(QuietList, OrderValueIsHistoryPlusTheClassBonusOfAThreatenedMan) { FOR_BOTH_COLOURS(QuietOrderValues); }

// The previous move of the examples: their pawn e7-e5.
template <int Us>
Move PreviousMove() {
  return FromTo(S<Us>("e7"), S<Us>("e5")) | 0xc0;
}

template <int Us>
void KillerCheckBit() {
  ClearOrderingTables();
  Load<Us>(QUIET_FEN);
  NodeRecord stack[4] = {};
  NodeRecord* node = &stack[1];
  QuietMaps<Us>(node);
  SetThreatened<Us>(node, 0);
  stack[0].currentMove = PreviousMove<Us>();
  const int index = int(PreviousMove<Us>() & 0x1ff);
  const Move knight = FromTo(S<Us>("b1"), S<Us>("c3")) | 0x40;
  // A checking rook step that the capture list left in the list already.
  const Move checking = (FromTo(S<Us>("h1"), S<Us>("h3")) ^ LOW_ROOK) | MOVE_CHECK;

  // Killer 1 was proved with check: it does not speak for the quiet b1-c3,
  // which falls through to the counter that names it.
  node->killers[0] = knight | MOVE_CHECK;
  // Killer 2 was stored without check: it marks the checking form too.
  node->killers[1] = FromTo(S<Us>("h1"), S<Us>("h3")) | 0x180;
  CounterMoves[index][0] = uint16_t(knight);
  auto list = RunQuiets<Us>(node, 0, {checking});
  ASSERT_EQ(list.size(), 12u);
  EXPECT_EQ(list[0], checking | 0x1a00000000000);
  EXPECT_EQ(list[1], (FromTo(S<Us>("b1"), S<Us>("c3")) ^ LOW_KNIGHT) | 0xe00000000000);

  // Killer 1 with check meets the checking form: marked.
  node->killers[0] = (FromTo(S<Us>("h1"), S<Us>("h3")) | 0x180) | MOVE_CHECK;
  node->killers[1] = 0;
  CounterMoves[index][0] = 0;
  list = RunQuiets<Us>(node, 0, {checking});
  EXPECT_EQ(list[0], checking | 0x1c00000000000);
  EXPECT_EQ(list[1] >> 32, 2048u);
}

TEST_F(QuietList, AKillerProvedWithCheckMarksOnlyTheCheckingForm) { FOR_BOTH_COLOURS(KillerCheckBit); }

// ===========================================================================
// Gain-filtered quiet lists

// GainTable index of a quiet word: from, to and the two low class bits.
template <int Us>
int8_t& Gain(const char* from, const char* to, int cls) {
  return GainTable[Us][(FromTo(S<Us>(from), S<Us>(to)) | Move(cls & 3) << 6) & 0xfcff];
}

template <int Us>
Move GainWord(const char* from, const char* to, Move low, int gain) {
  return (Move(int64_t(gain)) << 40 | FromTo(S<Us>(from), S<Us>(to))) ^ low;
}

template <int Us>
void GainQuietsFilter() {
  ClearOrderingTables();
  Load<Us>(QUIET_FEN);
  NodeRecord stack[4] = {};
  NodeRecord* node = &stack[1];
  QuietMaps<Us>(node);
  node->moveTargets[S<Us>("b1")] |= Set<Us>({"d2"});
  node->moveTargets[S<Us>("c1")] |= Set<Us>({"d2"});
  node->moveTargets[S<Us>("d1")] |= Set<Us>({"d3"});
  node->moveTargets[S<Us>("e1")] |= Set<Us>({"d2", "g1"});  // g1: castling, two files
  node->moveTargets[S<Us>("h1")] |= Set<Us>({"h3"});
  // The knight table of this search lets b1 go to a3 and c3 only.
  static Bitboard knightTable[64];
  std::fill(std::begin(knightTable), std::end(knightTable), ~Bitboard(0));
  knightTable[S<Us>("b1")] = Set<Us>({"a3", "c3"});
  quiet_masks[Us].gainKnightTargets = knightTable;

  Gain<Us>("b1", "c3", CLASS_KNIGHT) = 10;
  Gain<Us>("b1", "a3", CLASS_KNIGHT) = -2;
  Gain<Us>("b1", "d2", CLASS_KNIGHT) = 50;  // outside the knight table
  Gain<Us>("e2", "e3", CLASS_PAWN) = 5;
  Gain<Us>("e2", "e4", CLASS_PAWN) = 40;  // a double step: never listed
  Gain<Us>("e1", "f1", CLASS_KING) = 0;
  Gain<Us>("e1", "f2", CLASS_KING) = -1;
  Gain<Us>("e1", "d2", CLASS_KING) = 3;
  Gain<Us>("e1", "g1", CLASS_KING) = 100;  // castling: never listed
  Gain<Us>("c1", "b2", CLASS_BISHOP) = 7;
  Gain<Us>("c1", "d2", CLASS_BISHOP) = 0;
  Gain<Us>("d1", "c2", CLASS_QUEEN) = 4;
  Gain<Us>("d1", "d2", CLASS_QUEEN) = 2;
  Gain<Us>("d1", "d3", CLASS_QUEEN) = 60;  // excluded below
  Gain<Us>("h1", "h2", CLASS_ROOK) = 1;
  Gain<Us>("h1", "h3", CLASS_ROOK) = -5;
  Gain<Us>("h1", "g1", CLASS_ROOK) = -7;

  const auto run = [&](int minGain, Bitboard excluded) {
    Move list[256] = {0};
    Move* end = GenerateGainQuiets<Us>(list, node, minGain, excluded);
    EXPECT_EQ(*end, 0u);
    return Words(list, end);
  };
  const Bitboard excluded = Set<Us>({"d3"});
  EXPECT_EQ(run(0, excluded), Descending({GainWord<Us>("b1", "c3", LOW_KNIGHT, 10),
                                          GainWord<Us>("e2", "e3", LOW_PAWN, 5),
                                          GainWord<Us>("e1", "f1", LOW_KING, 0),
                                          GainWord<Us>("e1", "d2", LOW_KING, 3),
                                          GainWord<Us>("c1", "b2", LOW_BISHOP, 7),
                                          GainWord<Us>("c1", "d2", LOW_BISHOP, 0),
                                          GainWord<Us>("d1", "c2", LOW_QUEEN, 4),
                                          GainWord<Us>("d1", "d2", LOW_QUEEN, 2),
                                          GainWord<Us>("h1", "h2", LOW_ROOK, 1)}));
  EXPECT_EQ(run(5, excluded), Descending({GainWord<Us>("b1", "c3", LOW_KNIGHT, 10),
                                          GainWord<Us>("e2", "e3", LOW_PAWN, 5),
                                          GainWord<Us>("c1", "b2", LOW_BISHOP, 7)}));
  // Without the exclusion the queen's d3 is back.
  const auto open = run(5, 0);
  EXPECT_EQ(open.front(), GainWord<Us>("d1", "d3", LOW_QUEEN, 60));
  EXPECT_EQ(open.size(), 4u);
  // Negative gains, sign-extended, sort above every positive one.
  const auto low = run(-2, excluded);
  ASSERT_EQ(low.size(), 11u);
  EXPECT_EQ(low[0], GainWord<Us>("e1", "f2", LOW_KING, -1));
  EXPECT_EQ(low[1], GainWord<Us>("b1", "a3", LOW_KNIGHT, -2));
  EXPECT_EQ(low[2], GainWord<Us>("b1", "c3", LOW_KNIGHT, 10));
  EXPECT_TRUE(std::is_sorted(low.begin(), low.end(), std::greater<Move>()));
}

TEST_F(GainList, KeepsMovesReachingMinGainWithTheGainInTheTopBitsAndNoCastling) {
  FOR_BOTH_COLOURS(GainQuietsFilter);
}

template <int Us>
void LimitedByStage() {
  ClearOrderingTables();
  // Knight d4, pawns e4 and a2, king e1.
  Load<Us>("4k3/8/8/8/3NP3/8/P7/4K3 w - -");
  NodeRecord stack[4] = {};
  NodeRecord* node = &stack[1];
  node->ownMen = position.colourBits[Us];
  node->moveTargets[S<Us>("d4")] = KNIGHT_ATTACKS[S<Us>("d4")];
  node->pawnPushes = Set<Us>({"e5", "a3", "a4"});
  const auto run = [&](int stage, int minGain) {
    SelectQuietMasks(stage);
    Move list[256] = {0};
    Move* end = GenerateGainLimited<Us>(list, node, minGain);
    EXPECT_EQ(*end, 0u);
    std::vector<Move> words = Words(list, end);
    std::sort(words.begin(), words.end());
    return words;
  };
  const auto sorted = [](std::vector<Move> v) {
    std::sort(v.begin(), v.end());
    return v;
  };
  const Move knightE6 = FromTo(S<Us>("d4"), S<Us>("e6")) ^ LOW_KNIGHT;
  const Move knightF5 = FromTo(S<Us>("d4"), S<Us>("f5")) ^ LOW_KNIGHT;
  const Move knightC6 = FromTo(S<Us>("d4"), S<Us>("c6")) ^ LOW_KNIGHT;
  const Move pawnE5 = FromTo(S<Us>("e4"), S<Us>("e5")) ^ LOW_PAWN;
  // Stage 12 to 17: the knight on d4 goes to e6 and f5; pawns from d4/e4 and
  // ranks 5 and 6 only.
  EXPECT_EQ(run(12, 0), sorted({knightE6, knightF5, pawnE5}));
  // 18 and over: c6 too; e4 is no pawn origin any more.
  EXPECT_EQ(run(20, 0), sorted({knightE6, knightF5, knightC6}));
  // Under 6: d4 is no knight origin; e4 on rank 4 is a pawn origin, a2 is not.
  EXPECT_EQ(run(3, 0), sorted({pawnE5}));
  // The gain threshold.
  Gain<Us>("d4", "e6", CLASS_KNIGHT) = -1;
  Gain<Us>("e4", "e5", CLASS_PAWN) = 9;
  EXPECT_EQ(run(12, 0), sorted({knightF5, pawnE5}));
  EXPECT_EQ(run(12, 9), sorted({pawnE5}));
  EXPECT_EQ(run(12, -1), sorted({knightE6, knightF5, pawnE5}));

  // The king: its targets meet the stage's squares and its neighbourhood.
  static Bitboard kingTable[64];
  std::fill(std::begin(kingTable), std::end(kingTable), Bitboard(0));
  kingTable[S<Us>("e1")] = Set<Us>({"d2", "f2", "f1", "g1"});
  node->moveTargets[S<Us>("e1")] = Set<Us>({"d1", "d2", "f1", "g1"});
  node->pawnPushes = 0;
  node->moveTargets[S<Us>("d4")] = 0;
  SelectQuietMasks(12);
  quiet_masks[Us].kingTargets = kingTable;
  Move list[256] = {0};
  Move* end = GenerateGainLimited<Us>(list, node, 0);
  std::vector<Move> kingWords = Words(list, end);
  std::sort(kingWords.begin(), kingWords.end());
  EXPECT_EQ(kingWords,
            sorted({FromTo(S<Us>("e1"), S<Us>("d2")) ^ LOW_KING, FromTo(S<Us>("e1"), S<Us>("f1")) ^ LOW_KING}));
}

TEST_F(GainList, LimitedListFollowsTheMasksOfTheMaterialStage) { FOR_BOTH_COLOURS(LimitedByStage); }

// ===========================================================================
// Underpromotions

template <int Us>
std::vector<Move> RunUnder(NodeRecord* node) {
  Move list[256] = {0};
  Move* end = GenerateUnderpromotions<Us>(list, node);
  EXPECT_EQ(*end, 0u);
  return Words(list, end);
}

template <int Us>
void UnderpromotionForms() {
  // e7: ahead to e8, taking the rook d8 and the knight f8. A knight on e8
  // would check g7: that one comes with the capture list.
  Load<Us>("3r1n2/4P1k1/8/8/8/8/8/4K3 w - -");
  NodeRecord stack[4] = {};
  NodeRecord* node = &stack[1];
  node->ownMen = position.colourBits[Us];
  const auto list = RunUnder<Us>(node);
  const struct {
    const char* to;
    int cls;
    int victimBit;
  } expected[] = {{"e8", CLASS_ROOK, 0}, {"d8", CLASS_KNIGHT, 59}, {"d8", CLASS_ROOK, 59},
                  {"f8", CLASS_KNIGHT, 54}, {"f8", CLASS_ROOK, 54}};
  ASSERT_EQ(list.size(), 5u);
  for (int i = 0; i < 5; ++i) {
    const Move m = list[i];
    SCOPED_TRACE(i);
    EXPECT_EQ(m & MOVE_IDENTITY, FromTo(S<Us>("e7"), S<Us>(expected[i].to)));
    EXPECT_EQ(Mover(m), CLASS_PAWN);
    EXPECT_EQ(PromotedClass(m), expected[i].cls);
    EXPECT_TRUE(Bit(m, expected[i].cls == CLASS_KNIGHT ? 47 : 46));
    EXPECT_FALSE(Bit(m, 45));
    EXPECT_FALSE(Bit(m, 48));
    EXPECT_TRUE(Bit(m, 50));
    EXPECT_TRUE(m & MOVE_EXEMPT);
    if (expected[i].victimBit) {
      EXPECT_TRUE(Bit(m, expected[i].victimBit));
    } else {
      EXPECT_EQ(m >> 52 & 0x3ff, 0u) << "no victim";
    }
  }
  // The pattern words of the step.
  EXPECT_EQ(list[0], FromTo(S<Us>("e7"), S<Us>("e8")) ^ 0x45800040300c0);

  // Out of ownMen: nothing.
  node->ownMen = Set<Us>({"e1"});
  EXPECT_TRUE(RunUnder<Us>(node).empty());

  // A pawn on the a-file takes nothing across the board's edge.
  Load<Us>("7k/P6p/8/8/8/8/8/K7 w - -");
  node->ownMen = position.colourBits[Us];
  const auto edge = RunUnder<Us>(node);
  ASSERT_EQ(edge.size(), 2u);
  EXPECT_EQ(edge[0], FromTo(S<Us>("a7"), S<Us>("a8")) ^ 0x48400040300c0);
  EXPECT_EQ(edge[1], FromTo(S<Us>("a7"), S<Us>("a8")) ^ 0x45800040300c0);

  // Blocked ahead, and words already in the list stay in front.
  Load<Us>("4n1k1/4P3/8/8/8/8/8/K7 w - -");
  node->ownMen = position.colourBits[Us];
  Move list2[256] = {0x1234, 0};
  Move* end = GenerateUnderpromotions<Us>(list2, node);
  EXPECT_EQ(end, list2 + 1);
  EXPECT_EQ(list2[0], 0x1234u);
}

TEST_F(Underpromotions, KnightAndRookNoBishopAndNoCheckingKnight) { FOR_BOTH_COLOURS(UnderpromotionForms); }

}  // namespace
