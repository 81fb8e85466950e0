// Build-time generator of the key-square mobility tables of bishops and
// knights, and their multipliers (declared in src/eval/key_squares.h).
//
// Usage: gen_key_squares <output.cpp>
//
// Rules, for White. Black's row of a square is White's row of 63 - square
// with every key square k read as 63 - k (the board turned over).
//
// Bishops. Square values, by the key square: (37, 42) on files c-f of ranks
// 2-6; (16, 16) on files b and g of ranks 3-7 and on files c-f of rank 7;
// (0, 0) elsewhere. The middle of the board is where the value is not 0.
//   A bishop on g7, h7, h8, b7, a7 or a8 stands far up the board, with its
//   useful squares behind it: its keys are the squares of files c-f, ranks
//   2-6 on its rays down the board, nearest first, up to four, each (5, 5).
//   Any other bishop: the middle squares on its rays up the board, nearest
//   first, up to four; when fewer than four, the rest of the squares on those
//   rays, nearest first. Each is worth its square value.
//   Between two squares at the same distance the one nearer the centre file
//   comes first, so the table is the same for a square and its file mirror.
//   A pattern is worth the sum of its keys.
// Knights. The keys are the knight's moves up the board. They are ranked by
// what they bring: two ranks up before one, and at each the move towards the
// centre files before the one away; the first, second, third and fourth of
// the keys an origin has are worth, in the target table, (76, 115), (76, 115),
// (62, 93), (48, 72), and in the safe table (57, 86), (43, 64), (28, 43),
// (0, 0). A pattern is worth its best key in full and each further key, best
// first, by a weight in 128ths, the sum truncated: the value of more keys
// grows less than their sum. Weights for the second to fourth keys: target
// opening 98, 97, 97; target endgame 98, 98, 98; safe opening 100, 100, 100;
// safe endgame 99, 99, 99.
//
// Key slots. Pattern bit j is key slot j, brought to bit 60 + j by the
// multiplier, the union of 1 << (60 + j - key) over the used slots. The keys
// are listed (bishops nearest first, knights in the move order (+1, +2),
// (-2, +1), (-1, +2), (+2, +1)) and take the highest slots in list order, so
// an origin with n keys uses slots 4 - n to 3. Where that order lets some
// subset of the squares the piece reaches carry into the pattern bits, the
// first slot assignment in lexicographic order that does not is taken. Every
// multiplier is checked against the direct bit test over all such subsets.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <vector>

#include "../src/board/attacks.h"

namespace {

struct Pair {
  int m, e;
};
constexpr uint32_t Pack(Pair p) { return uint32_t(p.m) * 65536u + uint32_t(p.e); }

constexpr int Abs(int x) { return x < 0 ? -x : x; }
constexpr bool OnBoard(int f, int r) { return f >= 0 && f < 8 && r >= 0 && r < 8; }
int Sq(const char* n) { return (n[1] - '1') * 8 + (n[0] - 'a'); }
// 0 on the edge files, 3 on d and e.
constexpr int Centrality(int file) { return file < 4 ? file : 7 - file; }

// --- Bishops ----------------------------------------------------------------

Pair BishopSquareValue(int k) {
  const int f = square_file(k), r = square_rank(k);
  if (f >= 2 && f <= 5 && r >= 1 && r <= 5) return {37, 42};
  if ((f == 1 || f == 6) && r >= 2 && r <= 6) return {16, 16};
  if (f >= 2 && f <= 5 && r == 6) return {16, 16};
  return {0, 0};
}

bool Core(int k) {
  const int f = square_file(k), r = square_rank(k);
  return f >= 2 && f <= 5 && r >= 1 && r <= 5;
}

bool FarUp(int sq) {
  for (const char* n : {"g7", "h7", "h8", "b7", "a7", "a8"})
    if (sq == Sq(n)) return true;
  return false;
}

struct Key {
  int square;
  int distance;
};

// The squares on the rays going `dr` (up 1, down -1), nearest first, ties
// broken towards the centre file.
std::vector<Key> RaySquares(int sq, int dr) {
  std::vector<Key> keys;
  for (int df : {-1, 1})
    for (int f = square_file(sq) + df, r = square_rank(sq) + dr, d = 1; OnBoard(f, r); f += df, r += dr, ++d)
      keys.push_back({r * 8 + f, d});
  std::stable_sort(keys.begin(), keys.end(), [](const Key& a, const Key& b) {
    if (a.distance != b.distance) return a.distance < b.distance;
    return Centrality(square_file(a.square)) > Centrality(square_file(b.square));
  });
  return keys;
}

struct KeyList {
  int n = 0;
  int square[4];
  Pair value[4];  // bishops: the key's value
  int tier[4];    // knights: 0 for the best key to 3
};

KeyList WhiteBishopKeys(int sq) {
  KeyList list;
  if (FarUp(sq)) {
    for (const Key& k : RaySquares(sq, -1))
      if (Core(k.square) && list.n < 4) list.square[list.n] = k.square, list.value[list.n++] = {5, 5};
    return list;
  }
  const std::vector<Key> up = RaySquares(sq, 1);
  for (int pass = 0; pass < 2; ++pass)
    for (const Key& k : up) {
      const Pair v = BishopSquareValue(k.square);
      const bool middle = v.m != 0 || v.e != 0;
      if (middle == (pass == 0) && list.n < 4) list.square[list.n] = k.square, list.value[list.n++] = v;
    }
  return list;
}

// --- Knights ----------------------------------------------------------------

constexpr int KNIGHT_KEY_MOVES[4][2] = {{1, 2}, {-2, 1}, {-1, 2}, {2, 1}};
constexpr Pair TARGET_TIERS[4] = {{76, 115}, {76, 115}, {62, 93}, {48, 72}};
constexpr Pair SAFE_TIERS[4] = {{57, 86}, {43, 64}, {28, 43}, {0, 0}};
// Weights of the second to fourth best keys, in 128ths: [table][half][i].
constexpr int KNIGHT_WEIGHTS[2][2][3] = {{{98, 97, 97}, {98, 98, 98}}, {{100, 100, 100}, {99, 99, 99}}};

KeyList WhiteKnightKeys(int sq) {
  KeyList list;
  const int f = square_file(sq), r = square_rank(sq);
  int rankOf[4];
  for (const auto& mv : KNIGHT_KEY_MOVES) {
    if (!OnBoard(f + mv[0], r + mv[1])) continue;
    const bool inward = (f < 4) == (mv[0] > 0);
    rankOf[list.n] = (mv[1] == 2 ? 0 : 2) + (inward ? 0 : 1);
    list.square[list.n++] = (r + mv[1]) * 8 + f + mv[0];
  }
  // The tier of a key is its place among this origin's keys by rank.
  for (int i = 0; i < list.n; ++i) {
    list.tier[i] = 0;
    for (int j = 0; j < list.n; ++j) list.tier[i] += rankOf[j] < rankOf[i];
  }
  return list;
}

int CombineKnight(int table, int half, std::vector<int> values) {
  std::sort(values.rbegin(), values.rend());
  if (values.empty()) return 0;
  int sum = values[0] * 128;
  for (size_t i = 1; i < values.size(); ++i) sum += values[i] * KNIGHT_WEIGHTS[table][half][i - 1];
  return sum / 128;
}

// --- Slots and multipliers -----------------------------------------------------

bool MultiplierWorks(uint64_t mult, const int* slotSquare, Bitboard reach) {
  // Every subset of the reach, by the standard subset walk.
  Bitboard sub = 0;
  do {
    uint32_t expected = 0;
    for (int j = 0; j < 4; ++j)
      if (slotSquare[j] >= 0 && (sub >> slotSquare[j] & 1)) expected |= 1u << j;
    if (uint32_t((sub * mult) >> 60) != expected) return false;
    sub = (sub - reach) & reach;
  } while (sub);
  return true;
}

// Slot of each listed key; false if no assignment works.
bool AssignSlots(const KeyList& keys, Bitboard reach, int* slotOfKey, uint64_t* mult) {
  std::vector<int> slots = {0, 1, 2, 3};
  // Preferred first: the keys in list order in the highest slots.
  std::vector<std::vector<int>> candidates;
  {
    std::vector<int> pref;
    for (int i = 0; i < keys.n; ++i) pref.push_back(4 - keys.n + i);
    candidates.push_back(pref);
  }
  do {
    candidates.push_back(std::vector<int>(slots.begin(), slots.begin() + keys.n));
  } while (std::next_permutation(slots.begin(), slots.end()));
  for (const auto& c : candidates) {
    int slotSquare[4] = {-1, -1, -1, -1};
    uint64_t m = 0;
    bool fits = true;
    for (int i = 0; i < keys.n; ++i) {
      const int shift = 60 + c[i] - keys.square[i];
      if (shift < 0) fits = false;
      else m |= uint64_t(1) << shift;
      slotSquare[c[i]] = keys.square[i];
    }
    if (fits && MultiplierWorks(m, slotSquare, reach)) {
      for (int i = 0; i < keys.n; ++i) slotOfKey[i] = c[i];
      *mult = m;
      return true;
    }
  }
  return false;
}

KeyList TurnOver(const KeyList& white) {
  KeyList black = white;
  for (int i = 0; i < white.n; ++i) black.square[i] = 63 - white.square[i];
  return black;
}

struct Tables {
  uint64_t bishopMult[2][64], knightMult[2][64];
  uint32_t bishop[2][64][16];
  uint32_t knight[2][2][64][16];
  int knightSlotSquare[2][64][4];  // for the checks
  int bishopSlotSquare[2][64][4];
};

bool Build(Tables& t) {
  for (int colour = 0; colour < 2; ++colour)
    for (int sq = 0; sq < 64; ++sq) {
      const int whiteSq = colour == WHITE ? sq : 63 - sq;
      // Bishops.
      KeyList keys = WhiteBishopKeys(whiteSq);
      if (colour == BLACK) keys = TurnOver(keys);
      int slotOf[4];
      if (!AssignSlots(keys, BISHOP_RAYS[sq], slotOf, &t.bishopMult[colour][sq])) {
        std::fprintf(stderr, "gen_key_squares: no bishop multiplier for square %d colour %d\n", sq, colour);
        return false;
      }
      for (int j = 0; j < 4; ++j) t.bishopSlotSquare[colour][sq][j] = -1;
      for (int i = 0; i < keys.n; ++i) t.bishopSlotSquare[colour][sq][slotOf[i]] = keys.square[i];
      for (uint32_t p = 0; p < 16; ++p) {
        uint32_t v = 0;
        for (int i = 0; i < keys.n; ++i)
          if (p >> slotOf[i] & 1) v += Pack(keys.value[i]);
        t.bishop[colour][sq][p] = v;
      }
      // Knights.
      keys = WhiteKnightKeys(whiteSq);
      if (colour == BLACK) keys = TurnOver(keys);
      if (!AssignSlots(keys, KNIGHT_ATTACKS[sq], slotOf, &t.knightMult[colour][sq])) {
        std::fprintf(stderr, "gen_key_squares: no knight multiplier for square %d colour %d\n", sq, colour);
        return false;
      }
      for (int j = 0; j < 4; ++j) t.knightSlotSquare[colour][sq][j] = -1;
      for (int i = 0; i < keys.n; ++i) t.knightSlotSquare[colour][sq][slotOf[i]] = keys.square[i];
      for (int table = 0; table < 2; ++table) {
        const Pair* tiers = table == 0 ? TARGET_TIERS : SAFE_TIERS;
        for (uint32_t p = 0; p < 16; ++p) {
          std::vector<int> m, e;
          for (int i = 0; i < keys.n; ++i)
            if (p >> slotOf[i] & 1) m.push_back(tiers[keys.tier[i]].m), e.push_back(tiers[keys.tier[i]].e);
          t.knight[colour][table][sq][p] = Pack({CombineKnight(table, 0, m), CombineKnight(table, 1, e)});
        }
      }
    }
  return true;
}

// Rows the rule must reproduce; the generator writes nothing if one fails.
bool Check(const Tables& t) {
  bool ok = true;
  auto expect = [&](bool c, const char* what) {
    if (!c) std::fprintf(stderr, "gen_key_squares: %s\n", what);
    ok = ok && c;
  };
  auto slots = [&](const int (&s)[4], std::initializer_list<const char*> names) {
    int j = 0;
    for (const char* n : names) {
      if (s[j] != (n[0] == '-' ? -1 : Sq(n))) return false;
      ++j;
    }
    return true;
  };
  expect(slots(t.knightSlotSquare[WHITE][Sq("e4")], {"f6", "c5", "d6", "g5"}), "knight e4 slots");
  expect(slots(t.knightSlotSquare[WHITE][Sq("d4")], {"e6", "b5", "c6", "f5"}), "knight d4 slots");
  expect(slots(t.knightSlotSquare[WHITE][Sq("a1")], {"-", "-", "b3", "c2"}), "knight a1 slots");
  const uint32_t* e4t = t.knight[WHITE][0][Sq("e4")];
  const uint32_t* e4s = t.knight[WHITE][1][Sq("e4")];
  expect(e4t[1] == Pack({76, 115}) && e4t[2] == Pack({62, 93}) && e4t[4] == Pack({76, 115}) &&
             e4t[8] == Pack({48, 72}) && e4t[15] == Pack({217, 329}),
         "knight e4 target row");
  expect(e4s[1] == Pack({43, 64}) && e4s[2] == Pack({28, 43}) && e4s[4] == Pack({57, 86}) && e4s[8] == 0 &&
             e4s[15] == Pack({112, 168}),
         "knight e4 safe row");
  const uint32_t* a1t = t.knight[WHITE][0][Sq("a1")];
  const uint32_t* a1s = t.knight[WHITE][1][Sq("a1")];
  expect(a1t[4] == Pack({76, 115}) && a1t[8] == Pack({76, 115}) && a1t[12] == Pack({134, 203}), "knight a1 target");
  expect(a1s[4] == Pack({57, 86}) && a1s[8] == Pack({43, 64}) && a1s[12] == Pack({90, 135}), "knight a1 safe");
  return ok;
}

bool Write(FILE* out, const char* decl, const uint64_t* v, int n, bool hex64) {
  bool ok = std::fprintf(out, "%s = {\n", decl) > 0;
  for (int i = 0; i < n && ok; ++i)
    ok = (hex64 ? std::fprintf(out, "%s0x%llxull,%s", i % 4 == 0 ? "    " : " ", (unsigned long long)v[i],
                               i % 4 == 3 ? "\n" : "")
                : std::fprintf(out, "%s0x%llxu,%s", i % 8 == 0 ? "    " : " ", (unsigned long long)v[i],
                               i % 8 == 7 ? "\n" : "")) > 0;
  return ok && std::fprintf(out, "};\n\n") > 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: gen_key_squares <output.cpp>\n");
    return 2;
  }
  static Tables t;
  if (!Build(t) || !Check(t)) return 1;
  FILE* out = std::fopen(argv[1], "w");
  if (!out) {
    std::perror(argv[1]);
    return 1;
  }
  static uint64_t flat[2 * 2 * 64 * 16];
  bool ok = std::fprintf(out,
                         "// Written at build time by tools/gen_key_squares.cpp from the rules in its header.\n"
                         "// Do not edit.\n#include \"eval/key_squares.h\"\n\n") > 0;
  ok = ok && Write(out, "const uint64_t BISHOP_KEY_MULTIPLIER[2][64]", &t.bishopMult[0][0], 128, true);
  ok = ok && Write(out, "const uint64_t KNIGHT_KEY_MULTIPLIER[2][64]", &t.knightMult[0][0], 128, true);
  for (int i = 0; i < 2 * 64 * 16; ++i) flat[i] = (&t.bishop[0][0][0])[i];
  ok = ok && Write(out, "const uint32_t BISHOP_KEY_TABLE[2][64][16]", flat, 2 * 64 * 16, false);
  for (int i = 0; i < 2 * 2 * 64 * 16; ++i) flat[i] = (&t.knight[0][0][0][0])[i];
  ok = ok && Write(out, "const uint32_t KNIGHT_KEY_TABLE[2][2][64][16]", flat, 2 * 2 * 64 * 16, false);
  ok = (std::fclose(out) == 0) && ok;
  if (!ok) {
    std::fprintf(stderr, "gen_key_squares: writing %s failed\n", argv[1]);
    std::remove(argv[1]);
    return 1;
  }
  return 0;
}
