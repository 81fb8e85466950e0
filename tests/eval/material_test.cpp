// Material table, scale table and the material-only corrections, against the
// reference rows and classes as stated for them. Rows are addressed through
// an index built here from piece counts and the digit weights as stated, not
// through the program's own digit table.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>

#include "board/keys.h"
#include "eval/material.h"

namespace {

// --- Material rows --------------------------------------------------------------

struct Men {
  int knights = 0, bishops = 0, rooks = 0, pawns = 0;
};

Men N(int pawns = 0) { return {1, 0, 0, pawns}; }
Men B(int pawns = 0) { return {0, 1, 0, pawns}; }
Men R(int pawns = 0) { return {0, 0, 1, pawns}; }
Men Bare(int pawns = 0) { return {0, 0, 0, pawns}; }
Men FullSet(int pawns) { return {2, 2, 2, pawns}; }

// White queen 1, white knight 2, black knight 6, white bishop 18, black bishop
// 54, white rook 162, black rook 486, white pawn 1458, black pawn 13122.
int Index(int whiteQueen, const Men& w, const Men& b) {
  return whiteQueen * 1 + w.knights * 2 + b.knights * 6 + w.bishops * 18 + b.bishops * 54 + w.rooks * 162 +
         b.rooks * 486 + w.pawns * 1458 + b.pawns * 13122;
}

int Entry(int whiteQueen, const Men& w, const Men& b) { return MATERIAL_TABLE[Index(whiteQueen, w, b)]; }

std::string Describe(int whiteQueen, const Men& w, const Men& b) {
  auto side = [](const Men& m) {
    return std::to_string(m.knights) + "N " + std::to_string(m.bishops) + "B " + std::to_string(m.rooks) + "R " +
           std::to_string(m.pawns) + "P";
  };
  return "queen digit " + std::to_string(whiteQueen) + ", White " + side(w) + ", Black " + side(b);
}

// Every normal row, through the counts; stops at the first failed assertion.
template <class F>
void ForEachRow(F f) {
  for (int q = 0; q < 2; ++q)
    for (int wn = 0; wn < 3; ++wn)
      for (int bn = 0; bn < 3; ++bn)
        for (int wb = 0; wb < 3; ++wb)
          for (int bb = 0; bb < 3; ++bb)
            for (int wr = 0; wr < 3; ++wr)
              for (int br = 0; br < 3; ++br)
                for (int wp = 0; wp < 9; ++wp)
                  for (int bp = 0; bp < 9; ++bp) {
                    f(q, Men{wn, wb, wr, wp}, Men{bn, bb, br, bp});
                    if (::testing::Test::HasFatalFailure()) return;  // one report, not thousands
                  }
}

// The signature of a material set, summed from the board core's steps.
struct Material {
  int whiteQueens = 0, blackQueens = 0;
  Men white, black;
  int whiteLight = 0, whiteDark = 0, blackLight = 0, blackDark = 0;  // bishops by square colour
};

uint64_t Signature(const Material& m) {
  uint64_t s = MATERIAL_SIGNATURE_BASE;
  s += MATERIAL_STEPS[0] * m.white.pawns + MATERIAL_STEPS[1] * m.black.pawns;
  s += MATERIAL_STEPS[2] * m.white.knights + MATERIAL_STEPS[3] * m.black.knights;
  s += MATERIAL_STEPS[4] * m.whiteLight + MATERIAL_STEPS[10] * m.whiteDark;
  s += MATERIAL_STEPS[5] * m.blackLight + MATERIAL_STEPS[11] * m.blackDark;
  s += MATERIAL_STEPS[6] * m.white.rooks + MATERIAL_STEPS[7] * m.black.rooks;
  s += MATERIAL_STEPS[8] * m.whiteQueens + MATERIAL_STEPS[9] * m.blackQueens;
  return s;
}

// The reference rows and the colour exchange are checked by the table's
// generator; here a rule every row obeys.
TEST(MaterialTable, EqualPiecesDependOnThePawnDifferenceOnly) {
  // With the same pieces on both sides and pawns on both, the entry is set by
  // the difference alone, and grows with it linearly (within rounding).
  ForEachRow([](int q, const Men& w, const Men& b) {
    if (w.knights != b.knights || w.bishops != b.bishops || w.rooks != b.rooks) return;
    if (w.pawns == 0 || b.pawns == 0 || w.pawns <= b.pawns) return;
    const int d = w.pawns - b.pawns;
    Men w1 = b;
    w1.pawns = 1 + d;
    Men b1 = b;
    b1.pawns = 1;
    ASSERT_EQ(Entry(q, w, b), Entry(q, w1, b1)) << Describe(q, w, b);
    Men one = b;
    one.pawns = b.pawns + 1;
    const int slope = Entry(q, one, b);
    ASSERT_LE(std::abs(Entry(q, w, b) - d * slope), d) << Describe(q, w, b);
  });
}

TEST(MaterialTable, QueenDigitIsReadAsQueensOnBothSides) {
  // White queen with or without a black one: the same row, so an entry never
  // counts White's queen as an extra piece. Queen against queen with equal
  // men is 0, and the pawn is worth less with queens on.
  EXPECT_EQ(Entry(1, R(3), R(3)), 0);
  EXPECT_LT(Entry(1, R(4), R(3)), Entry(0, R(4), R(3)));
}

// --- Material value --------------------------------------------------------------

TEST(MaterialValue, AddsTableAdjustAndNominalBalance) {
  Material start;
  start.whiteQueens = start.blackQueens = 1;
  start.white = start.black = FullSet(8);
  start.whiteLight = start.whiteDark = start.blackLight = start.blackDark = 1;
  EXPECT_EQ(MaterialValue(Signature(start), 0), 0);
  EXPECT_EQ(MaterialValue(Signature(start), -37), -37);

  // White a rook against a knight, one pawn each: 2 pawns nominal plus the entry.
  Material rn;
  rn.white = R(1);
  rn.black = N(1);
  EXPECT_EQ(MaterialValue(Signature(rn), 10), 2048 + Entry(0, R(1), N(1)) + 10);

  // Queen against rook: the row is "queens on, rook down", the nominal part
  // counts the real queen.
  Material qr;
  qr.whiteQueens = 1;
  qr.black = R();
  EXPECT_EQ(MaterialValue(Signature(qr), 0), 5120 + Entry(1, Bare(), R()));
}

// --- Scale table -----------------------------------------------------------------

TEST(ScaleScore, ReadsBitsFromThirtyFourAndTruncatesTowardZero) {
  Material opposite;
  opposite.white = B(3);
  opposite.black = B(2);
  opposite.whiteLight = 1;
  opposite.blackDark = 1;
  const uint64_t sig = Signature(opposite);
  EXPECT_EQ(sig >> 34 & 0x3fff, 0x9u);
  EXPECT_EQ(ScaleScore(100, sig), 44);  // 5700 / 128 = 44.5
  EXPECT_EQ(ScaleScore(-100, sig), -44);

  Material queens;
  queens.whiteQueens = queens.blackQueens = 1;
  queens.white = queens.black = FullSet(8);
  queens.whiteLight = queens.whiteDark = queens.blackLight = queens.blackDark = 1;
  EXPECT_EQ(ScaleScore(-77, Signature(queens)), -77);
}

// --- Rook endings ----------------------------------------------------------------

constexpr int Sq(const char* name) { return (name[1] - '1') * 8 + (name[0] - 'a'); }
constexpr Bitboard Bit(const char* name) { return Bitboard(1) << Sq(name); }

uint64_t RookEachSignature(int whitePawns, int blackPawns) {
  Material m;
  m.white = R(whitePawns);
  m.black = R(blackPawns);
  return Signature(m);
}

RookEndingMen Men_(Bitboard whitePawns, Bitboard blackPawns, Bitboard passed, const char* whiteRook,
                   const char* blackRook, Bitboard kings) {
  RookEndingMen men{};
  men.passedPawns = passed;
  men.whitePawns = whitePawns;
  men.blackPawns = blackPawns;
  men.whiteRooks = Bit(whiteRook);
  men.blackRooks = Bit(blackRook);
  men.occupied = whitePawns | blackPawns | men.whiteRooks | men.blackRooks | kings;
  return men;
}

TEST(MaterialRookEnding, ScalingAndPenaltyForTheEnginesSide) {
  const RookEndingMen men = Men_(Bit("a2"), Bit("h7"), 0, "a1", "h8", Bit("e1") | Bit("e8"));
  const uint64_t sig = RookEachSignature(1, 1);
  const struct {
    int score, scaling, penalty, sign, expected;
  } cases[] = {
      {345, 0, 0, 1, 0},     {345, 0, 500, 1, -50},   {345, 0, 500, -1, 50},     {345, 100, 0, 1, 345},
      {345, 50, 0, 1, 172},  {-345, 50, 0, 1, -172},  {0, 100, 1009, 1, -100},  // -(1009) / 10 truncates
  };
  for (const auto& c : cases)
    EXPECT_EQ(RookEndingCorrection(c.score, sig, men, c.scaling, c.penalty, c.sign), c.expected)
        << c.score << " " << c.scaling << " " << c.penalty << " " << c.sign;
  // Any other piece, or a second rook, turns it off.
  Material m;
  m.white = {1, 0, 1, 1};
  m.black = R();
  EXPECT_EQ(RookEndingCorrection(345, Signature(m), men, 0, 500, 1), 345);
  m.white = R(1);
  m.whiteQueens = m.blackQueens = 1;
  EXPECT_EQ(RookEndingCorrection(345, Signature(m), men, 0, 500, 1), 345);
  m.whiteQueens = m.blackQueens = 0;
  m.white = {0, 0, 2, 1};
  EXPECT_EQ(RookEndingCorrection(345, Signature(m), men, 0, 500, 1), 345);
}

// A passer blocked by its own rook with the enemy rook behind it, in contact,
// is worth less by the rank it has reached; the deduction comes before the
// scaling. Black's passers mirror White's.
TEST(MaterialRookEnding, OwnRookInFrontEnemyRookBehind) {
  const struct {
    const char *pawn, *ownRook, *enemyRook, *otherPawn;
    bool passed;
    int deduction;
  } cases[] = {
      {"e7", "e8", "e1", nullptr, true, 160}, {"e6", "e8", "e2", nullptr, true, 100},
      {"c5", "c7", "c1", nullptr, true, 52},  {"g4", "g8", "g3", nullptr, true, 22},
      {"e3", "e8", "e1", nullptr, true, 0},   // third rank: not counted
      {"e6", "e1", "e8", nullptr, true, 0},   // the good way round
      {"e6", "e8", "d1", nullptr, true, 0},   // enemy rook not on the file
      {"e6", "e8", "e1", "d5", true, 0},      // defended by a pawn
      {"e6", "e8", "e1", "a2", false, 0},     // not passed
  };
  const auto mirror = [](const char* s) { return std::string{s[0], char('1' + '8' - s[1])}; };
  for (const auto& c : cases) {
    for (const bool black : {false, true}) {
      SCOPED_TRACE(std::string(c.pawn) + (black ? " mirrored" : ""));
      const auto sq = [&](const char* s) { return black ? mirror(s) : std::string(s); };
      Bitboard pawns = Bit(sq(c.pawn).c_str());
      if (c.otherPawn) pawns |= Bit(sq(c.otherPawn).c_str());
      const Bitboard passed = c.passed ? pawns : 0;
      const Bitboard kings = black ? Bit("a8") | Bit("h1") : Bit("a1") | Bit("h8");
      const RookEndingMen men =
          black ? Men_(0, pawns, passed, sq(c.enemyRook).c_str(), sq(c.ownRook).c_str(), kings)
                : Men_(pawns, 0, passed, sq(c.ownRook).c_str(), sq(c.enemyRook).c_str(), kings);
      const int count = c.otherPawn ? 2 : 1;
      const uint64_t sig = black ? RookEachSignature(0, count) : RookEachSignature(count, 0);
      const int sign = black ? -1 : 1;
      EXPECT_EQ(RookEndingCorrection(sign * 200, sig, men, 100, 0, 1), sign * (200 - c.deduction));
    }
  }
  // The black king on e3 cuts the enemy rook's view: no contact.
  const RookEndingMen cut = Men_(Bit("e6") | Bit("a2"), 0, Bit("e6"), "e8", "e1", Bit("e3") | Bit("h8"));
  EXPECT_EQ(RookEndingCorrection(200, RookEachSignature(2, 0), cut, 100, 0, 1), 200);
  const RookEndingMen men = Men_(Bit("e6"), 0, Bit("e6"), "e8", "e1", Bit("a1") | Bit("h8"));
  EXPECT_EQ(RookEndingCorrection(300, RookEachSignature(1, 0), men, 50, 200, 1), (300 - 100) / 2 - 20);
}

// --- Opposite bishops -------------------------------------------------------------

uint64_t BishopSignature(int whiteLight, int whiteDark, int blackLight, int blackDark, Men whiteExtra = {},
                         Men blackExtra = {}) {
  Material m;
  m.white = whiteExtra;
  m.black = blackExtra;
  m.white.bishops += whiteLight + whiteDark;
  m.black.bishops += blackLight + blackDark;
  m.whiteLight = whiteLight;
  m.whiteDark = whiteDark;
  m.blackLight = blackLight;
  m.blackDark = blackDark;
  return Signature(m);
}

// The first penalty for the engine's side whatever else stands; the endgame
// one on top with nothing but pawns beside the bishops.
TEST(MaterialOppositeBishops, PenaltiesForTheEnginesSide) {
  Material queens;
  queens.whiteQueens = queens.blackQueens = 1;
  queens.white = B();
  queens.black = B();
  queens.whiteLight = queens.blackDark = 1;
  const struct {
    int32_t score;
    uint64_t signature;
    int penalty, endgame, sign;
    int32_t expected;
  } cases[] = {
      {50, BishopSignature(1, 0, 0, 1, Bare(3), Bare(3)), 1000, 0, 1, -50},
      {50, BishopSignature(0, 1, 1, 0, Bare(3), Bare(3)), 1000, 0, 1, -50},
      {50, BishopSignature(1, 0, 0, 1, Bare(3), Bare(3)), 1000, 0, -1, 150},
      {50, BishopSignature(1, 0, 0, 1, Bare(3), Bare(3)), 1000, 300, 1, -80},
      {50, BishopSignature(1, 0, 0, 1, Bare(3), Bare(3)), 0, 305, -1, 80},
      // Other pieces keep only the first penalty.
      {0, BishopSignature(1, 0, 0, 1, R(2), R(2)), 1000, 300, 1, -100},
      {0, BishopSignature(0, 1, 1, 0, N(), Bare()), 1000, 300, 1, -100},
      {0, Signature(queens), 1000, 300, 1, -100},
      // Not for bishops of the same colour, a pair against one, or one alone.
      {50, BishopSignature(1, 0, 1, 0), 1000, 300, 1, 50},
      {50, BishopSignature(0, 1, 0, 1), 1000, 300, 1, 50},
      {50, BishopSignature(1, 1, 0, 1), 1000, 300, 1, 50},
      {50, BishopSignature(1, 0, 0, 0), 1000, 300, 1, 50},
  };
  for (const auto& c : cases)
    EXPECT_EQ(OppositeBishopsCorrection(c.score, c.signature, c.penalty, c.endgame, c.sign), c.expected)
        << std::hex << c.signature << std::dec << " " << c.penalty << " " << c.endgame << " " << c.sign;
}

}  // namespace
