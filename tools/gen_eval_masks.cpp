// Build-time generator of the evaluator's square masks and the pawn-to-king
// distance table (declared in src/eval/eval_masks.h).
//
// Usage: gen_eval_masks <output.cpp>
//
// Rules, for White; a Black mask is the White mask of the rank-flipped square,
// rank-flipped, unless said otherwise. f and r are the file and rank (0-7) of
// the square.
//   FILE_AHEAD_WHITE   file f, ranks above r.  FILE_AHEAD_BLACK: ranks below r.
//   ADJACENT_FILES     files f - 1 and f + 1, all ranks.
//   PAWN_BEHIND        adjacent files, ranks r and lower.
//   PASSED_SPAN        files f - 1 to f + 1, ranks above r.
//   FILES_LEFT/RIGHT   files below f / above f, all ranks (no colour).
//   PASSER_BAND        adjacent files, ranks r - 2 to r + 2 cut by the board.
//   RANKS_ABOVE/BELOW  every rank above / below r (no colour).
//   SIDE_NEIGHBOURS    the squares at f - 1 and f + 1 on rank r.
//   KING_DIAGONAL      the diagonal through the king towards the far wing:
//                      up the board from ranks 1-4, down from ranks 5-8; to the
//                      right from files a-d, to the left from e-h; without the
//                      king's square and without squares on the board's edge.
//                      Turned-over boards give the same table, so one serves both kings.
//   WING_TRAP          king b1 or c1: a1, b1, a2; f1 or g1: g1, h1, h2; b8 or
//                      c8: a7, a8, b8; f8 or g8: h7, g8, h8; empty elsewhere.
//   ESCORT             pawn on rank 5: rank 7 on files f - 1 to f + 1; on
//                      ranks 6 and 7: ranks 7 and 8 on those files; on a rook
//                      file only the one inner file counts (a6: b7, b8).
//   PAWN_SQUARE_REACH  [colour][side to move][pawn]: the enemy king squares
//                      that catch the pawn. White pawn: steps = 7 - r, one less
//                      on rank 2 (the double step); a king on (kf, kr) has
//                      dist = max(|kf - f|, 7 - kr) and catches it when dist <=
//                      steps with White to move, dist <= steps + 1 with Black
//                      to move. Black is the mirror.
//   PAWN_KING_DISTANCE [pawn][king], white pawn: T = 0 12 23 33 42 50 57 63,
//                      U = 0 6 12 17 21 25 25 25; df the file distance, dr =
//                      rank(king) - rank(pawn); dr > 0: max(T[df], U[dr]);
//                      otherwise T[max(df, -dr)].
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "../src/board/types.h"

namespace {

constexpr int Abs(int x) { return x < 0 ? -x : x; }
constexpr int Max(int a, int b) { return a > b ? a : b; }
constexpr bool OnBoard(int f, int r) { return f >= 0 && f < 8 && r >= 0 && r < 8; }
constexpr int Sq(int f, int r) { return r * 8 + f; }

Bitboard Where(bool (*keep)(int sq, int f, int r), int sq) {
  Bitboard set = 0;
  for (int r = 0; r < 8; ++r)
    for (int f = 0; f < 8; ++f)
      if (keep(sq, f, r)) set |= bit(Sq(f, r));
  return set;
}

constexpr Bitboard FlipRanks(Bitboard b) { return __builtin_bswap64(b); }

struct Masks {
  Bitboard fileAheadWhite[64], fileAheadBlack[64], adjacentFiles[64], behind[2][64], span[2][64];
  Bitboard filesLeft[64], filesRight[64], band[64], ranksAbove[64], ranksBelow[64], sideNeighbours[64];
  Bitboard kingDiagonal[64], wingTrap[64], escort[2][64], squareReach[2][2][64];
  int8_t kingDistance[64][64];
};

int T[8] = {0, 12, 23, 33, 42, 50, 57, 63};
int U[8] = {0, 6, 12, 17, 21, 25, 25, 25};

Bitboard KingDiagonal(int king) {
  const int kf = square_file(king), kr = square_rank(king);
  const int dr = kr <= 3 ? 1 : -1, df = kf <= 3 ? 1 : -1;
  Bitboard set = 0;
  for (int f = kf + df, r = kr + dr; OnBoard(f, r); f += df, r += dr)
    if (f != 0 && f != 7 && r != 0 && r != 7) set |= bit(Sq(f, r));
  return set;
}

Bitboard WingTrap(int king) {
  auto s = [](const char* n) { return bit((n[1] - '1') * 8 + (n[0] - 'a')); };
  switch (king) {
    case 1: case 2: return s("a1") | s("b1") | s("a2");
    case 5: case 6: return s("g1") | s("h1") | s("h2");
    case 57: case 58: return s("a7") | s("a8") | s("b8");
    case 61: case 62: return s("h7") | s("g8") | s("h8");
    default: return 0;
  }
}

Bitboard WhiteEscort(int sq) {
  const int f = square_file(sq), r = square_rank(sq);
  Bitboard files = 0;
  for (int g = f - 1; g <= f + 1; ++g)
    if (g >= 0 && g < 8) files |= FILE_A << g;
  if (f == 0) files = FILE_A << 1;
  if (f == 7) files = FILE_A << 6;
  constexpr Bitboard RANK_7 = 0xffull << 48, RANK_8 = 0xffull << 56;
  if (r == 4) return files & RANK_7;
  if (r == 5 || r == 6) return files & (RANK_7 | RANK_8);
  return 0;
}

// Black king squares that catch a white pawn on sq, with `side` to move.
Bitboard WhiteSquareReach(int sq, int side) {
  const int f = square_file(sq), r = square_rank(sq);
  const int steps = 7 - r - (r == 1 ? 1 : 0);
  Bitboard set = 0;
  for (int k = 0; k < 64; ++k) {
    const int dist = Max(Abs(square_file(k) - f), 7 - square_rank(k));
    if (dist <= steps + side) set |= bit(k);
  }
  return set;
}

void Build(Masks& m) {
  for (int sq = 0; sq < 64; ++sq) {
    m.fileAheadWhite[sq] = Where([](int s, int f, int r) { return f == square_file(s) && r > square_rank(s); }, sq);
    m.fileAheadBlack[sq] = Where([](int s, int f, int r) { return f == square_file(s) && r < square_rank(s); }, sq);
    m.adjacentFiles[sq] = Where([](int s, int f, int) { return Abs(f - square_file(s)) == 1; }, sq);
    m.behind[WHITE][sq] =
        Where([](int s, int f, int r) { return Abs(f - square_file(s)) == 1 && r <= square_rank(s); }, sq);
    m.span[WHITE][sq] =
        Where([](int s, int f, int r) { return Abs(f - square_file(s)) <= 1 && r > square_rank(s); }, sq);
    m.filesLeft[sq] = Where([](int s, int f, int) { return f < square_file(s); }, sq);
    m.filesRight[sq] = Where([](int s, int f, int) { return f > square_file(s); }, sq);
    m.band[sq] = Where(
        [](int s, int f, int r) { return Abs(f - square_file(s)) == 1 && Abs(r - square_rank(s)) <= 2; }, sq);
    m.ranksAbove[sq] = Where([](int s, int, int r) { return r > square_rank(s); }, sq);
    m.ranksBelow[sq] = Where([](int s, int, int r) { return r < square_rank(s); }, sq);
    m.sideNeighbours[sq] =
        Where([](int s, int f, int r) { return r == square_rank(s) && Abs(f - square_file(s)) == 1; }, sq);
    m.kingDiagonal[sq] = KingDiagonal(sq);
    m.wingTrap[sq] = WingTrap(sq);
    m.escort[WHITE][sq] = WhiteEscort(sq);
    for (int side = 0; side < 2; ++side) m.squareReach[WHITE][side][sq] = WhiteSquareReach(sq, side);
    for (int k = 0; k < 64; ++k) {
      const int df = Abs(square_file(k) - square_file(sq)), dr = square_rank(k) - square_rank(sq);
      m.kingDistance[sq][k] = int8_t(dr > 0 ? Max(T[df], U[dr]) : T[Max(df, -dr)]);
    }
  }
  // Black: the White mask of the rank-flipped square, rank-flipped; Black's
  // side to move plays White's part in the square rule.
  for (int sq = 0; sq < 64; ++sq) {
    m.behind[BLACK][sq] = FlipRanks(m.behind[WHITE][sq ^ 56]);
    m.span[BLACK][sq] = FlipRanks(m.span[WHITE][sq ^ 56]);
    m.escort[BLACK][sq] = FlipRanks(m.escort[WHITE][sq ^ 56]);
    for (int side = 0; side < 2; ++side)
      m.squareReach[BLACK][side][sq] = FlipRanks(m.squareReach[WHITE][1 - side][sq ^ 56]);
  }
}

// Rows the rules above must reproduce; the generator writes nothing if one fails.
bool Check(const Masks& m) {
  auto s = [](const char* n) { return (n[1] - '1') * 8 + (n[0] - 'a'); };
  auto set = [&](std::initializer_list<const char*> names) {
    Bitboard b = 0;
    for (const char* n : names) b |= bit(s(n));
    return b;
  };
  bool ok = true;
  auto expect = [&](bool c, const char* what) {
    if (!c) std::fprintf(stderr, "gen_eval_masks: %s\n", what);
    ok = ok && c;
  };
  expect(m.band[s("e4")] == set({"d2", "d3", "d4", "d5", "d6", "f2", "f3", "f4", "f5", "f6"}), "band of e4");
  expect(m.band[s("b2")] == set({"a1", "a2", "a3", "a4", "c1", "c2", "c3", "c4"}), "band of b2");
  expect(m.kingDiagonal[s("a1")] == set({"b2", "c3", "d4", "e5", "f6", "g7"}), "diagonal a1");
  expect(m.kingDiagonal[s("g1")] == set({"f2", "e3", "d4", "c5", "b6"}), "diagonal g1");
  expect(m.kingDiagonal[s("e1")] == set({"d2", "c3", "b4"}), "diagonal e1");
  expect(m.kingDiagonal[s("d1")] == set({"e2", "f3", "g4"}), "diagonal d1");
  expect(m.kingDiagonal[s("a4")] == set({"b5", "c6", "d7"}), "diagonal a4");
  expect(m.kingDiagonal[s("e8")] == set({"b5", "c6", "d7"}), "diagonal e8");
  expect(m.kingDiagonal[s("h8")] == set({"b2", "c3", "d4", "e5", "f6", "g7"}), "diagonal h8");
  expect(m.escort[WHITE][s("a6")] == set({"b7", "b8"}), "escort a6");
  expect(m.escort[WHITE][s("h6")] == set({"g7", "g8"}), "escort h6");
  expect(m.escort[WHITE][s("e5")] == set({"d7", "e7", "f7"}), "escort e5");
  expect(m.escort[BLACK][s("e4")] == set({"d2", "e2", "f2"}), "escort black e4");
  return ok;
}

bool Write(FILE* out, const char* decl, const Bitboard* t, int n) {
  bool ok = std::fprintf(out, "%s = {\n", decl) > 0;
  for (int i = 0; i < n && ok; ++i)
    ok = std::fprintf(out, "%s0x%llxull,%s", i % 4 == 0 ? "    " : " ", (unsigned long long)t[i],
                      i % 4 == 3 ? "\n" : "") > 0;
  return ok && std::fprintf(out, "};\n\n") > 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: gen_eval_masks <output.cpp>\n");
    return 2;
  }
  static Masks m;
  Build(m);
  if (!Check(m)) return 1;
  FILE* out = std::fopen(argv[1], "w");
  if (!out) {
    std::perror(argv[1]);
    return 1;
  }
  bool ok = std::fprintf(out,
                         "// Written at build time by tools/gen_eval_masks.cpp from the rules in its header.\n"
                         "// Do not edit.\n#include \"eval/eval_masks.h\"\n\n") > 0;
  ok = ok && Write(out, "const Bitboard FILE_AHEAD_WHITE[64]", m.fileAheadWhite, 64);
  ok = ok && Write(out, "const Bitboard FILE_AHEAD_BLACK[64]", m.fileAheadBlack, 64);
  ok = ok && Write(out, "const Bitboard ADJACENT_FILES[64]", m.adjacentFiles, 64);
  ok = ok && Write(out, "const Bitboard PAWN_BEHIND[2][64]", &m.behind[0][0], 128);
  ok = ok && Write(out, "const Bitboard PASSED_SPAN[2][64]", &m.span[0][0], 128);
  ok = ok && Write(out, "const Bitboard FILES_LEFT[64]", m.filesLeft, 64);
  ok = ok && Write(out, "const Bitboard FILES_RIGHT[64]", m.filesRight, 64);
  ok = ok && Write(out, "const Bitboard PASSER_BAND[64]", m.band, 64);
  ok = ok && Write(out, "const Bitboard RANKS_ABOVE[64]", m.ranksAbove, 64);
  ok = ok && Write(out, "const Bitboard RANKS_BELOW[64]", m.ranksBelow, 64);
  ok = ok && Write(out, "const Bitboard SIDE_NEIGHBOURS[64]", m.sideNeighbours, 64);
  ok = ok && Write(out, "const Bitboard KING_DIAGONAL[64]", m.kingDiagonal, 64);
  ok = ok && Write(out, "const Bitboard WING_TRAP[64]", m.wingTrap, 64);
  ok = ok && Write(out, "const Bitboard ESCORT[2][64]", &m.escort[0][0], 128);
  ok = ok && Write(out, "const Bitboard PAWN_SQUARE_REACH[2][2][64]", &m.squareReach[0][0][0], 256);
  ok = ok && std::fprintf(out, "const int8_t PAWN_KING_DISTANCE[64][64] = {\n") > 0;
  for (int a = 0; a < 64 && ok; ++a) {
    ok = std::fprintf(out, "    {") > 0;
    for (int b = 0; b < 64 && ok; ++b) ok = std::fprintf(out, "%d,", m.kingDistance[a][b]) > 0;
    ok = ok && std::fprintf(out, "},\n") > 0;
  }
  ok = ok && std::fprintf(out, "};\n") > 0;
  ok = (std::fclose(out) == 0) && ok;
  if (!ok) {
    std::fprintf(stderr, "gen_eval_masks: writing %s failed\n", argv[1]);
    std::remove(argv[1]);
    return 1;
  }
  return 0;
}
