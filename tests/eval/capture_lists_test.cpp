// The capture list makers word by word and map by map: how checks are
// classified and where an unsafe one goes, the king-capture priority of a
// back-rank mate, castling checks and quiet threats by variant, the targets
// and the hash move, the line masks and the men that lose their quiet moves
// to a pin. The cases are told for White; a last test runs every one of them
// mirrored through Black's copy, which must give the mirrored lists and maps.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "board/attacks.h"
#include "board/mirrored_positions.h"
#include "board/move.h"
#include "board/move_producers.h"
#include "board/position.h"
#include "board/producer_harness.h"
#include "eval/attack_maps.h"
#include "eval/capture_lists.h"
#include "eval/node_record.h"
#include "search/ordering_tables.h"

namespace {

using namespace mirrored;

constexpr Move PRIORITY = 0xfffe000000000000;  // bits 49-63
constexpr Move BIT60 = Move(1) << 60;
constexpr int ALL_VARIANTS[] = {QUIESCE_NARROW,  QUIESCE_MIDDLE, QUIESCE_WIDE,      CAPTURES_NARROW,
                                CAPTURES_WIDE,   RESTRICTED_HIGH, RESTRICTED_MIDDLE, RESTRICTED_LOW};

// A victim class in the word, and nothing else in its field.
constexpr Move Victim(int cls) { return Move(cls) << 27; }
constexpr Move NotVictim(int cls) { return Move(7 ^ cls) << 27; }

// What one list maker call left: the words and the node record.
struct Listing {
  std::vector<Move> moves;
  Bitboard returned;
  NodeRecord node;

  Bitboard Targets(int from) const { return node.moveTargets[from]; }
  // The words whose from and to are these squares.
  std::vector<Move> Of(int from, int to) const {
    std::vector<Move> out;
    for (Move m : moves)
      if ((m & MOVE_IDENTITY) == FromTo(from, to)) out.push_back(m);
    return out;
  }
};

// Runs the variant for Us on the global position, with its attack maps
// written first and a parent record whose move is `parentMove`.
template <int Us>
Listing MakeList(int variant, Bitboard targets, Move hash = 0, Move parentMove = 0) {
  static NodeRecord stack[4];
  std::memset(static_cast<void*>(stack), 0, sizeof(stack));
  stack[0].currentMove = parentMove;
  NodeRecord* node = &stack[1];
  AttackMaps(node);
  Move list[256];
  std::fill(std::begin(list), std::end(list), ~Move(0));
  Listing out;
  out.returned = harness::RunCaptureList<Us>(variant, list, targets, node, hash, 0);
  size_t n = 0;
  while (n < 256 && list[n] != 0) ++n;
  EXPECT_LT(n, 256u) << "no terminator";
  out.moves.assign(list, list + n);
  out.node = *node;
  EXPECT_EQ(out.returned, node->discoverMask);
  return out;
}

template <int Us>
Listing MakeList(int variant) {
  return MakeList<Us>(variant, position.colourBits[Us ^ 1]);
}

// The learnt tables start from seeds; the cases here read zero ratings.
class CaptureLists : public ::testing::Test {
 protected:
  void SetUp() override {
    std::memset(HistoryTable, 0, sizeof(HistoryTable));
    std::memset(GainTable, 0, sizeof(GainTable));
  }
  void TearDown() override { ResetOrderingTables(); }
};

// ---------------------------------------------------------------------------
// Words and quiet maps

// Which variants a row speaks for.
enum Variants { EVERY, CASTLING_CHECKS, NO_CASTLING_CHECKS, ALL_THREATS, NOT_ALL_THREATS, DOUBLE_THREATS,
                NO_DOUBLE_THREATS };

bool Covers(Variants v, int variant) {
  const bool castling = variant >= QUIESCE_WIDE;
  const bool all = variant == CAPTURES_WIDE || variant == RESTRICTED_LOW;
  const bool doubles = all || variant == RESTRICTED_MIDDLE;
  switch (v) {
    case CASTLING_CHECKS: return castling;
    case NO_CASTLING_CHECKS: return !castling;
    case ALL_THREATS: return all;
    case NOT_ALL_THREATS: return !all;
    case DOUBLE_THREATS: return doubles;
    case NO_DOUBLE_THREATS: return !doubles;
    default: return true;
  }
}

constexpr Bitboard THEIR_MEN = ~Bitboard(0);  // stands for all enemy men as targets

// `count` words (0 or 1) from `from` to `to`, each with every bit of `has`
// and none of `lacks`; `quiet` whether the step stays in the quiet maps.
// `mate`: 1 the word carries the king-capture priority, 0 it does not.
struct WordRow {
  const char* fen;
  Variants variants;
  const char* from;
  const char* to;
  int count;
  Move has = 0, lacks = 0;
  bool quiet = false;
  Bitboard targets = THEIR_MEN;
  Move parent = 0;
  const char* hash = nullptr;  // a hash move, as from and to
  int mate = -1;
};

TEST_F(CaptureLists, WordsAndQuietStepsOfHandPositions) {
  constexpr Move CHECK = MOVE_CHECK, SAFE = MOVE_EXEMPT, THREAT = THREAT_MARK, DOUBLE = DOUBLE_THREAT_MARK;
  const char* rook = "4k3/8/8/8/8/8/8/R5K1 w - -";
  const char* covered = "4k3/2n5/8/8/8/8/8/R5K1 w - -";  // the knight c7 covers a8
  const char* bishop = "b3k3/8/8/8/8/8/8/R5K1 w - -";
  const char* defended = "b3k3/2n5/8/8/8/8/8/R5K1 w - -";
  const char* rookFork = "7k/8/8/8/n3n3/8/7K/1R6 w - -";
  const char* twoTargets = "7k/8/8/n7/8/8/7K/R2b4 w - -";
  const WordRow rows[] = {
      // A safe quiet check is listed, exempt from the exchange test, no threat.
      {rook, EVERY, "a1", "a8", 1, CHECK | SAFE, THREAT},
      {rook, EVERY, "a1", "e1", 1, CHECK | SAFE, THREAT},
      {rook, EVERY, "a1", "a7", 0, 0, 0, true},
      // An unsafe one stays in the quiet maps; the wide lists take the
      // threats on the loose knight.
      {covered, EVERY, "a1", "a8", 0, 0, 0, true},
      {covered, EVERY, "a1", "e1", 1, CHECK},
      {covered, ALL_THREATS, "a1", "a7", 1, THREAT},
      {covered, NOT_ALL_THREATS, "a1", "c1", 0, 0, 0, true},
      // A capture that checks carries bit 60; defended it needs the exchange
      // test; outside the targets only the safe one is made.
      {bishop, EVERY, "a1", "a8", 1, CHECK | SAFE | BIT60 | Victim(CLASS_BISHOP), NotVictim(CLASS_BISHOP)},
      {defended, EVERY, "a1", "a8", 1, CHECK | BIT60 | Victim(CLASS_BISHOP), SAFE},
      {bishop, EVERY, "a1", "a8", 1, SAFE | BIT60, 0, false, 0},
      {defended, EVERY, "a1", "a8", 0, 0, 0, false, 0},
      // A back-rank mate has the king-capture priority; with an escape square not.
      {"6k1/5ppp/8/8/8/8/8/R5K1 w - -", EVERY, "a1", "a8", 1, CHECK, 0, false, THEIR_MEN, 0, nullptr, 1},
      {"6k1/5pp1/7p/8/8/8/8/R5K1 w - -", EVERY, "a1", "a8", 1, SAFE, 0, false, THEIR_MEN, 0, nullptr, 0},
      // A safe check hitting a loose queen: bit 60 only after a capture.
      {"q7/8/8/4k3/1P6/8/8/R1K5 w - -", EVERY, "a1", "a5", 1, CHECK | SAFE | BIT60, 0, false, THEIR_MEN, Victim(1)},
      {"q7/8/8/4k3/1P6/8/8/R1K5 w - -", EVERY, "a1", "a5", 1, CHECK, BIT60, false, THEIR_MEN, FromTo(52, 36) | 0xc0},
      // Castling that checks from the wide quiescence list on; otherwise, or
      // without a check, a king step of the quiet list.
      {"5k2/8/8/8/8/8/8/4K2R w K -", CASTLING_CHECKS, "e1", "g1", 1, CHECK},
      {"5k2/8/8/8/8/8/8/4K2R w K -", NO_CASTLING_CHECKS, "e1", "g1", 0, 0, 0, true},
      {"4k3/8/8/8/8/8/8/4K2R w K -", EVERY, "e1", "g1", 0, 0, 0, true},
      // A knight fork is a threat in the wide lists only.
      {"7k/2r1r3/8/8/8/2N5/8/6K1 w - -", ALL_THREATS, "c3", "d5", 1, THREAT | DOUBLE},
      {"7k/2r1r3/8/8/8/2N5/8/6K1 w - -", NOT_ALL_THREATS, "c3", "d5", 0, 0, 0, true},
      {"7k/2r1r3/8/8/8/2N5/8/6K1 w - -", EVERY, "c3", "b5", 0, 0, 0, true},
      // Rook threats: single ones in the wide lists, double ones also in the
      // restricted middle list.
      {rookFork, DOUBLE_THREATS, "b1", "b4", 1, THREAT | DOUBLE},
      {rookFork, NO_DOUBLE_THREATS, "b1", "b4", 0, 0, 0, true},
      {rookFork, ALL_THREATS, "b1", "e1", 1, THREAT, DOUBLE},
      {rookFork, NOT_ALL_THREATS, "b1", "a1", 0, 0, 0, true},
      {rookFork, EVERY, "b1", "b8", 1, CHECK},
      // A pawn fork likewise; otherwise the push stays.
      {"7k/8/2n1n3/8/3P4/8/8/K7 w - -", DOUBLE_THREATS, "d4", "d5", 1, THREAT | DOUBLE},
      {"7k/8/2n1n3/8/3P4/8/8/K7 w - -", NO_DOUBLE_THREATS, "d4", "d5", 0, 0, 0, true},
      // Targets restrict the captures; a man outside them is no quiet target either.
      {twoTargets, EVERY, "a1", "a5", 1, Victim(CLASS_KNIGHT), NotVictim(CLASS_KNIGHT), false, Bitboard(1) << 32},
      {twoTargets, EVERY, "a1", "d1", 0, 0, 0, false, Bitboard(1) << 32},
      {twoTargets, EVERY, "a1", "a5", 0, 0, 0, false, 0},
      // The hash move is left out of the list and the maps.
      {bishop, EVERY, "a1", "a8", 0, 0, 0, false, THEIR_MEN, 0, "a1a8"},
      {bishop, EVERY, "a1", "e1", 1, CHECK, 0, false, THEIR_MEN, 0, "a1a8"},
      {bishop, EVERY, "a1", "e1", 0, 0, 0, false, THEIR_MEN, 0, "a1e1"},
      {bishop, EVERY, "a1", "a3", 0, 0, 0, false, THEIR_MEN, 0, "a1a3"},
      {"4k3/8/8/8/8/8/4P3/4K3 w - -", EVERY, "e2", "e4", 0, 0, 0, false, THEIR_MEN, 0, "e2e4"},
      {"4k3/8/8/8/8/8/4P3/4K3 w - -", EVERY, "e2", "e3", 0, 0, 0, true, THEIR_MEN, 0, "e2e4"},
  };
  for (const WordRow& r : rows) {
    Load<WHITE>(r.fen);
    const int from = Sq(r.from), to = Sq(r.to);
    const bool pawn = position.pieceBits[PAWN_INDEX] >> from & 1;
    const Move hash = r.hash ? HashMoveToMove<WHITE>(FromTo(Sq(r.hash), Sq(r.hash + 2))) : 0;
    const Bitboard targets = r.targets == THEIR_MEN ? position.colourBits[BLACK] : r.targets;
    for (int variant : ALL_VARIANTS) {
      if (!Covers(r.variants, variant)) continue;
      SCOPED_TRACE(std::string(r.fen) + " " + r.from + r.to + " variant " + std::to_string(variant));
      const Listing l = MakeList<WHITE>(variant, targets, hash, r.parent);
      const std::vector<Move> words = l.Of(from, to);
      ASSERT_EQ(int(words.size()), r.count);
      for (const Move m : words) {
        EXPECT_EQ(m & r.has, r.has) << std::hex << m;
        EXPECT_EQ(m & r.lacks, 0u) << std::hex << m;
        if (r.mate >= 0) {
          EXPECT_EQ((m & PRIORITY) == CHECK_NO_ESCAPE, r.mate == 1) << std::hex << m;
        }
      }
      const Bitboard quiet = pawn ? l.node.pawnPushes : l.Targets(from);
      EXPECT_EQ(bool(quiet >> to & 1), r.quiet);
    }
  }
  // Two men threatened sort above one; a promotion from the table comes back
  // as the queen, and the checking knight stays in the list.
  Load<WHITE>(rookFork);
  const Listing wide = MakeList<WHITE>(CAPTURES_WIDE);
  EXPECT_GT(wide.Of(Sq("b1"), Sq("b4")).at(0) >> 32 & 0xffff, wide.Of(Sq("b1"), Sq("e1")).at(0) >> 32 & 0xffff);
  Load<WHITE>("8/4k1P1/8/8/8/8/8/4K3 w - -");
  const Move queen = HashMoveToMove<WHITE>(FromTo(Sq("g7"), Sq("g8")));
  const auto left = MakeList<WHITE>(QUIESCE_NARROW, position.colourBits[BLACK], queen).Of(Sq("g7"), Sq("g8"));
  ASSERT_EQ(left.size(), 1u);
  EXPECT_EQ(left[0] >> 42 & 7, Move(CLASS_KNIGHT));
  EXPECT_TRUE(left[0] & MOVE_CHECK);
}

// ---------------------------------------------------------------------------
// Line masks and pins

TEST_F(CaptureLists, LineMasksAndPinnedMen) {
  // Bishop b2 - knight d4 - king f6, and rook f1 - their pawn f3 - king f6:
  // the lone men between our sliders and their king.
  Load<WHITE>("8/8/5k2/8/3N4/5p2/1B6/K4R2 w - -");
  for (int variant : ALL_VARIANTS) EXPECT_EQ(MakeList<WHITE>(variant).returned, ~Set<WHITE>({"d4", "f3"}));
  Load<WHITE>("8/8/5k2/4p3/3N4/5p2/1B6/K4R2 w - -");
  EXPECT_EQ(MakeList<WHITE>(QUIESCE_NARROW).returned, ~Set<WHITE>({"f3"}));
  Load<WHITE>("8/8/5k2/8/8/8/8/R3K3 w - -");
  EXPECT_EQ(MakeList<WHITE>(QUIESCE_NARROW).returned, ~Bitboard(0));

  // Rook a1: knight a4 before the queen a7; bishop c1 before the rook f1.
  // The queen's ray does not depend on the targets, the pieces' ray does.
  Load<WHITE>("7k/q7/8/8/n7/8/7K/R1b2r2 w - -");
  const Bitboard toQueen = Set<WHITE>({"a2", "a3", "a4", "a5", "a6"}), toRook = Set<WHITE>({"b1", "c1", "d1", "e1"});
  const Bitboard theirs = position.colourBits[BLACK];
  Listing l = MakeList<WHITE>(QUIESCE_NARROW, theirs);
  EXPECT_EQ(l.node.queenRayMask, ~toQueen);
  EXPECT_EQ(l.node.pieceRayMask, ~(toQueen | toRook));
  l = MakeList<WHITE>(QUIESCE_NARROW, theirs & ~Set<WHITE>({"f1"}));
  EXPECT_EQ(l.node.pieceRayMask, ~toQueen);
  l = MakeList<WHITE>(QUIESCE_NARROW, theirs & ~Set<WHITE>({"a7", "f1"}));
  EXPECT_EQ(l.node.queenRayMask, ~toQueen);
  EXPECT_EQ(l.node.pieceRayMask, ~Bitboard(0));
  // With no targets the narrowest list takes nothing; the middle one still
  // takes the knight that screens the queen, not the bishop before the rook.
  EXPECT_TRUE(MakeList<WHITE>(QUIESCE_NARROW, 0).moves.empty());
  l = MakeList<WHITE>(QUIESCE_MIDDLE, 0);
  ASSERT_EQ(l.moves.size(), 1u);
  EXPECT_EQ(l.moves[0] & MOVE_IDENTITY, FromTo(Sq("a1"), Sq("a4")));

  // Knight c3 and bishop e3 pinned, rook c1 pinned on the rank: only the
  // king and the rook stay own men; the pinner can be taken.
  Load<WHITE>("4r2k/8/8/b7/8/2N1B3/8/r1R1K3 w - -");
  for (int variant : ALL_VARIANTS) {
    l = MakeList<WHITE>(variant);
    EXPECT_EQ(l.node.ownMen, Set<WHITE>({"e1", "c1"}));
    EXPECT_EQ(l.Of(Sq("c1"), Sq("a1")).size(), 1u);
  }
  // A pawn pinned on its file gives no capture, underpromotions neither.
  Load<WHITE>("3nr2k/4P3/8/8/8/8/8/4K3 w - -");
  for (int variant : ALL_VARIANTS) {
    l = MakeList<WHITE>(variant);
    EXPECT_EQ(l.node.ownMen, Set<WHITE>({"e1"}));
    EXPECT_TRUE(l.Of(Sq("e7"), Sq("d8")).empty());
    Move under[16] = {0};
    GenerateUnderpromotions<WHITE>(under, &l.node);
    EXPECT_EQ(under[0], 0u);
  }
}

// ---------------------------------------------------------------------------
// The two colour copies

const char* const CASES[] = {
    "4k3/8/8/8/8/8/8/R5K1 w - -",         "4k3/2n5/8/8/8/8/8/R5K1 w - -",
    "b3k3/8/8/8/8/8/8/R5K1 w - -",        "b3k3/2n5/8/8/8/8/8/R5K1 w - -",
    "6k1/5ppp/8/8/8/8/8/R5K1 w - -",      "6k1/5pp1/7p/8/8/8/8/R5K1 w - -",
    "5k2/8/8/8/8/8/8/4K2R w K -",         "4k3/8/8/8/8/8/8/4K2R w K -",
    "7k/2r1r3/8/8/8/2N5/8/6K1 w - -",     "7k/8/8/8/n3n3/8/7K/1R6 w - -",
    "7k/8/2n1n3/8/3P4/8/8/K7 w - -",      "7k/8/8/n7/8/8/7K/R2b4 w - -",
    "8/4k1P1/8/8/8/8/8/4K3 w - -",        "8/8/5k2/8/3N4/5p2/1B6/K4R2 w - -",
    "7k/q7/8/8/n7/8/7K/R1b2r2 w - -",     "4r2k/8/8/b7/8/2N1B3/8/r1R1K3 w - -",
    "4r2k/8/8/8/4R3/8/8/4K3 w - -",       "q7/8/8/4k3/1P6/8/8/R1K5 w - -",
    "3nr2k/4P3/8/8/8/8/8/4K3 w - -",       "8/8/5k2/8/8/8/8/R3K3 w - -",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
    "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - -",
};

std::vector<Move> SortedMirror(const std::vector<Move>& moves) {
  std::vector<Move> out;
  for (Move m : moves) out.push_back(MirrorWord(m));
  std::sort(out.begin(), out.end());
  return out;
}

TEST_F(CaptureLists, MirroredPositionsGiveMirroredListsAndMaps) {
  for (const char* fen : CASES) {
    for (int variant : ALL_VARIANTS) {
      SCOPED_TRACE(std::string(fen) + " variant " + std::to_string(variant));
      Load<WHITE>(fen);
      const Listing white = MakeList<WHITE>(variant);
      Load<BLACK>(fen);
      const Listing black = MakeList<BLACK>(variant);
      std::vector<Move> blackMoves = black.moves;
      std::sort(blackMoves.begin(), blackMoves.end());
      EXPECT_EQ(blackMoves, SortedMirror(white.moves));
      EXPECT_EQ(black.returned, MirrorBits(white.returned));
      EXPECT_EQ(black.node.ownMen, MirrorBits(white.node.ownMen));
      EXPECT_EQ(black.node.pawnPushes, MirrorBits(white.node.pawnPushes));
      EXPECT_EQ(black.node.pieceRayMask, MirrorBits(white.node.pieceRayMask));
      EXPECT_EQ(black.node.queenRayMask, MirrorBits(white.node.queenRayMask));
      for (Bitboard men = white.node.ownMen; men; men &= men - 1) {
        const int s = lowest_square(men);
        EXPECT_EQ(black.Targets(s ^ 56), MirrorBits(white.Targets(s))) << "square " << s;
      }
    }
  }
}

}  // namespace
