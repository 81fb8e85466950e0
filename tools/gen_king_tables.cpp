// Build-time generator of the knight tables of king safety (declared in
// src/eval/king_tables.h).
//
// Usage: gen_king_tables <output.cpp>
//
// For a king on K and a knight on S, with df and dr the file and rank
// distances and `reach` the number of the king's neighbours that the knight
// on S attacks:
//   KNIGHT_KING_ATTACK[K][S], what the knight adds to the counter against K:
//     S = K: -1.
//     df and dr both at most 3:
//       reach 0: 6 if S is itself a neighbour of the king, else 8: a knight
//         that touches no square around the king is worth little, and the
//         outer corners (df = dr = 3) are always such squares;
//       df = 2 and dr 0 or 2, with reach 2 or more: 29;
//       df, dr = 1, 2 or 2, 1: 23;
//       otherwise 22.
//     dr = 4 and df at most 1: 8 (a knight two jumps from the king's file).
//     Otherwise 0.
//   KNIGHT_KING_COVER[K][S], what the knight takes from the counter against
//   its own king on K: -1 for S = K; 7 where df and dr are at most 3 and
//   reach is at least 1; 0 elsewhere, so also on the squares beside the king
//   from which a knight guards none of the king's neighbours.
// The generator checks the rows for kings on e8 and e5 (attack) and e1 and g1
// (cover), and writes nothing if one fails.
#include <cstdio>
#include <cstdlib>

#include "../src/board/attacks.h"
#include "../src/eval/king_tables.h"

namespace {

constexpr int Abs(int x) { return x < 0 ? -x : x; }

int8_t Attack(int king, int sq) {
  if (sq == king) return -1;
  const int df = Abs(square_file(sq) - square_file(king)), dr = Abs(square_rank(sq) - square_rank(king));
  const int reach = popcount(KNIGHT_ATTACKS[sq] & KING_ATTACKS[king]);
  if (df <= 3 && dr <= 3) {
    if (reach == 0) return (KING_ATTACKS[king] >> sq & 1) ? 6 : 8;
    if (df == 2 && (dr == 0 || dr == 2) && reach >= 2) return 29;
    if ((df == 1 && dr == 2) || (df == 2 && dr == 1)) return 23;
    return 22;
  }
  if (dr == 4 && df <= 1) return 8;
  return 0;
}

int8_t Cover(int king, int sq) {
  if (sq == king) return -1;
  const int df = Abs(square_file(sq) - square_file(king)), dr = Abs(square_rank(sq) - square_rank(king));
  const int reach = popcount(KNIGHT_ATTACKS[sq] & KING_ATTACKS[king]);
  return df <= 3 && dr <= 3 && reach >= 1 ? 7 : 0;
}

int8_t attack[64][64], cover[64][64];

// Rows from rank 8 down to rank 1, files a to h.
bool Rows(const int8_t (&t)[64][64], int king, const int (&rows)[8][8], const char* what) {
  for (int r = 0; r < 8; ++r)
    for (int f = 0; f < 8; ++f)
      if (t[king][(7 - r) * 8 + f] != rows[r][f]) {
        std::fprintf(stderr, "gen_king_tables: %s differs on %c%d\n", what, 'a' + f, 8 - r);
        return false;
      }
  return true;
}

bool Check() {
  const int e8[8][8] = {{0, 22, 22, 22, -1, 22, 22, 22}, {0, 22, 8, 22, 6, 22, 8, 22}, {0, 22, 29, 23, 22, 23, 29, 22},
                        {0, 8, 22, 22, 22, 22, 22, 8},   {0, 0, 0, 8, 8, 8, 0, 0},       {0, 0, 0, 0, 0, 0, 0, 0},
                        {0, 0, 0, 0, 0, 0, 0, 0},        {0, 0, 0, 0, 0, 0, 0, 0}};
  const int e5[8][8] = {{0, 8, 22, 22, 22, 22, 22, 8},   {0, 22, 29, 23, 22, 23, 29, 22}, {0, 22, 23, 22, 22, 22, 23, 22},
                        {0, 22, 29, 22, -1, 22, 29, 22}, {0, 22, 23, 22, 22, 22, 23, 22}, {0, 22, 29, 23, 22, 23, 29, 22},
                        {0, 8, 22, 22, 22, 22, 22, 8},   {0, 0, 0, 8, 8, 8, 0, 0}};
  const int e1[8][8] = {{0}, {0}, {0}, {0}, {0, 0, 7, 7, 7, 7, 7, 0}, {0, 7, 7, 7, 7, 7, 7, 7},
                        {0, 7, 0, 7, 0, 7, 0, 7}, {0, 7, 7, 7, -1, 7, 7, 7}};
  const int g1[8][8] = {{0}, {0}, {0}, {0}, {0, 0, 0, 0, 7, 7, 7, 7}, {0, 0, 0, 7, 7, 7, 7, 7},
                        {0, 0, 0, 7, 0, 7, 0, 7}, {0, 0, 0, 7, 7, 7, -1, 7}};
  bool ok = Rows(attack, 60, e8, "attack, king e8");
  ok = Rows(attack, 36, e5, "attack, king e5") && ok;
  ok = Rows(cover, 4, e1, "cover, king e1") && ok;
  ok = Rows(cover, 6, g1, "cover, king g1") && ok;
  return ok;
}

bool Write(FILE* out, const char* decl, const int8_t (&t)[64][64]) {
  bool ok = std::fprintf(out, "%s = {\n", decl) > 0;
  for (int k = 0; k < 64 && ok; ++k) {
    ok = std::fprintf(out, "    {") > 0;
    for (int s = 0; s < 64 && ok; ++s) ok = std::fprintf(out, "%d,", t[k][s]) > 0;
    ok = ok && std::fprintf(out, "},\n") > 0;
  }
  return ok && std::fprintf(out, "};\n\n") > 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: gen_king_tables <output.cpp>\n");
    return 2;
  }
  for (int k = 0; k < 64; ++k)
    for (int s = 0; s < 64; ++s) attack[k][s] = Attack(k, s), cover[k][s] = Cover(k, s);
  if (!Check()) return 1;
  FILE* out = std::fopen(argv[1], "w");
  if (!out) {
    std::perror(argv[1]);
    return 1;
  }
  bool ok = std::fprintf(out,
                         "// Written at build time by tools/gen_king_tables.cpp from the rules in its header.\n"
                         "// Do not edit.\n#include \"eval/king_tables.h\"\n\n") > 0;
  ok = ok && Write(out, "const int8_t KNIGHT_KING_ATTACK[64][64]", attack);
  ok = ok && Write(out, "const int8_t KNIGHT_KING_COVER[64][64]", cover);
  ok = (std::fclose(out) == 0) && ok;
  if (!ok) {
    std::fprintf(stderr, "gen_king_tables: writing %s failed\n", argv[1]);
    std::remove(argv[1]);
    return 1;
  }
  return 0;
}
