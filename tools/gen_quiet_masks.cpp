// Build-time generator of the destination tables of the limited quiet lists.
//
// Usage: gen_quiet_masks <output.cpp>
//
// Writes QUIET_KNIGHT_TARGETS and QUIET_KING_TARGETS (four material stage
// rows) and GAIN_KNIGHT_TARGETS (two rows), each for both colours. The rule is
// stated for White; Black's entry of square sq ^ 56 is White's entry of sq
// with the ranks flipped.
//
// An entry names the few destinations worth a quiet try at that stage: toward
// the centre and toward the enemy. Most entries are empty.
//
// Knights. Each stage row has a focus point and a zone. A jump is listed when
// it goes forward, lands in the zone, and brings the knight at least
// `approach` steps nearer the focus (distance in files plus ranks):
//   under 6:   focus the centre of the board, zone c3-f6, approach 2.
//              Little is left; a knight is worth moving when it centralises.
//   6 to 11:   focus the middle of d5-e6, zone c4-f6, approach 2.
//              Toward the enemy half, where its pawns and king are.
//   12 to 17:  focus g8, zone c5-f6, approach 2.
//   18 and on: focus g8, zone c5-f6, approach 1.
//              With many pieces on, the target is the enemy king in its
//              short-side shelter, through the advanced centre squares. In the
//              opening any jump that closes in on it there is worth a try.
//
// Kings. A step is listed when it goes one rank forward, brings the king
// strictly nearer the centre, and lands no higher than the stage's rank limit:
// rank 8 (no limit) under 6, rank 3 from 6 to 11, rank 2 from 12 to 17, and
// none at all from 18 on, where the king stays in its shelter. One entry is
// fixed apart from the rule: d4 to f3 at 12 to 17 (see KingEntry).
//
// Knights of the gain-sorted quiet list, a subset of the jumps that the gain
// filter then thins out: under 12 every jump that brings the knight strictly
// nearer the centre, whatever the direction; from 12 on every forward jump
// that takes it no farther from the centre.
//
// The generator checks the fixed entries of d4, that knight entries are
// jumps and king entries steps (but for the fixed entry), and that most
// entries of each stage table are empty, and writes nothing when any fails.
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "../src/board/attacks.h"
#include "../src/board/quiet_masks.h"

namespace {

// --- Geometry -------------------------------------------------------------------

// Coordinates are doubled so that points between squares (the centre of the
// board) are whole numbers.
struct Point {
  int file2, rank2;
};

constexpr Point CENTRE = {7, 7};  // between d4, e4, d5, e5

constexpr int Square(char file, int rank) { return (rank - 1) * 8 + (file - 'a'); }

constexpr Point At(int square) { return {2 * square_file(square), 2 * square_rank(square)}; }

// Files plus ranks, doubled.
constexpr int Distance2(int square, Point p) {
  const Point s = At(square);
  const int df = s.file2 - p.file2, dr = s.rank2 - p.rank2;
  return (df < 0 ? -df : df) + (dr < 0 ? -dr : dr);
}

constexpr Bitboard Box(char fileLow, char fileHigh, int rankLow, int rankHigh) {
  Bitboard set = 0;
  for (int rank = rankLow; rank <= rankHigh; ++rank)
    for (char file = fileLow; file <= fileHigh; ++file) set |= bit(Square(file, rank));
  return set;
}

constexpr bool Forward(int from, int to) { return square_rank(to) > square_rank(from); }

constexpr bool NearerCentre(int from, int to) { return Distance2(to, CENTRE) < Distance2(from, CENTRE); }

// --- The rule -------------------------------------------------------------------

struct StageRule {
  Point focus;
  Bitboard knightZone;
  int approach;       // whole steps nearer the focus
  int kingRankLimit;  // highest rank (1 to 8) a king step may reach; 0 for none
};

constexpr Point G8 = At(Square('g', 8));

constexpr StageRule STAGE_RULES[QUIET_STAGE_ROWS] = {
    {CENTRE, Box('c', 'f', 3, 6), 2, 8},  // under 6
    {{7, 9}, Box('c', 'f', 4, 6), 2, 3},  // 6 to 11: the middle of d5-e6
    {G8, Box('c', 'f', 5, 6), 2, 2},      // 12 to 17
    {G8, Box('c', 'f', 5, 6), 1, 0},      // 18 and over
};

bool KnightEntry(int row, int from, int to) {
  const StageRule& r = STAGE_RULES[row];
  if (!(KNIGHT_ATTACKS[from] & bit(to)) || !Forward(from, to) || !(r.knightZone & bit(to))) return false;
  return Distance2(from, r.focus) - Distance2(to, r.focus) >= 2 * r.approach;
}

bool KingEntry(int row, int from, int to) {
  // A fixed entry outside the rule. f3 is no king step from d4, and the
  // producer intersects every entry with the king's real targets, so this is
  // an entry the king can never use: harmless, and kept as part of the table.
  if (row == 2 && from == Square('d', 4) && to == Square('f', 3)) return true;
  const StageRule& r = STAGE_RULES[row];
  if (!(KING_ATTACKS[from] & bit(to))) return false;
  return Forward(from, to) && NearerCentre(from, to) && square_rank(to) + 1 <= r.kingRankLimit;
}

bool GainKnightEntry(int row, int from, int to) {
  if (!(KNIGHT_ATTACKS[from] & bit(to))) return false;
  if (row == 0) return NearerCentre(from, to);
  return Forward(from, to) && Distance2(to, CENTRE) <= Distance2(from, CENTRE);
}

// --- Tables ---------------------------------------------------------------------

struct Tables {
  Bitboard knight[2][QUIET_STAGE_ROWS][64];
  Bitboard king[2][QUIET_STAGE_ROWS][64];
  Bitboard gainKnight[2][GAIN_KNIGHT_ROWS][64];
};

template <int Rows>
void Fill(Bitboard (&table)[2][Rows][64], bool (*entry)(int, int, int)) {
  for (int row = 0; row < Rows; ++row)
    for (int from = 0; from < 64; ++from) {
      Bitboard set = 0;
      for (int to = 0; to < 64; ++to)
        if (entry(row, from, to)) set |= bit(to);
      table[WHITE][row][from] = set;
      table[BLACK][row][from ^ 56] = FlipRanks(set);
    }
}

// --- Self-check -----------------------------------------------------------------

Bitboard Squares(std::initializer_list<const char*> names) {
  Bitboard set = 0;
  for (const char* n : names) set |= bit(Square(n[0], n[1] - '0'));
  return set;
}

bool CheckTables(const Tables& t) {
  bool ok = true;
  auto expect = [&](const char* what, Bitboard got, Bitboard wanted) {
    if (got != wanted) {
      std::fprintf(stderr, "gen_quiet_masks: %s is 0x%llx, wanted 0x%llx\n", what, (unsigned long long)got,
                   (unsigned long long)wanted);
      ok = false;
    }
  };
  const int d4 = Square('d', 4);
  expect("knight d4, 12 to 17", t.knight[WHITE][2][d4], Squares({"e6", "f5"}));
  expect("knight d4, 18 and over", t.knight[WHITE][3][d4], Squares({"c6", "e6", "f5"}));
  expect("king d4, 12 to 17", t.king[WHITE][2][d4], Squares({"f3"}));

  for (int row = 0; row < QUIET_STAGE_ROWS; ++row) {
    int emptyKnight = 0, emptyKing = 0;
    for (int s = 0; s < 64; ++s) {
      if (t.knight[WHITE][row][s] & ~KNIGHT_ATTACKS[s]) {
        std::fprintf(stderr, "gen_quiet_masks: knight row %d square %d lists a non-jump\n", row, s);
        ok = false;
      }
      const Bitboard fixed = (row == 2 && s == d4) ? Squares({"f3"}) : 0;
      if (t.king[WHITE][row][s] & ~(KING_ATTACKS[s] | fixed)) {
        std::fprintf(stderr, "gen_quiet_masks: king row %d square %d lists a non-step\n", row, s);
        ok = false;
      }
      emptyKnight += t.knight[WHITE][row][s] == 0;
      emptyKing += t.king[WHITE][row][s] == 0;
    }
    if (emptyKnight <= 32 || emptyKing <= 32) {
      std::fprintf(stderr, "gen_quiet_masks: row %d has %d empty knight and %d empty king entries of 64\n", row,
                   emptyKnight, emptyKing);
      ok = false;
    }
  }
  for (int row = 0; row < GAIN_KNIGHT_ROWS; ++row)
    for (int s = 0; s < 64; ++s)
      if (t.gainKnight[WHITE][row][s] & ~KNIGHT_ATTACKS[s]) {
        std::fprintf(stderr, "gen_quiet_masks: gain knight row %d square %d lists a non-jump\n", row, s);
        ok = false;
      }
  return ok;
}

// --- Output ---------------------------------------------------------------------

const char* const STAGE_LABELS[QUIET_STAGE_ROWS] = {"stage under 6", "6 to 11", "12 to 17", "18 and over"};
const char* const GAIN_LABELS[GAIN_KNIGHT_ROWS] = {"stage under 12", "12 and over"};

template <int Rows>
bool Write(FILE* out, const char* name, const char* rows, const char* const (&labels)[Rows],
           const Bitboard (&table)[2][Rows][64]) {
  bool ok = std::fprintf(out, "const Bitboard %s[2][%s][64] = {\n", name, rows) > 0;
  for (int colour = 0; colour < 2 && ok; ++colour) {
    ok = std::fprintf(out, "  {  // %s\n", colour == WHITE ? "White" : "Black") > 0;
    for (int row = 0; row < Rows && ok; ++row) {
      ok = std::fprintf(out, "    {  // %s\n", labels[row]) > 0;
      for (int s = 0; s < 64 && ok; ++s)
        ok = std::fprintf(out, "%s0x%llxull,%s", (s % 4 == 0) ? "      " : " ",
                          (unsigned long long)table[colour][row][s], (s % 4 == 3) ? "\n" : "") > 0;
      ok = ok && std::fprintf(out, "    },\n") > 0;
    }
    ok = ok && std::fprintf(out, "  },\n") > 0;
  }
  return ok && std::fprintf(out, "};\n\n") > 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: gen_quiet_masks <output.cpp>\n");
    return 2;
  }
  static Tables tables;
  Fill(tables.knight, KnightEntry);
  Fill(tables.king, KingEntry);
  Fill(tables.gainKnight, GainKnightEntry);
  if (!CheckTables(tables)) return 1;

  FILE* out = std::fopen(argv[1], "w");
  if (!out) {
    std::perror(argv[1]);
    return 1;
  }
  bool ok = std::fprintf(out,
                         "// Written at build time by tools/gen_quiet_masks.cpp from the rule in its header.\n"
                         "// Do not edit.\n"
                         "#include \"board/quiet_masks.h\"\n\n") > 0;
  ok = ok && Write(out, "QUIET_KNIGHT_TARGETS", "QUIET_STAGE_ROWS", STAGE_LABELS, tables.knight);
  ok = ok && Write(out, "QUIET_KING_TARGETS", "QUIET_STAGE_ROWS", STAGE_LABELS, tables.king);
  ok = ok && Write(out, "GAIN_KNIGHT_TARGETS", "GAIN_KNIGHT_ROWS", GAIN_LABELS, tables.gainKnight);
  ok = (std::fclose(out) == 0) && ok;
  if (!ok) {
    std::fprintf(stderr, "gen_quiet_masks: writing %s failed\n", argv[1]);
    std::remove(argv[1]);
    return 1;
  }
  return 0;
}
