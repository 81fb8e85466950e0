// Build-time generator of MATERIAL_TABLE.
//
// Usage: gen_material <output.cpp>
//
// An entry is a correction, in internal points, to the nominal balance of its
// row (P 1024, N and B 3072, R 5120, Q 10240; queens cancel, see below). Every entry follows from the
// rule below; its only numbers are the reference rows listed in ANCHORS, the
// drawn-lead fraction and the rook threshold of step 4.
//
// Reading a row. The queen digit means "queens on": the row cannot tell
// whether Black has a queen beside White's, so the rule takes it that both
// sides have one (digit 1) or neither (digit 0). Queens never make an
// imbalance; they only weigh in as pieces on the board. Exchanging the colours
// of a row under the same queen digit therefore negates its entry, and a row
// with the same men on both sides is 0.
//
// 1. Pawn worth. Each pawn a side has more is worth
//      slope = s0 + (sum over the pieces of both sides of c[piece]) / 2,
//    queens counted on both sides when the digit is 1. A piece on the board
//    changes what a pawn is worth: heavy pieces make it count less. s0 and the
//    four amounts c[N], c[B], c[R], c[Q] are the unique values that give the
//    five pawn rows (no pieces, one bishop each, one rook each, the full set
//    without queens, the full set with them): s0 171, c[N] +30.5, c[B] -27,
//    c[R] -114, c[Q] -226. The slope does not depend on how many pawns there
//    are, so those rows hold at every pawn count.
//
// 2. Pieces by pawn level. With the pawn level k = (white pawns + black
//    pawns) / 2, a side's piece worth is
//      knights * n(k) + bishops * b(k) + rooks * r(k)
//      + bp(k) if it has two bishops + np(k) if it has two knights
//      + mp(k) for each two minor pieces it has more than the other side,
//    and the imbalance is White's worth less Black's. The six functions are
//    linear in k between the pawn levels 0, 2 and 8. At each of these levels
//    they are the unique values that give six reference imbalances at that
//    level:
//      level 2 and 8: rook against knight, rook against bishop, two bishops
//        against rook, bishop and knight against rook, two knights against
//        rook, two bishops against nothing. A reference imbalance given at two
//        levels is linear in k between and beyond them.
//      level 0 (no pawns): rook, two knights, bishop and knight, two bishops,
//        each against nothing; rook against knight and rook against bishop
//        from their pawn lines carried down to k = 0.
//    For the reader, rounded (n, b, r, bp, np, mp):
//      k = 0: -266.7, 118.3, 580, 473, -46, 399.4
//      k = 2: -141.3, 185.7, 580, 486, -20, 294.6
//      k = 8:  163,   316,   508, 488, -19, 161
//
// 3. The correction C is the pawn worth times the pawn difference plus the
//    imbalance, rounded to the nearest integer (halves away from zero). The
//    lead is T = nominal balance + C.
//
// 4. A side without pawns has trouble making its lead count. When the side
//    ahead (by T) has no pawn:
//      - if its only piece is one knight or one bishop it cannot win: T = 0;
//      - else if the other side still has a piece (a queen under digit 1
//        counts) and the side ahead is less than a rook up by the nominal
//        balance: it keeps one eighth of T, truncated toward zero;
//      - else T stands.
//
// 5. The entry is T less the nominal balance.
//
// The generator checks every reference row of ANCHORS and the rows that
// follow from step 4 (a lone minor piece counts 0; rook against a minor
// piece without pawns) against the table it has built, together with the
// colour exchange of every row (which makes rows of equal men 0) and the
// 16-bit range, and writes nothing when any of them fails.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "../src/eval/material.h"

namespace {

// --- Rows ---------------------------------------------------------------------

struct Side {
  int knights, bishops, rooks, queens, pawns;
  int minors() const { return knights + bishops; }
  int pieces() const { return knights + bishops + rooks + queens; }
};

struct Row {
  Side white, black;
};

Row DecodeRow(int index) {
  int digit[MATERIAL_DIGITS];
  for (int d = 0; d < MATERIAL_DIGITS; ++d) {
    digit[d] = index % MATERIAL_RADIX[d];
    index /= MATERIAL_RADIX[d];
  }
  Row row;
  row.white = {digit[DIGIT_WHITE_KNIGHT], digit[DIGIT_WHITE_BISHOP], digit[DIGIT_WHITE_ROOK], digit[DIGIT_WHITE_QUEEN],
               digit[DIGIT_WHITE_PAWN]};
  row.black = {digit[DIGIT_BLACK_KNIGHT], digit[DIGIT_BLACK_BISHOP], digit[DIGIT_BLACK_ROOK], digit[DIGIT_WHITE_QUEEN],
               digit[DIGIT_BLACK_PAWN]};
  return row;
}

int EncodeRow(const Row& row) {
  const int digit[MATERIAL_DIGITS] = {row.white.queens, row.white.knights, row.black.knights,
                                      row.white.bishops, row.black.bishops, row.white.rooks,
                                      row.black.rooks,   row.white.pawns,   row.black.pawns};
  int index = 0;
  for (int d = 0; d < MATERIAL_DIGITS; ++d) index += digit[d] * MATERIAL_WEIGHT[d];
  return index;
}

constexpr int PAWN = 1024, MINOR = 3072, ROOK = 5120;

// Queens cancel: the digit stands for both sides.
int NominalBalance(const Row& row) {
  const Side& w = row.white;
  const Side& b = row.black;
  return PAWN * (w.pawns - b.pawns) + MINOR * (w.minors() - b.minors()) + ROOK * (w.rooks - b.rooks);
}

// --- Reference rows -----------------------------------------------------------

// Pawn worth with equal pieces on both sides (entry per pawn more).
struct PawnAnchors {
  int noPieces, bishopEach, rookEach, fullSetNoQueen, fullSetWithQueen;
};

// A reference imbalance with equal pawns: its entry at two pawn levels (pawns
// each), linear in between and beyond.
struct ImbalanceLine {
  double level0, entry0, level1, entry1;
  double at(double k) const { return entry0 + (entry1 - entry0) * (k - level0) / (level1 - level0); }
};

struct Anchors {
  PawnAnchors pawn;
  ImbalanceLine rookKnight, rookBishop, bishopsRook, bishopKnightRook, knightsRook, bishopsNothing;
  // Without pawns, against nothing.
  int rookAlone, knightsAlone, bishopKnightAlone, bishopsAlone;
};

constexpr Anchors ANCHORS = {
    {171, 144, 57, -50, -276},
    {1, 784, 8, 345},
    {1, 428, 8, 192},
    {2, 572, 8, 773},
    {2, -241, 8, 132},
    {2, -588, 8, -40},
    {2, 1152, 8, 1281},
    580,
    -180,
    251,
    1109,
};

// Step 4.
constexpr int DRAWN_LEAD_DIVISOR = 8;
constexpr int DRAWN_LEAD_LIMIT = ROOK;

// --- Step 1: pawn worth ---------------------------------------------------------

struct PawnWorth {
  double base, knight, bishop, rook, queen;
};

PawnWorth SolvePawnWorth(const PawnAnchors& a) {
  PawnWorth p{};
  p.base = a.noPieces;
  p.bishop = a.bishopEach - p.base;  // (c + c) / 2 = c
  p.rook = a.rookEach - p.base;
  // Full set: two of each minor and two rooks per side, so slope = base + 2(cN + cB + cR).
  p.knight = (a.fullSetNoQueen - p.base) / 2.0 - p.bishop - p.rook;
  p.queen = a.fullSetWithQueen - a.fullSetNoQueen;
  return p;
}

double PawnSlope(const PawnWorth& p, const Row& row) {
  auto side = [&](const Side& s) {
    return s.knights * p.knight + s.bishops * p.bishop + s.rooks * p.rook + s.queens * p.queen;
  };
  return p.base + (side(row.white) + side(row.black)) / 2.0;
}

// --- Step 2: pieces by pawn level -----------------------------------------------

struct PieceWorth {
  double knight, bishop, rook, bishopPair, knightPair, minorsAhead;
};

// Solves the six values from the six reference imbalances of a level. With
// n, b, r, bp, np, mp for the six:
//   rook - knight          = r - n
//   rook - bishop          = r - b
//   two bishops - nothing  = 2b + bp + mp
//   two bishops - rook     = 2b + bp + mp - r
//   bishop, knight - rook  = b + n + mp - r
//   two knights - rook     = 2n + np + mp - r
PieceWorth SolveWithPawns(const Anchors& a, double k) {
  PieceWorth w{};
  w.rook = a.bishopsNothing.at(k) - a.bishopsRook.at(k);
  w.knight = w.rook - a.rookKnight.at(k);
  w.bishop = w.rook - a.rookBishop.at(k);
  w.minorsAhead = a.bishopKnightRook.at(k) + w.rook - w.bishop - w.knight;
  w.bishopPair = a.bishopsNothing.at(k) - 2 * w.bishop - w.minorsAhead;
  w.knightPair = a.knightsRook.at(k) + w.rook - 2 * w.knight - w.minorsAhead;
  return w;
}

// Without pawns: the rook alone gives r, the minor pieces against the rook
// come from the pawn lines, the rest from the pieces against nothing.
PieceWorth SolveWithoutPawns(const Anchors& a) {
  PieceWorth w{};
  w.rook = a.rookAlone;
  w.knight = w.rook - a.rookKnight.at(0);
  w.bishop = w.rook - a.rookBishop.at(0);
  w.minorsAhead = a.bishopKnightAlone - w.bishop - w.knight;
  w.bishopPair = a.bishopsAlone - 2 * w.bishop - w.minorsAhead;
  w.knightPair = a.knightsAlone - 2 * w.knight - w.minorsAhead;
  return w;
}

PieceWorth Blend(const PieceWorth& x, const PieceWorth& y, double t) {
  auto mix = [t](double u, double v) { return u + (v - u) * t; };
  return {mix(x.knight, y.knight),         mix(x.bishop, y.bishop),         mix(x.rook, y.rook),
          mix(x.bishopPair, y.bishopPair), mix(x.knightPair, y.knightPair), mix(x.minorsAhead, y.minorsAhead)};
}

struct PieceWorthByLevel {
  PieceWorth level0, level2, level8;
  PieceWorth at(double k) const {
    return k <= 2 ? Blend(level0, level2, k / 2) : Blend(level2, level8, (k - 2) / 6);
  }
};

double SideWorth(const PieceWorth& w, const Side& s, const Side& other) {
  const int minorsAhead = s.minors() > other.minors() ? (s.minors() - other.minors()) / 2 : 0;
  return s.knights * w.knight + s.bishops * w.bishop + s.rooks * w.rook + (s.bishops >= 2 ? w.bishopPair : 0) +
         (s.knights >= 2 ? w.knightPair : 0) + minorsAhead * w.minorsAhead;
}

// --- Steps 3 to 5 -------------------------------------------------------------

struct Rule {
  PawnWorth pawn;
  PieceWorthByLevel pieces;
};

Rule MakeRule(const Anchors& a) {
  return {SolvePawnWorth(a.pawn), {SolveWithoutPawns(a), SolveWithPawns(a, 2), SolveWithPawns(a, 8)}};
}

bool LoneMinor(const Side& s) { return s.minors() == 1 && s.rooks == 0 && s.queens == 0; }

// The lead of the side ahead when that side has no pawn (step 4), from that
// side's point of view.
int DrawishLead(int lead, int nominalLead, const Side& ahead, const Side& behind) {
  if (ahead.pawns > 0) return lead;
  if (LoneMinor(ahead)) return 0;
  if (behind.pieces() > 0 && nominalLead < DRAWN_LEAD_LIMIT) return lead / DRAWN_LEAD_DIVISOR;
  return lead;
}

int Entry(const Rule& rule, const Row& row) {
  const Side& w = row.white;
  const Side& b = row.black;
  const double k = (w.pawns + b.pawns) / 2.0;
  const PieceWorth worth = rule.pieces.at(k);
  const double pawnTerm = PawnSlope(rule.pawn, row) * (w.pawns - b.pawns);
  const double imbalance = SideWorth(worth, w, b) - SideWorth(worth, b, w);
  const int correction = int(std::lround(pawnTerm + imbalance));
  const int nominal = NominalBalance(row);
  int lead = nominal + correction;
  if (lead > 0) lead = DrawishLead(lead, nominal, w, b);
  if (lead < 0) lead = -DrawishLead(-lead, -nominal, b, w);
  return lead - nominal;
}

// --- Self-check -----------------------------------------------------------------

struct Check {
  const char* what;
  Row row;
  int expected;
};

Row Make(int queens, Side white, Side black) {
  white.queens = black.queens = queens;
  return {white, black};
}

bool CheckTable(const std::vector<int>& table) {
  const Side nothing{0, 0, 0, 0, 0};
  const Side full{2, 2, 2, 0, 8};
  auto with = [](Side s, int pawns) {
    s.pawns = pawns;
    return s;
  };
  std::vector<Check> checks = {
      {"full set, queens on", Make(1, full, full), 0},
      {"full set, a pawn more", Make(1, full, with(full, 7)), -276},
      {"full set, two pawns more", Make(1, full, with(full, 6)), -552},
      {"full set without queens, a pawn more", Make(0, full, with(full, 7)), -50},
      {"rook, a pawn more", Make(0, {0, 0, 1, 0, 4}, {0, 0, 1, 0, 3}), 57},
      {"bishop, a pawn more", Make(0, {0, 1, 0, 0, 4}, {0, 1, 0, 0, 3}), 144},
      {"a pawn more, no pieces", Make(0, {0, 0, 0, 0, 4}, {0, 0, 0, 0, 3}), 171},
      {"lone knight", Make(0, {1, 0, 0, 0, 0}, nothing), -3072},
      {"lone bishop", Make(0, {0, 1, 0, 0, 0}, nothing), -3072},
      {"rook alone", Make(0, {0, 0, 1, 0, 0}, nothing), 580},
      {"two knights alone", Make(0, {2, 0, 0, 0, 0}, nothing), -180},
      {"bishop and knight alone", Make(0, {1, 1, 0, 0, 0}, nothing), 251},
      {"two bishops alone", Make(0, {0, 2, 0, 0, 0}, nothing), 1109},
      {"rook against bishop, no pawns", Make(0, {0, 0, 1, 0, 0}, {0, 1, 0, 0, 0}), -1735},
      {"rook against knight, no pawns", Make(0, {0, 0, 1, 0, 0}, {1, 0, 0, 0, 0}), -1687},
      {"rook against knight, one pawn each", Make(0, {0, 0, 1, 0, 1}, {1, 0, 0, 0, 1}), 784},
      {"rook against knight, eight each", Make(0, {0, 0, 1, 0, 8}, {1, 0, 0, 0, 8}), 345},
      {"rook against bishop, one pawn each", Make(0, {0, 0, 1, 0, 1}, {0, 1, 0, 0, 1}), 428},
      {"rook against bishop, eight each", Make(0, {0, 0, 1, 0, 8}, {0, 1, 0, 0, 8}), 192},
      {"two bishops against rook, two each", Make(0, {0, 2, 0, 0, 2}, {0, 0, 1, 0, 2}), 572},
      {"two bishops against rook, eight each", Make(0, {0, 2, 0, 0, 8}, {0, 0, 1, 0, 8}), 773},
      {"bishop and knight against rook, two each", Make(0, {1, 1, 0, 0, 2}, {0, 0, 1, 0, 2}), -241},
      {"bishop and knight against rook, eight each", Make(0, {1, 1, 0, 0, 8}, {0, 0, 1, 0, 8}), 132},
      {"two knights against rook, two each", Make(0, {2, 0, 0, 0, 2}, {0, 0, 1, 0, 2}), -588},
      {"two knights against rook, eight each", Make(0, {2, 0, 0, 0, 8}, {0, 0, 1, 0, 8}), -40},
      {"two bishops against nothing, two each", Make(0, {0, 2, 0, 0, 2}, {0, 0, 0, 0, 2}), 1152},
      {"two bishops against nothing, eight each", Make(0, {0, 2, 0, 0, 8}, {0, 0, 0, 0, 8}), 1281},
  };
  bool ok = true;
  for (const Check& c : checks) {
    const int got = table[EncodeRow(c.row)];
    if (got != c.expected) {
      std::fprintf(stderr, "gen_material: %s gives %d, wanted %d\n", c.what, got, c.expected);
      ok = false;
    }
  }
  for (int index = 0; index < MATERIAL_TABLE_SIZE; ++index) {
    const Row row = DecodeRow(index);
    const int swapped = EncodeRow({row.black, row.white});
    if (table[index] != -table[swapped]) {
      std::fprintf(stderr, "gen_material: row %d is %d but its colour exchange %d is %d\n", index, table[index],
                   swapped, table[swapped]);
      ok = false;
      break;
    }
    if (table[index] < -32768 || table[index] > 32767) {
      std::fprintf(stderr, "gen_material: row %d is %d, out of 16 bits\n", index, table[index]);
      ok = false;
      break;
    }
  }
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: gen_material <output.cpp>\n");
    return 2;
  }
  const Rule rule = MakeRule(ANCHORS);
  std::vector<int> table(MATERIAL_TABLE_SIZE);
  for (int index = 0; index < MATERIAL_TABLE_SIZE; ++index) table[index] = Entry(rule, DecodeRow(index));
  if (!CheckTable(table)) return 1;

  FILE* out = std::fopen(argv[1], "w");
  if (!out) {
    std::perror(argv[1]);
    return 1;
  }
  bool ok = std::fprintf(out,
                         "// Written at build time by tools/gen_material.cpp from the rule in its header.\n"
                         "// Do not edit.\n"
                         "#include \"eval/material.h\"\n\n"
                         "const int16_t MATERIAL_TABLE[MATERIAL_TABLE_ROWS] = {\n") > 0;
  // The rows past the normal ones stand for no real material: no correction.
  for (int index = 0; ok && index < MATERIAL_TABLE_ROWS; ++index)
    ok = std::fprintf(out, "%d,%s", index < MATERIAL_TABLE_SIZE ? table[index] : 0, (index % 16 == 15) ? "\n" : "") > 0;
  ok = ok && std::fprintf(out, "\n};\n") > 0;
  ok = (std::fclose(out) == 0) && ok;
  if (!ok) {
    std::fprintf(stderr, "gen_material: writing %s failed\n", argv[1]);
    std::remove(argv[1]);
    return 1;
  }
  return 0;
}
