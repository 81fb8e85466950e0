// Static exchange and the defender questions of the check analysis. Random
// positions compare the swap against a plain recursive swap written here on a
// square-by-square board that shares nothing with the engine's sets, the
// mover drawn from either colour so that both copies answer to it; hand rows,
// each run on its colour mirror too, hold what the random scenes leave out.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>

#include "board/exchange.h"
#include "board/mirrored_positions.h"
#include "board/position.h"
#include "support/fen_flip.h"

namespace {

// ---------------------------------------------------------------------------
// A plain board: one character per square, '.' for empty, FEN letters else.

using Board = std::array<char, 64>;
using mirrored::MirrorBits;
using mirrored::Sq;
constexpr auto Bits = mirrored::Set<WHITE>;

int file_of(int s) { return s & 7; }
int rank_of(int s) { return s >> 3; }
bool is_white_man(char c) { return std::isupper(static_cast<unsigned char>(c)); }
char kind_of(char c) { return char(std::tolower(static_cast<unsigned char>(c))); }

Board EmptyBoard() {
  Board b;
  b.fill('.');
  return b;
}

Board BoardFromFen(const std::string& fen) {
  Board b = EmptyBoard();
  int rank = 7, file = 0;
  for (char c : fen) {
    if (c == ' ') break;
    if (c == '/') {
      --rank;
      file = 0;
    } else if (std::isdigit(static_cast<unsigned char>(c))) {
      file += c - '0';
    } else {
      b[rank * 8 + file++] = c;
    }
  }
  return b;
}

std::string FenOf(const Board& b) { return PlacementFen(b.data()) + " w - -"; }

// Ranks reversed and colours exchanged.
Board Mirror(const Board& b) { return BoardFromFen(FlipFen(FenOf(b))); }

void Load(const Board& b) { ASSERT_EQ(SetPositionFromFen(FenOf(b).c_str()), 1) << FenOf(b); }

// ---------------------------------------------------------------------------
// Plain geometry and a recursive swap on the character board.

bool PathClear(const Board& b, int from, int to) {
  const int df = (file_of(to) > file_of(from)) - (file_of(to) < file_of(from));
  const int dr = (rank_of(to) > rank_of(from)) - (rank_of(to) < rank_of(from));
  for (int s = from + dr * 8 + df; s != to; s += dr * 8 + df)
    if (b[s] != '.') return false;
  return true;
}

bool Attacks(const Board& b, int from, int to) {
  const char c = b[from];
  const int df = file_of(to) - file_of(from), dr = rank_of(to) - rank_of(from);
  const int adf = std::abs(df), adr = std::abs(dr);
  switch (kind_of(c)) {
    case 'p': return adf == 1 && dr == (is_white_man(c) ? 1 : -1);
    case 'n': return adf * adr == 2;
    case 'k': return std::max(adf, adr) == 1;
    case 'b': return adf == adr && adf && PathClear(b, from, to);
    case 'r': return (adf == 0) != (adr == 0) && PathClear(b, from, to);
    case 'q': return ((adf == adr && adf) || ((adf == 0) != (adr == 0))) && PathClear(b, from, to);
  }
  return false;
}

struct SwapValues {
  int64_t bishop[2];  // by colour, the only value that may differ
};

int64_t ManValue(char c, const SwapValues& values) {
  switch (kind_of(c)) {
    case 'p': return 0x20000;
    case 'n': return 0x60000;
    case 'b': return values.bishop[is_white_man(c) ? 0 : 1];
    case 'r': return 0xa0000;
    case 'q': return 0x140000;
  }
  return 0;
}

// The cheapest man of `colour` bearing on `to`, pawn first and queen last;
// among equals the lowest square when Black moved to the square, and when
// White did the lowest with the ranks counted from the top. Kings are kept
// away from the square in the positions this is used on. -1 when none.
int Cheapest(const Board& b, int to, int colour, Bitboard allowed, int mover) {
  for (char kind : {'p', 'n', 'b', 'r', 'q'}) {
    for (int i = 0; i < 64; ++i) {
      const int s = mover == BLACK ? i : i ^ 56;
      const char c = b[s];
      if (c == '.' || kind_of(c) != kind || (is_white_man(c) ? 0 : 1) != colour) continue;
      if ((allowed >> s & 1) && Attacks(b, s, to)) return s;
    }
  }
  return -1;
}

// What the side to capture wins on `to` when the man there is worth
// `onSquare`; either side may stop at any point.
int64_t Swap(Board b, int to, int colour, int64_t onSquare, const SwapValues& values,
             const Bitboard (&allowed)[2], int mover) {
  const int s = Cheapest(b, to, colour, allowed[colour], mover);
  if (s < 0) return 0;
  const int64_t capturer = ManValue(b[s], values);
  b[s] = '.';
  return std::max<int64_t>(0, onSquare - Swap(b, to, colour ^ 1, capturer, values, allowed, mover));
}

// ---------------------------------------------------------------------------
// Random positions around one square.

struct Scene {
  Board board;  // as loaded, with the mover still on its origin
  int to;
  int from;     // the mover's origin, cleared from the occupancy; -1 none
  int us;
};

bool Near(int a, int b) {
  const int df = std::abs(file_of(a) - file_of(b)), dr = std::abs(rank_of(a) - rank_of(b));
  return df == 0 || dr == 0 || df == dr || df * dr == 2;
}

struct SceneRules {
  bool queens;       // queens may appear
  bool oneBishop;    // at most one bishop of each colour
  bool kingsAway;    // no king next to the square
  bool innerSquare;  // the square lies on ranks 2 to 7, so no recapture promotes
};

Scene RandomScene(std::mt19937_64& rng, const SceneRules& rules) {
  auto below = [&](int n) { return int(rng() % uint64_t(n)); };
  Scene scene;
  scene.us = below(2);
  scene.to = rules.innerSquare ? 8 + below(48) : below(64);
  Board& b = scene.board;
  b = EmptyBoard();
  for (char king : {'K', 'k'}) {
    for (;;) {
      const int s = below(64);
      if (s == scene.to || b[s] != '.') continue;
      if (rules.kingsAway && std::max(std::abs(file_of(s) - file_of(scene.to)),
                                      std::abs(rank_of(s) - rank_of(scene.to))) <= 1)
        continue;
      b[s] = king;
      break;
    }
  }
  const std::string kinds = rules.queens ? "pppnnbbrrq" : "pppnnbbrr";
  int bishops[2] = {0, 0};
  for (int s = 0; s < 64; ++s) {
    if (s == scene.to || b[s] != '.') continue;
    if (below(100) >= (Near(s, scene.to) ? 40 : 8)) continue;
    const char kind = kinds[below(int(kinds.size()))];
    const int colour = below(2);
    if (kind == 'p' && (rank_of(s) == 0 || rank_of(s) == 7)) continue;
    if (kind == 'b' && rules.oneBishop && bishops[colour]++) continue;
    b[s] = colour == 0 ? char(std::toupper(kind)) : kind;
  }
  // Half the time a man of theirs stands on the square: the move is a capture.
  if (below(2)) {
    const char kind = kinds[below(int(kinds.size()))];
    if (!(kind == 'p' && (rank_of(scene.to) == 0 || rank_of(scene.to) == 7)) &&
        !(kind == 'b' && rules.oneBishop && bishops[scene.us ^ 1]))
      b[scene.to] = scene.us == 1 ? char(std::toupper(kind)) : kind;
  }
  // The mover leaves one of our men's squares.
  scene.from = -1;
  for (int tries = 0; tries < 64 && scene.from < 0; ++tries) {
    const int s = below(64);
    const char c = b[s];
    if (s != scene.to && c != '.' && kind_of(c) != 'k' && (is_white_man(c) ? 0 : 1) == scene.us) scene.from = s;
  }
  return scene;
}

Bitboard OccupancyOf(const Scene& scene) {
  return scene.from < 0 ? position.occupied : position.occupied ^ bit(scene.from);
}

Board SwapBoard(const Scene& scene) {
  Board b = scene.board;
  if (scene.from >= 0) b[scene.from] = '.';
  return b;
}

Scene Mirrored(const Scene& scene) {
  return {Mirror(scene.board), scene.to ^ 56, scene.from < 0 ? -1 : scene.from ^ 56, scene.us ^ 1};
}

uint64_t RunTest(const Scene& s, Bitboard occupancy, Bitboard candidates, int64_t stake) {
  return s.us == WHITE ? ExchangeTest<WHITE>(s.to, occupancy, candidates, stake)
                       : ExchangeTest<BLACK>(s.to, occupancy, candidates, stake);
}
int64_t RunValue(const Scene& s, Bitboard occupancy, int64_t stake) {
  return s.us == WHITE ? ExchangeValue<WHITE>(s.to, occupancy, stake) : ExchangeValue<BLACK>(s.to, occupancy, stake);
}
int64_t RunBound(const Scene& s, Bitboard occupancy, int64_t stake, int64_t bound) {
  return s.us == WHITE ? ExchangeBound<WHITE>(s.to, occupancy, stake, bound)
                       : ExchangeBound<BLACK>(s.to, occupancy, stake, bound);
}

// ---------------------------------------------------------------------------
// Hand positions have Black as the mover and White taking; every one is
// also run mirrored through White's copy, which must give the same answer.

struct HandMove {
  const char* fen;
  const char* to;
  const char* from;  // nullptr: no origin to clear
};

Scene HandScene(const HandMove& m) {
  return {BoardFromFen(m.fen), Sq(m.to), m.from ? Sq(m.from) : -1, BLACK};
}

// Runs `f(scene, occupancy)` on the position and on its mirror; both must
// give `expected`.
template <typename F>
void ExpectBothCopies(const HandMove& m, int64_t expected, F f) {
  const Scene black = HandScene(m);
  Load(black.board);
  EXPECT_EQ(f(black, OccupancyOf(black)), expected) << "Black copy, " << m.fen;
  const Scene white = Mirrored(black);
  Load(white.board);
  EXPECT_EQ(f(white, OccupancyOf(white)), expected) << "White copy, mirror of " << m.fen;
}

// What the random scenes leave out (kings beside the square, recaptures that
// promote, the flags of the men that took part, the bound's cap) as one row
// each. The mover is Black; `routine` picks the question: 'T' the pass-or-fail
// test (with `candidates`), 'V' the value, 'B' the bound (with `bound`).
struct HandCase {
  HandMove move;
  char routine;
  int64_t stake;
  int64_t expected;
  Bitboard candidates = ~Bitboard(0);
  int64_t bound = 0;
};

const HandCase HAND_CASES[] = {
    // Pawn trade: even is not ahead, our pawn takes back. Our bishop, then a
    // knight to take their queen.
    {{"7k/3p4/2p5/8/4P3/8/8/K7 b - -", "d5", "d7"}, 'T', 0x20000, 1 | 32},
    {{"k7/5n2/3p4/8/6n1/2B5/1Q6/7K b - -", "e5", "f7"}, 'T', 0x60000, 1 | 16 | 4},
    // Our recapture that promotes counts the queen; one rank up it does not.
    {{"k6K/8/8/8/3r4/2N5/4p3/8 b - -", "d1", "d4"}, 'T', 0xa0000, 1 | 16},
    {{"k6K/8/8/8/3r4/1N2p3/8/8 b - -", "d2", "d4"}, 'T', 0xa0000, 0},
    // Their king takes only what is loose, and starts only as a candidate.
    {{"k7/8/8/6n1/8/3K4/8/8 b - -", "e4", "g5"}, 'T', 0x60000, 0},
    {{"k7/8/8/5pn1/8/3K4/8/8 b - -", "e4", "g5"}, 'T', 0x60000, 1 | 2},
    {{"k7/8/8/6n1/8/3K4/8/8 b - -", "e4", "g5"}, 'T', 0x60000, 1, 0},
    // After the first capture the king joins the candidates.
    {{"7k/8/4p3/r7/2K5/8/8/3R4 b - -", "d5", "a5"}, 'T', 0xa0000, 0, Bits({"d1"})},
    // Our king takes back only when nothing of theirs is left.
    {{"8/8/4kn2/8/8/8/8/3R3K b - -", "d5", "f6"}, 'T', 0x60000, 1 | 8},
    {{"8/8/4kn2/8/8/8/3R4/3R3K b - -", "d5", "f6"}, 'T', 0x60000, 0},
    {{"8/8/8/6n1/5k2/3K4/8/8 b - -", "e4", "g5"}, 'T', 0x60000, 1 | 2},
    {{"4r3/8/8/3K1k2/8/8/8/4R3 b - -", "e5", "e8"}, 'T', 0x70000, 0},
    // Values: kings, and a queen that comes out ahead takes the whole stake.
    {{"6nk/4p3/8/4P3/8/8/8/K7 b - -", "f6", "g8"}, 'V', 0x60000, 0x40000},
    {{"k7/8/8/6n1/8/3K4/8/8 b - -", "e4", "g5"}, 'V', 0x60000, 0x60000},
    {{"8/8/4kn2/8/8/8/3R4/3R3K b - -", "d5", "f6"}, 'V', 0x60000, 0x60000},
    {{"7k/8/4p3/3n4/8/8/8/3Q3K b - -", "d5", nullptr}, 'V', 0x180000, 0x180000},
    {{"7k/8/4p3/3n4/8/8/8/3Q3K b - -", "d5", nullptr}, 'V', 0x60000, 0},
    // Bounds: their win with the margin, cap and margin when nothing takes back.
    {{"6nk/8/8/4P3/8/8/8/K7 b - -", "f6", "g8"}, 'B', 0x60000, 0x40000, ~Bitboard(0), 0},
    {{"6nk/8/8/4P3/8/8/8/K7 b - -", "f6", "g8"}, 'B', 0x60000, 0x60000 + 0x120000 + 0x40000, ~Bitboard(0), 0x40000},
    {{"7k/8/4p3/3n4/8/8/8/3Q3K b - -", "d5", nullptr}, 'B', 0x180000, 0x180000 + 0x160000, ~Bitboard(0), 0},
    {{"3r3k/8/8/r7/8/8/3R4/3R3K b - -", "d5", "a5"}, 'B', 0xa0000, 0xa0000 + 0x40000, ~Bitboard(0), 0xa0000},
    {{"k6K/8/8/8/3r4/2N5/4p3/8 b - -", "d1", "d4"}, 'B', 0xa0000, 0, ~Bitboard(0), 0},
    {{"k6K/8/8/8/3r4/1N2p3/8/8 b - -", "d2", "d4"}, 'B', 0xa0000, 0x40000, ~Bitboard(0), 0},
};

TEST(Exchange, HandPositionsInBothColourCopies) {
  for (const HandCase& c : HAND_CASES) {
    SCOPED_TRACE(std::string(c.move.fen) + " " + c.routine + " stake " + std::to_string(c.stake));
    ExpectBothCopies(c.move, c.expected, [&](const Scene& s, Bitboard occ) -> int64_t {
      switch (c.routine) {
        case 'T': return int64_t(RunTest(s, occ, s.us == BLACK ? c.candidates : MirrorBits(c.candidates), c.stake));
        case 'V': return RunValue(s, occ, c.stake);
        default: return RunBound(s, occ, c.stake, c.bound);
      }
    });
  }
}

// ---------------------------------------------------------------------------
// Random positions against the plain swap.

constexpr int64_t STAKES[] = {0x10000, 0x20000, 0x40000, 0x60000, 0x70000, 0x80000, 0xa0000, 0x120000, 0x140000};

TEST(ExchangeRandom, ValueAndBoundFollowThePlainSwap) {
  std::mt19937_64 rng(0x5ee1);
  const SceneRules rules{false, true, true, true};
  const SwapValues values{{0x60000, 0x60000}};
  int between = 0, within = 0, beyond = 0, total = 0;
  for (int n = 0; n < 1500; ++n) {
    const Scene s = RandomScene(rng, rules);
    Load(s.board);
    const Bitboard occ = OccupancyOf(s);
    const Bitboard all[2] = {~Bitboard(0), ~Bitboard(0)};
    for (int64_t stake : STAKES) {
      const int64_t theirs = Swap(SwapBoard(s), s.to, s.us ^ 1, stake, values, all, s.us);
      const std::string where = FenOf(s.board) + " to " + std::to_string(s.to) + " from " +
                                std::to_string(s.from) + " stake " + std::to_string(stake);
      ASSERT_EQ(RunValue(s, occ, stake), theirs) << where;
      between += theirs > 0 && theirs < stake;
      ++total;
      for (int64_t bound : {int64_t(0), int64_t(0x10000), int64_t(0x20000)}) {
        if (stake <= bound) continue;
        const int64_t result = RunBound(s, occ, stake, bound);
        ASSERT_EQ(result == 0, theirs <= bound) << where << " bound " << bound;
        if (result) {
          ASSERT_GT(result, bound) << where;
        }
        within += result == 0;
        beyond += result != 0;
      }
    }
  }
  EXPECT_GT(between, total / 20);  // the positions hold real exchanges
  EXPECT_GT(within, 1000);
  EXPECT_GT(beyond, 1000);
}

TEST(ExchangeRandom, TestPassesExactlyWhenThePlainSwapGivesThemNothing) {
  std::mt19937_64 rng(0x7e57);
  const SceneRules rules{true, true, true, true};
  int fails = 0, deepPasses = 0, total = 0;
  for (int n = 0; n < 1500; ++n) {
    const Scene s = RandomScene(rng, rules);
    Load(s.board);
    const Bitboard occ = OccupancyOf(s);
    // Their bishop counts 0x70000 in the test, ours 0x60000.
    SwapValues values{};
    values.bishop[s.us] = 0x60000;
    values.bishop[s.us ^ 1] = 0x70000;
    for (int64_t stake : STAKES) {
      const Bitboard candidates = (n & 1) ? ~Bitboard(0) : rng();
      Bitboard allowed[2];
      allowed[s.us] = ~Bitboard(0);
      allowed[s.us ^ 1] = candidates;
      const int64_t theirs = Swap(SwapBoard(s), s.to, s.us ^ 1, stake, values, allowed, s.us);
      const uint64_t flags = RunTest(s, occ, candidates, stake);
      ASSERT_EQ(flags == 0, theirs > 0) << FenOf(s.board) << " to " << s.to << " from " << s.from << " us "
                                        << s.us << " stake " << stake << " candidates " << candidates;
      if (flags) {
        ASSERT_EQ(flags & 1, 1u);
      }
      fails += flags == 0;
      deepPasses += flags > 1;
      ++total;
    }
  }
  EXPECT_GT(fails, total / 10);
  EXPECT_GT(deepPasses, total / 10);
}

// ---------------------------------------------------------------------------
// SquareGuarded: Black's copy asks whether White covers the square.

constexpr Bitboard ALL = ~Bitboard(0);

// Plain statement of the covering rules on the character board.
bool GuardedReference(const Board& b, int square, Bitboard free, int them) {
  int king = -1;
  for (int s = 0; s < 64; ++s)
    if (b[s] == (them == WHITE ? 'K' : 'k')) king = s;
  auto onDiagonal = [&](int s) {
    const int df = std::abs(file_of(s) - file_of(king)), dr = std::abs(rank_of(s) - rank_of(king));
    return df == dr && df;
  };
  auto onLine = [&](int s) { return s != king && (file_of(s) == file_of(king) || rank_of(s) == rank_of(king)); };
  for (int s = 0; s < 64; ++s) {
    const char c = b[s];
    if (c == '.' || (is_white_man(c) ? 0 : 1) != them || kind_of(c) == 'k' || !Attacks(b, s, square)) continue;
    const bool isFree = free >> s & 1;
    const bool diagonalStep = std::abs(file_of(s) - file_of(square)) == std::abs(rank_of(s) - rank_of(square));
    bool covers = isFree;
    switch (kind_of(c)) {
      case 'p':
        covers |= onDiagonal(s) && std::max(std::abs(file_of(s) - file_of(king)), std::abs(rank_of(s) - rank_of(king))) > 1;
        break;
      case 'b': covers |= onDiagonal(s) && onDiagonal(square); break;
      case 'r': covers |= onLine(s) && onLine(square); break;
      case 'q':
        covers |= diagonalStep ? onDiagonal(s) && onDiagonal(square) : onLine(s) && onLine(square);
        break;
    }
    if (covers) return true;
  }
  return false;
}

TEST(SquareGuarded, RandomPositionsFollowTheRulesForBothColours) {
  std::mt19937_64 rng(0x6a4d);
  const SceneRules rules{true, false, false, false};
  int covered = 0;
  for (int n = 0; n < 1500; ++n) {
    const Scene s = RandomScene(rng, rules);
    const int square = int(rng() % 64);
    const Bitboard free = (n % 3 == 0) ? ALL : (n % 3 == 1) ? 0 : rng();
    Load(s.board);
    const bool black = SquareGuarded<BLACK>(position.occupied, square, free);
    const bool white = SquareGuarded<WHITE>(position.occupied, square, free);
    ASSERT_EQ(black, GuardedReference(s.board, square, free, WHITE)) << FenOf(s.board) << " " << square;
    ASSERT_EQ(white, GuardedReference(s.board, square, free, BLACK)) << FenOf(s.board) << " " << square;
    covered += black;
  }
  EXPECT_GT(covered, 200);
  EXPECT_LT(covered, 1300);
}

// ---------------------------------------------------------------------------
// BlockScan: Black checks the white king.

struct BlockInputs {
  const char* fen;
  const char* square;
  Bitboard guarded = 0, movers = ALL, marked = 0, weakTargets = 0, loose = 0, defended = 0, exposed = 0;
  const char* vacated = nullptr;  // the checker's origin, cleared from the occupancy
};

Bitboard OccupancyAfter(const BlockInputs& in, bool mirrored) {
  if (!in.vacated) return position.occupied;
  return position.occupied ^ bit(mirrored ? Sq(in.vacated) ^ 56 : Sq(in.vacated));
}

uint64_t BlockBlack(const BlockInputs& in) {
  EXPECT_EQ(SetPositionFromFen(in.fen), 1);
  return BlockScan<BLACK>(Sq(in.square), int(position.kingSquare[WHITE]), in.guarded, in.movers, in.marked,
                          OccupancyAfter(in, false), in.weakTargets, in.loose, in.defended, in.exposed);
}

uint64_t BlockWhite(const BlockInputs& in) {
  const std::string mirrored = FenOf(Mirror(BoardFromFen(in.fen)));
  EXPECT_EQ(SetPositionFromFen(mirrored.c_str()), 1);
  auto f = MirrorBits;
  return BlockScan<WHITE>(Sq(in.square) ^ 56, int(position.kingSquare[BLACK]), f(in.guarded), f(in.movers),
                          f(in.marked), OccupancyAfter(in, true), f(in.weakTargets), f(in.loose), f(in.defended),
                          f(in.exposed));
}

void ExpectBlock(const BlockInputs& in, uint64_t expected) {
  EXPECT_EQ(BlockBlack(in), expected) << in.fen;
  EXPECT_EQ(BlockWhite(in), expected) << "mirror of " << in.fen;
}

// Black checks the white king from `square`; the flags name how White's men
// can block: 256 sure, 64 backed up by a pawn, 128 a square another man
// reached, 16/8/4/2 the weaker forms, 1 a marked or weak man took part.
TEST(BlockScan, HandPositionsInBothColourCopies) {
  const Bitboard bishopLine = Bits({"b2", "c3", "d4", "e5", "f6", "g7"});
  const std::pair<BlockInputs, uint64_t> cases[] = {
      // A check from next to the king cannot be blocked, whatever the sets.
      {{.fen = "k7/8/8/8/8/2N5/4q3/4K3 b - -", .square = "e2"}, 0},
      {{"k7/8/8/8/8/2N5/4q3/4K3 b - -", "e2", ALL, ALL, ALL, ALL, ALL, ALL, ALL}, 0},
      // Nobody to block, or no movers.
      {{.fen = "k7/8/6b1/8/8/3K4/8/8 b - -", .square = "g6"}, 0},
      {{.fen = "k7/8/6b1/8/8/3K4/4P3/8 b - -", .square = "g6", .movers = 0}, 0},
      // e2-e4 lands next to the king on a square nothing else covers; covered
      // by us it is only recorded, a marked pusher gives flag 1; a pawn that
      // cannot push twice past a man is no pusher.
      {{.fen = "k7/8/6b1/8/8/3K4/4P3/8 b - -", .square = "g6"}, 256},
      {{.fen = "k7/8/6b1/8/8/3K4/4P3/8 b - -", .square = "g6", .guarded = Bits({"e4", "f5"})}, 0},
      {{.fen = "k7/8/6b1/8/8/3K4/4P3/8 b - -", .square = "g6", .guarded = Bits({"e4", "f5"}), .marked = Bits({"e2"})}, 1},
      {{.fen = "k7/8/6b1/8/8/3KN3/4P3/8 b - -", .square = "g6", .movers = Bits({"e2"})}, 0},
      // Ne3 blocks on a square we cover and d2 takes back there.
      {{.fen = "k3r3/8/8/8/8/8/2NP4/4K3 b - -", .square = "e8", .guarded = Bits({"e2", "e3", "e4", "e5", "e6", "e7"}), .exposed = ALL}, 64},
      {{.fen = "k3r3/8/8/8/8/8/2NP4/4K3 b - -", .square = "e8", .guarded = Bits({"e2", "e3", "e4", "e5", "e6", "e7"})}, 64 | 128},
      {{.fen = "k3r3/8/8/8/8/8/2NP4/4K3 b - -", .square = "e8", .guarded = Bits({"e2", "e3", "e4", "e5", "e6", "e7"}), .weakTargets = Bits({"c2"}), .exposed = ALL}, 1},
      {{.fen = "k3r3/8/8/8/8/8/2N5/4K3 b - -", .square = "e8", .guarded = Bits({"e2", "e3", "e4", "e5", "e6", "e7"}), .exposed = ALL}, 0},
      // c2-c3 and Ne2-c3 meet on a square we do not cover; once we cover the
      // line the knight only backs the push up.
      {{.fen = "k6b/8/8/8/8/8/2P1N3/K7 b - -", .square = "h8"}, 256},
      {{.fen = "k6b/8/8/8/8/8/2P1N3/K7 b - -", .square = "h8", .guarded = bishopLine}, 64 | 128},
      {{.fen = "k6b/8/8/8/8/8/2P1N3/K7 b - -", .square = "h8", .guarded = bishopLine, .defended = ALL}, 64},
      // Two knights reach b2, next to the king and covered by us.
      {{.fen = "k6b/8/8/8/8/3N4/8/K2N4 b - -", .square = "h8", .guarded = bishopLine, .exposed = ALL}, 16 | 4 | 1},
      {{.fen = "k6b/8/8/8/8/3N4/8/K2N4 b - -", .square = "h8", .guarded = bishopLine, .loose = ALL, .exposed = ALL}, 16 | 2 | 1},
      {{.fen = "k6b/8/8/8/8/3N4/8/K2N4 b - -", .square = "h8", .guarded = bishopLine, .marked = Bits({"d1"}), .loose = ALL, .exposed = ALL}, 16 | 2 | 1},
      // A pawn takes back on an uncovered block square.
      {{.fen = "k6b/8/8/8/8/8/3P4/K2N4 b - -", .square = "h8", .guarded = Bits({"b2", "d4", "e5", "f6", "g7"}), .weakTargets = Bits({"d1"}), .defended = ALL, .exposed = ALL}, 8 | 1},
      // The man taken on the check square is gone and cannot come back.
      {{.fen = "k7/8/8/8/r3R3/8/2N5/4K3 b - -", .square = "e4", .guarded = Bits({"e2", "e3"}), .vacated = "a4"}, 0},
  };
  for (const auto& [in, expected] : cases) ExpectBlock(in, expected);
}

}  // namespace
