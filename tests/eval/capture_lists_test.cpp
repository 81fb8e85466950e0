// The capture list makers word by word and map by map: how checks are
// classified and where an unsafe one goes, the king-capture priority of a
// back-rank mate, castling checks and quiet threats by variant, the targets
// and the hash move, the line masks and the men that lose their quiet moves
// to a pin. Each case is told for White and run on the mirrored position for
// Black; a last test compares the two copies on every case and variant.
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
#include "eval/attack_maps.h"
#include "eval/capture_lists.h"
#include "eval/node_record.h"
#include "search/ordering_tables.h"

namespace {

using namespace mirrored;

constexpr Move LOW_PAWN = 0x40200c0, LOW_KNIGHT = 0x2060040, LOW_ROOK = 0x8a0180, LOW_KING = 0x230100;
constexpr Move PRIORITY = 0xfffe000000000000;  // bits 49-63
constexpr int ALL_VARIANTS[] = {QUIESCE_NARROW,  QUIESCE_MIDDLE, QUIESCE_WIDE,      CAPTURES_NARROW,
                                CAPTURES_WIDE,   RESTRICTED_HIGH, RESTRICTED_MIDDLE, RESTRICTED_LOW};

bool Bit(Move m, int n) { return m >> n & 1; }

bool ListsCastlingChecks(int variant) { return variant >= QUIESCE_WIDE; }
bool ListsAllThreats(int variant) { return variant == CAPTURES_WIDE || variant == RESTRICTED_LOW; }
int Victim(Move m) { return int(m >> 27 & 7); }

template <int Us>
Bitboard RunVariant(int variant, Move* list, Bitboard targets, NodeRecord* node, Move hash) {
  switch (variant) {
    case QUIESCE_NARROW: return CaptureList<Us, QUIESCE_NARROW>(list, targets, node, hash, 0);
    case QUIESCE_MIDDLE: return CaptureList<Us, QUIESCE_MIDDLE>(list, targets, node, hash, 0);
    case QUIESCE_WIDE: return CaptureList<Us, QUIESCE_WIDE>(list, targets, node, hash, 0);
    case CAPTURES_NARROW: return CaptureList<Us, CAPTURES_NARROW>(list, targets, node, hash, 0);
    case CAPTURES_WIDE: return CaptureList<Us, CAPTURES_WIDE>(list, targets, node, hash, 0);
    case RESTRICTED_HIGH: return CaptureList<Us, RESTRICTED_HIGH>(list, targets, node, hash, 0);
    case RESTRICTED_MIDDLE: return CaptureList<Us, RESTRICTED_MIDDLE>(list, targets, node, hash, 0);
    default: return CaptureList<Us, RESTRICTED_LOW>(list, targets, node, hash, 0);
  }
}

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
  std::vector<Move> Threats() const {
    std::vector<Move> out;
    for (Move m : moves)
      if (m & THREAT_MARK) out.push_back(m);
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
  out.returned = RunVariant<Us>(variant, list, targets, node, hash);
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
// Checks

template <int Us>
void SafeAndUnsafeQuietChecks() {
  const int a1 = S<Us>("a1"), a8 = S<Us>("a8"), e1 = S<Us>("e1");
  // The rook checks from a8 along the last rank and from e1 up the file;
  // nothing of theirs reaches either square.
  Load<Us>("4k3/8/8/8/8/8/8/R5K1 w - -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    const Listing l = MakeList<Us>(variant);
    for (int to : {a8, e1}) {
      const auto words = l.Of(a1, to);
      ASSERT_EQ(words.size(), 1u) << to;
      const Move m = words[0];
      EXPECT_EQ(m & 0xffffffff, (FromTo(a1, to) ^ LOW_ROOK) | MOVE_CHECK | MOVE_EXEMPT);
      EXPECT_NE(m & PRIORITY, 0u);
      EXPECT_EQ(m & THREAT_MARK, 0u);
    }
    EXPECT_EQ(l.Targets(a1), Set<Us>({"a2", "a3", "a4", "a5", "a6", "a7", "b1", "c1", "d1", "f1"}));
  }

  // A knight on c7 covers a8: that check would lose the rook. It is left to
  // the quiet list; e1 stays a listed check. (The wide lists also take a7
  // and c1, where the rook attacks the loose knight.)
  Load<Us>("4k3/2n5/8/8/8/8/8/R5K1 w - -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    const Listing l = MakeList<Us>(variant);
    EXPECT_TRUE(l.Of(a1, a8).empty());
    ASSERT_EQ(l.Of(a1, e1).size(), 1u);
    EXPECT_TRUE(l.Of(a1, e1)[0] & MOVE_CHECK);
    const Bitboard threats = ListsAllThreats(variant) ? Set<Us>({"a7", "c1"}) : 0;
    EXPECT_EQ(l.Targets(a1),
              Set<Us>({"a2", "a3", "a4", "a5", "a6", "a7", "a8", "b1", "c1", "d1", "f1"}) & ~threats);
    EXPECT_EQ(l.Threats().size(), size_t(popcount(threats)));
  }
}

TEST_F(CaptureLists, SafeQuietCheckIsListedExemptAndUnsafeOneStaysInTheMaps) {
  FOR_BOTH_COLOURS(SafeAndUnsafeQuietChecks);
}

template <int Us>
void CheckingCaptures() {
  const int a1 = S<Us>("a1"), a8 = S<Us>("a8");
  // Ra1xa8 takes a bishop and checks along the last rank.
  Load<Us>("b3k3/8/8/8/8/8/8/R5K1 w - -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    const auto words = MakeList<Us>(variant).Of(a1, a8);
    ASSERT_EQ(words.size(), 1u);
    const Move m = words[0];
    EXPECT_EQ(Victim(m), CLASS_BISHOP);
    EXPECT_TRUE(Bit(m, 60));
    EXPECT_TRUE(m & MOVE_CHECK);
    EXPECT_TRUE(m & MOVE_EXEMPT) << "safe: no exchange test needed";
  }
  // Defended by the knight c7 the capture loses the exchange: still listed
  // as a capture, but the exchange test is left to the picker.
  Load<Us>("b3k3/2n5/8/8/8/8/8/R5K1 w - -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    const auto words = MakeList<Us>(variant).Of(a1, a8);
    ASSERT_EQ(words.size(), 1u);
    EXPECT_EQ(Victim(words[0]), CLASS_BISHOP);
    EXPECT_TRUE(words[0] & MOVE_CHECK);
    EXPECT_TRUE(Bit(words[0], 60));
    EXPECT_FALSE(words[0] & MOVE_EXEMPT);
  }
  // Outside the targets only the safe checking capture is made.
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    Load<Us>("b3k3/8/8/8/8/8/8/R5K1 w - -");
    Listing l = MakeList<Us>(variant, 0);
    ASSERT_EQ(l.Of(a1, a8).size(), 1u);
    EXPECT_TRUE(l.Of(a1, a8)[0] & MOVE_EXEMPT);
    EXPECT_TRUE(Bit(l.Of(a1, a8)[0], 60));
    EXPECT_FALSE(l.Targets(a1) >> a8 & 1);
    Load<Us>("b3k3/2n5/8/8/8/8/8/R5K1 w - -");
    l = MakeList<Us>(variant, 0);
    EXPECT_TRUE(l.Of(a1, a8).empty());
    EXPECT_FALSE(l.Targets(a1) >> a8 & 1);
  }
}

TEST_F(CaptureLists, CaptureThatChecksCarriesCheckBitAndBit60) { FOR_BOTH_COLOURS(CheckingCaptures); }

template <int Us>
void BackRankMate() {
  const int a1 = S<Us>("a1"), a8 = S<Us>("a8");
  // The king on g8 is shut in by its own pawns; nothing takes or blocks.
  Load<Us>("6k1/5ppp/8/8/8/8/8/R5K1 w - -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    const auto words = MakeList<Us>(variant).Of(a1, a8);
    ASSERT_EQ(words.size(), 1u);
    EXPECT_EQ(words[0] & PRIORITY, CHECK_NO_ESCAPE);
    EXPECT_EQ(CHECK_NO_ESCAPE, 0x9228000000000000u);
    EXPECT_TRUE(words[0] & MOVE_CHECK);
  }
  // With h6 instead of h7 the king has h7: the check is safe, but no mate.
  Load<Us>("6k1/5pp1/7p/8/8/8/8/R5K1 w - -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    const auto words = MakeList<Us>(variant).Of(a1, a8);
    ASSERT_EQ(words.size(), 1u);
    EXPECT_NE(words[0] & PRIORITY, 0u);
    EXPECT_NE(words[0] & PRIORITY, CHECK_NO_ESCAPE);
    EXPECT_TRUE(words[0] & MOVE_EXEMPT);
  }
}

TEST_F(CaptureLists, BackRankMateCarriesTheKingCapturePriority) { FOR_BOTH_COLOURS(BackRankMate); }

template <int Us>
void CheckHittingALooseQueen() {
  const int a1 = S<Us>("a1"), a5 = S<Us>("a5");
  // Ra1-a5 checks along the fifth rank, covered by b4, and hits the loose
  // queen on a8. Bit 60 only after a capture by the parent move.
  Load<Us>("q7/8/8/4k3/1P6/8/8/R1K5 w - -");
  const Move parentCapture = 0x08000000;  // victim class 1
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    auto words = MakeList<Us>(variant, position.colourBits[Us ^ 1], 0, parentCapture).Of(a1, a5);
    ASSERT_EQ(words.size(), 1u);
    EXPECT_TRUE(words[0] & MOVE_CHECK);
    EXPECT_TRUE(words[0] & MOVE_EXEMPT);
    EXPECT_TRUE(Bit(words[0], 60));
    words = MakeList<Us>(variant, position.colourBits[Us ^ 1], 0, FromTo(S<Us>("e7"), S<Us>("e5")) | 0xc0).Of(a1, a5);
    ASSERT_EQ(words.size(), 1u);
    EXPECT_TRUE(words[0] & MOVE_CHECK);
    EXPECT_FALSE(Bit(words[0], 60));
  }
}

TEST_F(CaptureLists, SafeCheckHittingALooseQueenAfterACaptureCarriesBit60) {
  FOR_BOTH_COLOURS(CheckHittingALooseQueen);
}

// ---------------------------------------------------------------------------
// Castling and quiet threats by variant

template <int Us>
void CastlingByVariant() {
  const int e1 = S<Us>("e1"), g1 = S<Us>("g1");
  // After O-O the rook on f1 checks the king on f8.
  Load<Us>("5k2/8/8/8/8/8/8/4K2R w K -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    const Listing l = MakeList<Us>(variant);
    const auto castling = l.Of(e1, g1);
    if (ListsCastlingChecks(variant)) {
      ASSERT_EQ(castling.size(), 1u);
      EXPECT_TRUE(castling[0] & MOVE_CHECK);
      EXPECT_TRUE(Us == WHITE ? is_white_castling(castling[0]) : is_black_castling(castling[0]));
      EXPECT_EQ(castling[0] & 0xffffffff, (FromTo(e1, g1) ^ LOW_KING) | MOVE_CHECK);
      EXPECT_FALSE(l.Targets(e1) >> g1 & 1);
    } else {
      EXPECT_TRUE(castling.empty());
      EXPECT_TRUE(l.Targets(e1) >> g1 & 1) << "left to the quiet list as a king move";
    }
  }
  // On e8 the king is not on the rook's file: castling is quiet everywhere.
  Load<Us>("4k3/8/8/8/8/8/8/4K2R w K -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    const Listing l = MakeList<Us>(variant);
    EXPECT_TRUE(l.Of(e1, g1).empty());
    EXPECT_TRUE(l.Targets(e1) >> g1 & 1);
  }
}

TEST_F(CaptureLists, CastlingThatChecksIsListedFromTheWideQuiescenceVariantOn) {
  FOR_BOTH_COLOURS(CastlingByVariant);
}

template <int Us>
void KnightFork() {
  const int c3 = S<Us>("c3"), d5 = S<Us>("d5");
  // Nc3-d5 attacks both rooks. Nc3-b5 hits only c7, which e7 defends, and
  // comes from the centre itself: no threat.
  Load<Us>("7k/2r1r3/8/8/8/2N5/8/6K1 w - -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    const Listing l = MakeList<Us>(variant);
    const auto threats = l.Threats();
    if (ListsAllThreats(variant)) {
      ASSERT_EQ(threats.size(), 1u);
      EXPECT_EQ(threats[0] & 0xffffffff, (FromTo(c3, d5) ^ LOW_KNIGHT) | THREAT_MARK | DOUBLE_THREAT_MARK);
      EXPECT_FALSE(l.Targets(c3) >> d5 & 1) << "not left for the quiet list";
    } else {
      EXPECT_TRUE(threats.empty()) << "only double threats of rooks, bishops and pawns here";
      EXPECT_TRUE(l.Targets(c3) >> d5 & 1);
    }
    EXPECT_TRUE(l.Targets(c3) >> S<Us>("b5") & 1);
  }
}

TEST_F(CaptureLists, KnightForkIsAThreatOnlyInTheWideLists) { FOR_BOTH_COLOURS(KnightFork); }

template <int Us>
void RookThreats() {
  const int b1 = S<Us>("b1");
  // Rb1-b4 attacks both loose knights; Rb1-a1 and Rb1-e1 one each, far from
  // their king. Rb1-b8 checks.
  Load<Us>("7k/8/8/8/n3n3/8/7K/1R6 w - -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    const Listing l = MakeList<Us>(variant);
    std::vector<Move> threats;
    for (Move m : l.Threats()) threats.push_back(m & 0xffffffff);
    std::sort(threats.begin(), threats.end());
    const Move fork = (FromTo(b1, S<Us>("b4")) ^ LOW_ROOK) | THREAT_MARK | DOUBLE_THREAT_MARK;
    const Move toA1 = (FromTo(b1, S<Us>("a1")) ^ LOW_ROOK) | THREAT_MARK;
    const Move toE1 = (FromTo(b1, S<Us>("e1")) ^ LOW_ROOK) | THREAT_MARK;
    std::vector<Move> expected;
    if (ListsAllThreats(variant)) expected = {fork, toA1, toE1};
    else if (variant == RESTRICTED_MIDDLE) expected = {fork};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(threats, expected);
    Bitboard quiet = Set<Us>({"b2", "b3", "b4", "b5", "b6", "b7", "a1", "c1", "d1", "e1", "f1", "g1", "h1"});
    for (Move m : expected) quiet &= ~bit(move_to(m));
    EXPECT_EQ(l.Targets(b1), quiet);
    ASSERT_EQ(l.Of(b1, S<Us>("b8")).size(), 1u);
    EXPECT_TRUE(l.Of(b1, S<Us>("b8"))[0] & MOVE_CHECK);
  }
  // Two men threatened sort above one.
  const Listing wide = MakeList<Us>(CAPTURES_WIDE);
  const Move fork = wide.Of(b1, S<Us>("b4")).at(0), single = wide.Of(b1, S<Us>("e1")).at(0);
  EXPECT_GT(fork >> 32 & 0xffff, single >> 32 & 0xffff);
}

TEST_F(CaptureLists, RookThreatsSingleInTheWideListsDoubleAlsoInRestrictedMiddle) {
  FOR_BOTH_COLOURS(RookThreats);
}

template <int Us>
void PawnFork() {
  const int d5 = S<Us>("d5");
  // d4-d5 attacks both knights.
  Load<Us>("7k/8/2n1n3/8/3P4/8/8/K7 w - -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    const Listing l = MakeList<Us>(variant);
    const auto threats = l.Threats();
    if (ListsAllThreats(variant) || variant == RESTRICTED_MIDDLE) {
      ASSERT_EQ(threats.size(), 1u);
      EXPECT_EQ(threats[0] & 0xffffffff, (FromTo(S<Us>("d4"), d5) ^ LOW_PAWN) | THREAT_MARK | DOUBLE_THREAT_MARK);
      EXPECT_EQ(l.node.pawnPushes, 0u);
    } else {
      EXPECT_TRUE(threats.empty());
      EXPECT_EQ(l.node.pawnPushes, bit(d5));
    }
  }
}

TEST_F(CaptureLists, PawnForkIsAThreatInTheWideAndRestrictedMiddleLists) { FOR_BOTH_COLOURS(PawnFork); }

// ---------------------------------------------------------------------------
// Targets and the hash move

template <int Us>
void TargetsLimitCaptures() {
  const int a1 = S<Us>("a1"), a5 = S<Us>("a5"), d1 = S<Us>("d1");
  // The rook can take the knight a5 and the bishop d1.
  Load<Us>("7k/8/8/n7/8/8/7K/R2b4 w - -");
  const Bitboard quiet = Set<Us>({"a2", "a3", "a4", "b1", "c1"});
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    Listing l = MakeList<Us>(variant);
    EXPECT_EQ(l.Of(a1, a5).size(), 1u);
    EXPECT_EQ(l.Of(a1, d1).size(), 1u);
    EXPECT_EQ(l.Targets(a1), quiet);

    l = MakeList<Us>(variant, bit(a5));
    ASSERT_EQ(l.Of(a1, a5).size(), 1u);
    EXPECT_EQ(Victim(l.Of(a1, a5)[0]), CLASS_KNIGHT);
    EXPECT_TRUE(l.Of(a1, d1).empty());
    EXPECT_EQ(l.Targets(a1), quiet) << "a man outside the targets is no quiet target either";

    l = MakeList<Us>(variant, 0);
    EXPECT_TRUE(l.moves.empty());
    EXPECT_EQ(l.Targets(a1), quiet);
  }
}

TEST_F(CaptureLists, TargetsRestrictCapturesAndTheRestIsNoQuietTarget) { FOR_BOTH_COLOURS(TargetsLimitCaptures); }

template <int Us>
void HashMoveLeftOut() {
  const int a1 = S<Us>("a1"), a8 = S<Us>("a8"), e1 = S<Us>("e1"), a3 = S<Us>("a3");
  const auto hash = [](int from, int to) { return HashMoveToMove<Us>(FromTo(from, to)); };
  Load<Us>("b3k3/8/8/8/8/8/8/R5K1 w - -");
  const Bitboard quiet = Set<Us>({"a2", "a3", "a4", "a5", "a6", "a7", "b1", "c1", "d1", "f1"});
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    Listing l = MakeList<Us>(variant, position.colourBits[Us ^ 1], hash(a1, a8));
    EXPECT_TRUE(l.Of(a1, a8).empty());
    EXPECT_EQ(l.Of(a1, e1).size(), 1u);
    EXPECT_EQ(l.Targets(a1), quiet);

    l = MakeList<Us>(variant, position.colourBits[Us ^ 1], hash(a1, e1));
    EXPECT_TRUE(l.Of(a1, e1).empty());
    EXPECT_EQ(l.Of(a1, a8).size(), 1u);
    EXPECT_EQ(l.Targets(a1), quiet);

    l = MakeList<Us>(variant, position.colourBits[Us ^ 1], hash(a1, a3));
    EXPECT_EQ(l.moves.size(), 2u);
    EXPECT_EQ(l.Targets(a1), quiet & ~bit(a3));
  }

  // A pawn step: out of the pushes.
  Load<Us>("4k3/8/8/8/8/8/4P3/4K3 w - -");
  Listing l = MakeList<Us>(QUIESCE_NARROW, position.colourBits[Us ^ 1], hash(S<Us>("e2"), S<Us>("e4")));
  EXPECT_EQ(l.node.pawnPushes, Set<Us>({"e3"}));
  l = MakeList<Us>(QUIESCE_NARROW);
  EXPECT_EQ(l.node.pawnPushes, Set<Us>({"e3", "e4"}));

  // A promotion comes back from the table as the queen: the checking knight
  // stays in the list.
  Load<Us>("8/4k1P1/8/8/8/8/8/4K3 w - -");
  const int g7 = S<Us>("g7"), g8 = S<Us>("g8");
  l = MakeList<Us>(QUIESCE_NARROW);
  ASSERT_EQ(l.Of(g7, g8).size(), 2u);
  l = MakeList<Us>(QUIESCE_NARROW, position.colourBits[Us ^ 1], hash(g7, g8));
  const auto left = l.Of(g7, g8);
  ASSERT_EQ(left.size(), 1u);
  EXPECT_EQ(left[0] >> 42 & 7, Move(CLASS_KNIGHT));
  EXPECT_TRUE(left[0] & MOVE_CHECK);
}

TEST_F(CaptureLists, HashMoveIsLeftOutOfTheListAndTheMaps) { FOR_BOTH_COLOURS(HashMoveLeftOut); }

// ---------------------------------------------------------------------------
// Line masks and pins

template <int Us>
void DiscoverMask() {
  // Bishop b2 - knight d4 - king f6, and rook f1 - their pawn f3 - king f6.
  Load<Us>("8/8/5k2/8/3N4/5p2/1B6/K4R2 w - -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    const Listing l = MakeList<Us>(variant);
    EXPECT_EQ(l.returned, ~Set<Us>({"d4", "f3"}));
    EXPECT_EQ(l.node.discoverMask, l.returned);
  }
  // A second man on the diagonal: the knight no longer uncovers anything.
  Load<Us>("8/8/5k2/4p3/3N4/5p2/1B6/K4R2 w - -");
  EXPECT_EQ(MakeList<Us>(QUIESCE_NARROW).returned, ~Set<Us>({"f3"}));
  // A rook off their king's lines: its file crosses their rank on a6, which
  // hides nothing.
  Load<Us>("8/8/5k2/8/8/8/8/R3K3 w - -");
  EXPECT_EQ(MakeList<Us>(QUIESCE_NARROW).returned, ~Bitboard(0));
}

TEST_F(CaptureLists, DiscoverMaskClearsTheLoneManBetweenOurSliderAndTheirKing) { FOR_BOTH_COLOURS(DiscoverMask); }

template <int Us>
void RayMasks() {
  // Rook a1: knight a4 before the queen a7; bishop c1 before the rook f1.
  Load<Us>("7k/q7/8/8/n7/8/7K/R1b2r2 w - -");
  const Bitboard toQueen = Set<Us>({"a2", "a3", "a4", "a5", "a6"});
  const Bitboard toRook = Set<Us>({"b1", "c1", "d1", "e1"});
  const Bitboard theirs = position.colourBits[Us ^ 1];
  Listing l = MakeList<Us>(QUIESCE_NARROW, theirs);
  EXPECT_EQ(l.node.queenRayMask, ~toQueen);
  EXPECT_EQ(l.node.pieceRayMask, ~(toQueen | toRook));
  l = MakeList<Us>(QUIESCE_NARROW, theirs & ~bit(S<Us>("f1")));
  EXPECT_EQ(l.node.queenRayMask, ~toQueen);
  EXPECT_EQ(l.node.pieceRayMask, ~toQueen);
  l = MakeList<Us>(QUIESCE_NARROW, theirs & ~bit(S<Us>("a7")) & ~bit(S<Us>("f1")));
  EXPECT_EQ(l.node.queenRayMask, ~toQueen) << "the queen's ray does not depend on the targets";
  EXPECT_EQ(l.node.pieceRayMask, ~Bitboard(0));

  // With no targets the narrowest list takes nothing; the middle one still
  // takes the knight that screens the queen, not the bishop before the rook.
  const int a1 = S<Us>("a1");
  l = MakeList<Us>(QUIESCE_NARROW, 0);
  EXPECT_TRUE(l.moves.empty());
  l = MakeList<Us>(QUIESCE_MIDDLE, 0);
  ASSERT_EQ(l.Of(a1, S<Us>("a4")).size(), 1u);
  EXPECT_TRUE(l.Of(a1, S<Us>("c1")).empty());
  EXPECT_EQ(l.moves.size(), 1u);
}

TEST_F(CaptureLists, RayMasksClearTheSquaresUpToAManBehindOneBlocker) { FOR_BOTH_COLOURS(RayMasks); }

template <int Us>
void PinnedMen() {
  // King e1. Knight c3 pinned on the diagonal by a5, bishop e3 on the file by
  // e8, rook c1 on the rank by a1.
  Load<Us>("4r2k/8/8/b7/8/2N1B3/8/r1R1K3 w - -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    const Listing l = MakeList<Us>(variant);
    EXPECT_EQ(l.node.ownMen, Set<Us>({"e1", "c1"}));
    EXPECT_EQ(l.Targets(S<Us>("c1")), Set<Us>({"b1", "d1"}));
    EXPECT_EQ(l.Of(S<Us>("c1"), S<Us>("a1")).size(), 1u) << "the pinner can be taken";
    EXPECT_EQ(l.Targets(S<Us>("c3")), 0u);
    EXPECT_EQ(l.Targets(S<Us>("e3")), 0u);
  }
  // A pawn one step from promotion pinned on its file: no capture with
  // underpromotion may come from it either.
  Load<Us>("3nr2k/4P3/8/8/8/8/8/4K3 w - -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    Listing l = MakeList<Us>(variant);
    EXPECT_EQ(l.node.ownMen, Set<Us>({"e1"}));
    EXPECT_TRUE(l.Of(S<Us>("e7"), S<Us>("d8")).empty());
    Move under[16] = {0};
    GenerateUnderpromotions<Us>(under, &l.node);
    EXPECT_EQ(under[0], 0u);
  }
  // A rook pinned on the file keeps its quiet moves along it.
  Load<Us>("4r2k/8/8/8/4R3/8/8/4K3 w - -");
  for (int variant : ALL_VARIANTS) {
    SCOPED_TRACE(variant);
    const Listing l = MakeList<Us>(variant);
    EXPECT_TRUE(l.node.ownMen >> S<Us>("e4") & 1);
    EXPECT_EQ(l.Targets(S<Us>("e4")), Set<Us>({"e2", "e3", "e5", "e6", "e7"}));
    EXPECT_EQ(l.Of(S<Us>("e4"), S<Us>("e8")).size(), 1u);
  }
}

TEST_F(CaptureLists, PinnedKnightAndCrossPinnedBishopLoseTheirQuietMovesAPinnedRookKeepsItsLine) {
  FOR_BOTH_COLOURS(PinnedMen);
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
