// Build-time generator of the starting values of the learnt ordering tables.
//
// Usage: gen_ordering_seeds <output.cpp>
//
// Writes HISTORY_SEEDS, GAIN_SEED_LAYERS and CAPTURE_GAIN_SEEDS (declared in
// src/search/ordering_seeds.h), all read off the piece-square table: before a
// game has taught anything, a move is expected to gain what the table says
// its man gains by the step, and a square is worth trying to reach as much as
// the table rates it.
//
// Worth of a man on a square. w(man, s) is White's piece-square entry of the
// man on s, its opening and endgame halves averaged (the middle of the
// game's phase), in score units: (opening + endgame) / 20. For a Black man
// the table's own Black entries are used, turned to Black's view. All
// rounding is to the nearest integer, halves away from zero.
//
// 1. History, by MoverClass and to-square, for both colours at once (the
//    table has no colour): s(c, sq) is the mean of the worth of the square
//    to a White man and to a Black one, each in its own side's view. Per
//    class, the deviation from the class mean is what counts; one increasing
//    linear map for all classes takes the lowest deviation of any class to 0
//    and the highest to 16700:
//      seed = 16700 * (dev - lowest dev) / (highest dev - lowest dev).
//    So classes keep their own spread, and a move to a square better than
//    its man's average starts above a move to a worse one of any class.
//    A pawn never steps to rank 1 or 8 as a quiet move: those squares are
//    left out, and get the value of the pawn's mean. Classes 0 and 7 are no
//    man: 0.
//
// 2. Gain, seven from-to layers (the layer of an entry is told by
//    GainSeedLayer): the change of worth of the layer's man going from
//    `from` to `to`, w(to) - w(from), limited to -122..99, where that man can
//    make the step on an empty board: a king step or castling from e1, a
//    queen's line or diagonal, a knight's jump, a bishop's diagonal or a
//    rook's line (layer 4), a pawn's step, double step from rank 2 or
//    capture. Everything else is 0, also a pawn reaching rank 8: it is no
//    longer a pawn there, and what it gains is left to learning.
//
// 3. Capture gain, by victim class and to-square, for White taking: the
//    Black man's entry there leaves White's positional score, so the gain is
//    minus the entry in White's view. Kings, classes 0 and 7, and pawns on
//    rank 1 or 8 are 0.
//
// The generator checks that the history seeds span 0..16700, that the gain
// seeds stay in -122..99, that both gain tables have entries of both signs,
// that the seven layers hold only steps of their man, and that the
// piece-square table has the rank symmetry by which the loader gives Black
// White's entries with the ranks flipped; it writes nothing when any check
// fails.
#include <cstdio>
#include <cstdlib>

#include "board/types.h"
#include "eval/piece_square.h"
#include "search/ordering_seeds.h"

namespace {

constexpr int64_t HISTORY_TOP = 16700;
constexpr int GAIN_LOW = -122, GAIN_HIGH = 99;

// Bitboard index of the White man of each MoverClass; -1 for no man.
constexpr int CLASS_INDEX[8] = {-1, KNIGHT_INDEX, BISHOP_INDEX, PAWN_INDEX, KING_INDEX, QUEEN_INDEX, ROOK_INDEX, -1};

int64_t RoundDiv(int64_t n, int64_t d) {
  if (d < 0) n = -n, d = -d;
  return n >= 0 ? (n + d / 2) / d : -((-n + d / 2) / d);
}

// Opening plus endgame half of an entry, White's view: twice the averaged worth.
int64_t Halves(int index, int square) {
  const int32_t packed = int32_t(uint32_t(uint64_t(PIECE_SQUARE_VALUES[index * 64 + square])));
  const int32_t endgame = int16_t(packed & 0xffff);
  const int32_t opening = (packed - endgame) / 65536;
  return opening + endgame;
}

// w(man, sq) for White's man of `index`, times 20 (the division comes last).
int64_t White20(int index, int square) { return Halves(index, square); }
// The same for Black's man, in Black's view.
int64_t Black20(int index, int square) { return -Halves(index + 1, square); }

int FileDistance(int a, int b) { return std::abs((a & 7) - (b & 7)); }
int RankDistance(int a, int b) { return std::abs((a >> 3) - (b >> 3)); }

bool KingStep(int from, int to) {
  if (from == to) return false;
  if (FileDistance(from, to) <= 1 && RankDistance(from, to) <= 1) return true;
  return from == 4 && (to == 6 || to == 2);  // castling
}
bool Diagonal(int from, int to) { return from != to && FileDistance(from, to) == RankDistance(from, to); }
bool Line(int from, int to) { return from != to && (FileDistance(from, to) == 0 || RankDistance(from, to) == 0); }
bool PawnStep(int from, int to) {
  const int rank = from >> 3;
  if (rank < 1 || rank > 5 || (to >> 3) == 7) return false;  // from rank 2 to 6, never onto rank 8
  if (to == from + 8) return true;
  if (to == from + 16) return rank == 1;
  return (to == from + 7 || to == from + 9) && FileDistance(from, to) == 1;
}

// The man of a layer that can step from-to, as a White bitboard index, or -1.
int LayerMan(int layer, int from, int to) {
  switch (layer) {
    case 0: return KingStep(from, to) ? KING_INDEX : -1;
    case 2: return Diagonal(from, to) || Line(from, to) ? QUEEN_INDEX : -1;
    case 3: return IsKnightJump(from, to) ? KNIGHT_INDEX : -1;
    case 4: return Diagonal(from, to) ? BISHOP_INDEX : Line(from, to) ? ROOK_INDEX : -1;
    case 6: return PawnStep(from, to) ? PAWN_INDEX : -1;
    default: return -1;
  }
}

struct Seeds {
  uint16_t history[8][64];
  int8_t gain[GAIN_SEED_LAYER_COUNT][64][64];
  int16_t captureGain[8][64];
};

bool PawnSquare(int square) { return (square >> 3) >= 1 && (square >> 3) <= 6; }

void FillHistory(Seeds& t) {
  // In units of 1/40 score unit: 40 * s = White20 + Black20; deviations from
  // the mean are kept times the count, to stay in integers.
  int64_t deviation[8][64] = {};
  int64_t lowest = 0, highest = 0;
  for (int c = 1; c < 7; ++c) {
    const int index = CLASS_INDEX[c];
    int64_t value[64], sum = 0, count = 0;
    for (int sq = 0; sq < 64; ++sq) {
      value[sq] = White20(index, sq) + Black20(index, sq);
      if (c != CLASS_PAWN || PawnSquare(sq)) sum += value[sq], ++count;
    }
    for (int sq = 0; sq < 64; ++sq) {
      deviation[c][sq] = (c != CLASS_PAWN || PawnSquare(sq)) ? value[sq] * count - sum : 0;
      lowest = deviation[c][sq] < lowest ? deviation[c][sq] : lowest;
      highest = deviation[c][sq] > highest ? deviation[c][sq] : highest;
    }
  }
  for (int c = 0; c < 8; ++c)
    for (int sq = 0; sq < 64; ++sq)
      t.history[c][sq] =
          (c == 0 || c == 7) ? 0 : uint16_t(RoundDiv(HISTORY_TOP * (deviation[c][sq] - lowest), highest - lowest));
}

void FillGain(Seeds& t) {
  for (int layer = 0; layer < GAIN_SEED_LAYER_COUNT; ++layer)
    for (int from = 0; from < 64; ++from)
      for (int to = 0; to < 64; ++to) {
        const int man = LayerMan(layer, from, to);
        int64_t g = man < 0 ? 0 : RoundDiv(White20(man, to) - White20(man, from), 20);
        g = g < GAIN_LOW ? GAIN_LOW : g > GAIN_HIGH ? GAIN_HIGH : g;
        t.gain[layer][from][to] = int8_t(g);
      }
}

void FillCaptureGain(Seeds& t) {
  for (int v = 0; v < 8; ++v)
    for (int sq = 0; sq < 64; ++sq) {
      const int index = CLASS_INDEX[v];
      const bool none = index < 0 || index == KING_INDEX || (index == PAWN_INDEX && !PawnSquare(sq));
      // Black's man leaves: White loses its White-view entry, which is minus Black's view.
      t.captureGain[v][sq] = none ? 0 : int16_t(RoundDiv(Black20(index, sq), 20));
    }
}

// --- Self-check -----------------------------------------------------------------

bool Check(const Seeds& t) {
  bool ok = true;
  const auto fail = [&](const char* what) {
    std::fprintf(stderr, "gen_ordering_seeds: %s\n", what);
    ok = false;
  };
  // The loader gives Black White's seeds with the ranks flipped.
  for (int index = PAWN_INDEX; index <= KING_INDEX; index += 2)
    for (int sq = 0; sq < 64; ++sq)
      if (White20(index, sq) != Black20(index, sq ^ 56)) fail("piece-square table without rank symmetry");

  int lowest = HISTORY_TOP, highest = 0;
  for (int c = 1; c < 7; ++c)
    for (int sq = 0; sq < 64; ++sq) {
      lowest = t.history[c][sq] < lowest ? t.history[c][sq] : lowest;
      highest = t.history[c][sq] > highest ? t.history[c][sq] : highest;
    }
  if (lowest != 0 || highest != HISTORY_TOP) fail("history seeds do not span 0..16700");

  int positive = 0, negative = 0;
  for (int layer = 0; layer < GAIN_SEED_LAYER_COUNT; ++layer)
    for (int from = 0; from < 64; ++from)
      for (int to = 0; to < 64; ++to) {
        const int g = t.gain[layer][from][to];
        if (g < GAIN_LOW || g > GAIN_HIGH) fail("gain seed outside -122..99");
        if (g && LayerMan(layer, from, to) < 0) fail("gain seed on a step that the layer's man cannot make");
        positive += g > 0;
        negative += g < 0;
      }
  if (!positive || !negative) fail("gain seeds of one sign only");

  positive = negative = 0;
  for (int v = 0; v < 8; ++v)
    for (int sq = 0; sq < 64; ++sq) {
      positive += t.captureGain[v][sq] > 0;
      negative += t.captureGain[v][sq] < 0;
    }
  if (!positive || !negative) fail("capture gain seeds of one sign only");
  return ok;
}

// --- Output ---------------------------------------------------------------------

const char* const CLASS_NAMES[8] = {"none", "knight", "bishop", "pawn", "king", "queen", "rook", "none"};
const char* const LAYER_NAMES[GAIN_SEED_LAYER_COUNT] = {
    "king", "class bits 0, knight jumps: no man", "queen", "knight", "bishop or rook",
    "class bits 2, knight jumps: no man", "pawn"};

bool WriteRows(FILE* out, const char* type, const char* name, const int64_t (&rows)[8][64]) {
  bool ok = std::fprintf(out, "const %s %s[8][64] = {\n", type, name) > 0;
  for (int c = 0; c < 8 && ok; ++c) {
    ok = std::fprintf(out, "    {  // %s\n", CLASS_NAMES[c]) > 0;
    for (int sq = 0; sq < 64 && ok; ++sq)
      ok = std::fprintf(out, "%s%lld,%s", sq % 8 == 0 ? "        " : " ", (long long)rows[c][sq],
                        sq % 8 == 7 ? "\n" : "") > 0;
    ok = ok && std::fprintf(out, "    },\n") > 0;
  }
  return ok && std::fprintf(out, "};\n\n") > 0;
}

bool Write(FILE* out, const Seeds& t) {
  bool ok = std::fprintf(out,
                         "// Written at build time by tools/gen_ordering_seeds.cpp from the rule in its header.\n"
                         "// Do not edit.\n"
                         "#include \"search/ordering_seeds.h\"\n\n") > 0;
  static int64_t rows[8][64];
  for (int c = 0; c < 8; ++c)
    for (int sq = 0; sq < 64; ++sq) rows[c][sq] = t.history[c][sq];
  ok = ok && WriteRows(out, "uint16_t", "HISTORY_SEEDS", rows);
  for (int c = 0; c < 8; ++c)
    for (int sq = 0; sq < 64; ++sq) rows[c][sq] = t.captureGain[c][sq];
  ok = ok && WriteRows(out, "int16_t", "CAPTURE_GAIN_SEEDS", rows);

  ok = ok && std::fprintf(out, "const int8_t GAIN_SEED_LAYERS[GAIN_SEED_LAYER_COUNT][64][64] = {\n") > 0;
  for (int layer = 0; layer < GAIN_SEED_LAYER_COUNT && ok; ++layer) {
    ok = std::fprintf(out, "    {  // %s\n", LAYER_NAMES[layer]) > 0;
    for (int from = 0; from < 64 && ok; ++from) {
      ok = std::fprintf(out, "        {  // from %c%d\n", 'a' + (from & 7), 1 + (from >> 3)) > 0;
      for (int to = 0; to < 64 && ok; ++to)
        ok = std::fprintf(out, "%s%d,%s", to % 16 == 0 ? "            " : " ", int(t.gain[layer][from][to]),
                          to % 16 == 15 ? "\n" : "") > 0;
      ok = ok && std::fprintf(out, "        },\n") > 0;
    }
    ok = ok && std::fprintf(out, "    },\n") > 0;
  }
  return ok && std::fprintf(out, "};\n") > 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: gen_ordering_seeds <output.cpp>\n");
    return 2;
  }
  static Seeds seeds;
  FillHistory(seeds);
  FillGain(seeds);
  FillCaptureGain(seeds);
  if (!Check(seeds)) return 1;

  FILE* out = std::fopen(argv[1], "w");
  if (!out) {
    std::perror(argv[1]);
    return 1;
  }
  bool ok = Write(out, seeds);
  ok = (std::fclose(out) == 0) && ok;
  if (!ok) {
    std::fprintf(stderr, "gen_ordering_seeds: writing %s failed\n", argv[1]);
    std::remove(argv[1]);
    return 1;
  }
  return 0;
}
