// Attack tables against a plain square-by-square reference written here, not
// shared with the builders of the tables.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>

#include "board/attacks.h"

namespace {

int file_of(int s) { return s % 8; }
int rank_of(int s) { return s / 8; }
bool inside(int f, int r) { return 0 <= f && f < 8 && 0 <= r && r < 8; }
Bitboard one(int f, int r) { return Bitboard(1) << (r * 8 + f); }

// Walk from s in (df, dr); stop after the first occupied square.
Bitboard walk(int s, int df, int dr, Bitboard occ) {
  Bitboard set = 0;
  for (int f = file_of(s) + df, r = rank_of(s) + dr; inside(f, r); f += df, r += dr) {
    set |= one(f, r);
    if (occ & one(f, r)) break;
  }
  return set;
}

Bitboard rook_reference(int s, Bitboard occ) {
  return walk(s, 0, 1, occ) | walk(s, 0, -1, occ) | walk(s, 1, 0, occ) | walk(s, -1, 0, occ);
}

Bitboard bishop_reference(int s, Bitboard occ) {
  return walk(s, 1, 1, occ) | walk(s, 1, -1, occ) | walk(s, -1, 1, occ) | walk(s, -1, -1, occ);
}

// Squares t with |file diff|, |rank diff| satisfying the predicate.
template <typename P>
Bitboard squares_where(int s, P pred) {
  Bitboard set = 0;
  for (int t = 0; t < 64; ++t)
    if (pred(file_of(t) - file_of(s), rank_of(t) - rank_of(s))) set |= Bitboard(1) << t;
  return set;
}

Bitboard knight_reference(int s) {
  return squares_where(s, [](int df, int dr) { return std::abs(df * dr) == 2; });
}

Bitboard king_reference(int s) {
  return squares_where(s, [](int df, int dr) { return std::max(std::abs(df), std::abs(dr)) == 1; });
}

int bit_count(Bitboard b) {
  int n = 0;
  for (; b; b &= b - 1) ++n;
  return n;
}

constexpr Bitboard RANK_1 = 0xffull, RANK_8 = RANK_1 << 56;

int sq(const char* name) { return (name[1] - '1') * 8 + (name[0] - 'a'); }

bool narrow_rook_square(int s) { return s == sq("a8") || s == sq("b8") || s == sq("c8") || s == sq("h8"); }

}  // namespace

// ---------------------------------------------------------------------------
// Sliding attacks

TEST(AttackSliders, MasksAreRaysWithoutTheirLastSquare) {
  for (int s = 0; s < 64; ++s) {
    const Bitboard rank_part = (walk(s, 1, 0, 0) | walk(s, -1, 0, 0)) & ~(FILE_A | FILE_H);
    const Bitboard file_part = (walk(s, 0, 1, 0) | walk(s, 0, -1, 0)) & ~(RANK_1 | RANK_8);
    EXPECT_EQ(ROOK_MASK[s], rank_part | file_part) << "square " << s;
    EXPECT_EQ(BISHOP_MASK[s], bishop_reference(s, 0) & ~(FILE_A | FILE_H | RANK_1 | RANK_8)) << "square " << s;
  }
}

TEST(AttackSliders, IndexWidthMatchesMaskExceptFourNarrowRookSquares) {
  size_t rook_total = 0, bishop_total = 0;
  int narrow = 0;
  for (int s = 0; s < 64; ++s) {
    const int rook_width = 64 - int(ROOK_SHIFT[s]);
    const int bishop_width = 64 - int(BISHOP_SHIFT[s]);
    const int expected_rook = bit_count(ROOK_MASK[s]) - (narrow_rook_square(s) ? 1 : 0);
    EXPECT_EQ(rook_width, expected_rook) << "square " << s;
    EXPECT_EQ(bishop_width, bit_count(BISHOP_MASK[s])) << "square " << s;
    narrow += rook_width < bit_count(ROOK_MASK[s]);
    rook_total += size_t(1) << rook_width;
    bishop_total += size_t(1) << bishop_width;
  }
  EXPECT_EQ(narrow, 4);
  EXPECT_EQ(rook_total, 96256u);
  EXPECT_EQ(bishop_total, 5248u);
  EXPECT_EQ(sizeof(ROOK_ATTACK_STORE), 96256u * 8);
  EXPECT_EQ(sizeof(BISHOP_ATTACK_STORE), 5248u * 8);
}

TEST(AttackSliders, SlicesLieBackToBackInsideTheStores) {
  const Bitboard* rook_next = ROOK_ATTACK_STORE;
  const Bitboard* bishop_next = BISHOP_ATTACK_STORE;
  for (int s = 0; s < 64; ++s) {
    EXPECT_EQ(ROOK_SLICE[s], rook_next) << "square " << s;
    EXPECT_EQ(BISHOP_SLICE[s], bishop_next) << "square " << s;
    rook_next += size_t(1) << (64 - ROOK_SHIFT[s]);
    bishop_next += size_t(1) << (64 - BISHOP_SHIFT[s]);
  }
  EXPECT_EQ(rook_next, ROOK_ATTACK_STORE + 96256);
  EXPECT_EQ(bishop_next, BISHOP_ATTACK_STORE + 5248);
}

TEST(AttackSliders, RookEveryMaskSubsetMatchesRayWalk) {
  for (int s = 0; s < 64; ++s) {
    const Bitboard mask = ROOK_MASK[s];
    long subsets = 0, failures = 0;
    Bitboard occ = 0;
    do {
      ++subsets;
      if (RookAttacks(s, occ) != rook_reference(s, occ) && failures++ < 3)
        ADD_FAILURE() << "rook on " << s << " occupancy 0x" << std::hex << occ;
      occ = (occ - mask) & mask;
    } while (occ);
    EXPECT_EQ(subsets, 1L << bit_count(mask));
    EXPECT_EQ(failures, 0) << "square " << s;
  }
}

TEST(AttackSliders, BishopEveryMaskSubsetMatchesRayWalk) {
  for (int s = 0; s < 64; ++s) {
    const Bitboard mask = BISHOP_MASK[s];
    long failures = 0;
    Bitboard occ = 0;
    do {
      if (BishopAttacks(s, occ) != bishop_reference(s, occ) && failures++ < 3)
        ADD_FAILURE() << "bishop on " << s << " occupancy 0x" << std::hex << occ;
      occ = (occ - mask) & mask;
    } while (occ);
    EXPECT_EQ(failures, 0) << "square " << s;
  }
}

TEST(AttackSliders, NarrowRookSquaresCoverEveryOccupancy) {
  // The four squares whose index is one bit short: each subset of the mask,
  // with and without the edge squares the mask leaves out.
  for (const char* name : {"a8", "b8", "c8", "h8"}) {
    const int s = sq(name);
    const Bitboard mask = ROOK_MASK[s];
    const Bitboard outside = ROOK_RAYS[s] & ~mask;
    Bitboard occ = 0;
    do {
      ASSERT_EQ(RookAttacks(s, occ), rook_reference(s, occ)) << name << " 0x" << std::hex << occ;
      ASSERT_EQ(RookAttacks(s, occ | outside), rook_reference(s, occ | outside)) << name;
      occ = (occ - mask) & mask;
    } while (occ);
  }
}

TEST(AttackSliders, SquaresOutsideTheMaskDoNotMatter) {
  std::mt19937_64 rng(20240611);
  for (int i = 0; i < 20000; ++i) {
    const int s = int(rng() & 63);
    // Sparse and dense boards alike.
    Bitboard occ = rng();
    if (i & 1) occ &= rng();
    if (i & 2) occ |= rng();
    ASSERT_EQ(RookAttacks(s, occ), rook_reference(s, occ)) << s << " 0x" << std::hex << occ;
    ASSERT_EQ(BishopAttacks(s, occ), bishop_reference(s, occ)) << s << " 0x" << std::hex << occ;
    ASSERT_EQ(QueenAttacks(s, occ), rook_reference(s, occ) | bishop_reference(s, occ)) << s;
  }
}

TEST(AttackSliders, KnownBoards) {
  EXPECT_EQ(RookAttacks(sq("a1"), 0), (FILE_A | RANK_1) & ~Bitboard(1));
  EXPECT_EQ(BishopAttacks(sq("a1"), 0), 0x8040201008040200ull);
  // Rook on d4 boxed in by d5, d3, c4, e4.
  const Bitboard box = one(3, 4) | one(3, 2) | one(2, 3) | one(4, 3);
  EXPECT_EQ(RookAttacks(sq("d4"), box), box);
  EXPECT_EQ(QueenAttacks(sq("d4"), box), box | BISHOP_RAYS[sq("d4")]);
}

// ---------------------------------------------------------------------------
// Step and ray tables

TEST(AttackSteps, KnightAndKingMatchDistances) {
  for (int s = 0; s < 64; ++s) {
    EXPECT_EQ(KNIGHT_ATTACKS[s], knight_reference(s)) << s;
    EXPECT_EQ(KING_ATTACKS[s], king_reference(s)) << s;
  }
  EXPECT_EQ(bit_count(KNIGHT_ATTACKS[sq("a1")]), 2);
  EXPECT_EQ(bit_count(KNIGHT_ATTACKS[sq("e4")]), 8);
  EXPECT_EQ(bit_count(KING_ATTACKS[sq("h8")]), 3);
}

TEST(AttackSteps, PawnSourcesAreWhereAPawnAttacksFrom) {
  for (int s = 0; s < 64; ++s) {
    Bitboard white_from = 0, black_from = 0;
    for (int t = 0; t < 64; ++t) {
      const int df = file_of(s) - file_of(t);
      const int dr = rank_of(s) - rank_of(t);
      if (std::abs(df) == 1 && dr == 1) white_from |= Bitboard(1) << t;   // white pawn on t hits s
      if (std::abs(df) == 1 && dr == -1) black_from |= Bitboard(1) << t;  // black pawn on t hits s
    }
    EXPECT_EQ(WHITE_PAWN_SOURCES[s], white_from) << s;
    EXPECT_EQ(BLACK_PAWN_SOURCES[s], black_from) << s;
  }
  EXPECT_EQ(WHITE_PAWN_SOURCES[sq("e4")], one(3, 2) | one(5, 2));
  EXPECT_EQ(BLACK_PAWN_SOURCES[sq("a5")], one(1, 5));
  EXPECT_EQ(WHITE_PAWN_SOURCES[sq("c1")], 0u);
}

TEST(AttackSteps, PawnStepsAndTheirMargins) {
  for (int s = 0; s < 64; ++s) {
    const bool top = rank_of(s) == 7;
    const Bitboard left = (top || file_of(s) == 0) ? 0 : one(file_of(s) - 1, rank_of(s) + 1);
    const Bitboard right = (top || file_of(s) == 7) ? 0 : one(file_of(s) + 1, rank_of(s) + 1);
    EXPECT_EQ(PAWN_LEFT_STEP[s], left) << s;
    EXPECT_EQ(PAWN_RIGHT_STEP[s], right) << s;
    if (top) {
      EXPECT_EQ(PAWN_LEFT_STEP[s], 0u) << s;
      EXPECT_EQ(PAWN_RIGHT_STEP[s], 0u) << s;
    }
  }
  EXPECT_EQ(PAWN_LEFT_STEP[sq("a2")], 0u);
  EXPECT_EQ(PAWN_RIGHT_STEP[sq("h2")], 0u);
  EXPECT_EQ(PAWN_LEFT_STEP[sq("h2")], one(6, 2));
  EXPECT_EQ(PAWN_RIGHT_STEP[sq("a2")], one(1, 2));
}

TEST(AttackSteps, EnPassantNeighboursOnlyOnRanksFourAndFive) {
  for (int s = 0; s < 64; ++s) {
    Bitboard expected = 0;
    if (rank_of(s) == 3 || rank_of(s) == 4)
      for (int df : {-1, 1})
        if (inside(file_of(s) + df, rank_of(s))) expected |= one(file_of(s) + df, rank_of(s));
    EXPECT_EQ(EP_NEIGHBOURS[s], expected) << s;
  }
  EXPECT_EQ(EP_NEIGHBOURS[sq("a4")], one(1, 3));
  EXPECT_EQ(EP_NEIGHBOURS[sq("e5")], one(3, 4) | one(5, 4));
  EXPECT_EQ(EP_NEIGHBOURS[sq("e3")], 0u);
  EXPECT_EQ(EP_NEIGHBOURS[sq("e6")], 0u);
}

TEST(AttackSteps, EmptyBoardRays) {
  for (int s = 0; s < 64; ++s) {
    const Bitboard lines =
        squares_where(s, [](int df, int dr) { return (df == 0) != (dr == 0); });
    const Bitboard diagonals =
        squares_where(s, [](int df, int dr) { return df != 0 && std::abs(df) == std::abs(dr); });
    EXPECT_EQ(ROOK_RAYS[s], lines) << s;
    EXPECT_EQ(BISHOP_RAYS[s], diagonals) << s;
    EXPECT_EQ(bit_count(ROOK_RAYS[s]), 14) << s;
  }
}

TEST(AttackSteps, KingZonesByDefinition) {
  for (int s = 0; s < 64; ++s) {
    const Bitboard ring = king_reference(s);
    Bitboard knights = knight_reference(s), bishops = bishop_reference(s, 0), rooks = 0;
    for (int t = 0; t < 64; ++t) {
      if (!(ring & (Bitboard(1) << t))) continue;
      knights |= knight_reference(t);
      bishops |= bishop_reference(t, 0);
      rooks |= rook_reference(t, 0);
    }
    EXPECT_EQ(KING_ZONE_KNIGHTS[s], knights) << s;
    EXPECT_EQ(KING_ZONE_BISHOPS[s], bishops) << s;
    EXPECT_EQ(KING_ZONE_ROOKS[s], rooks & ~(Bitboard(1) << s)) << s;
    EXPECT_FALSE(KING_ZONE_ROOKS[s] & (Bitboard(1) << s)) << s;
  }
  // A knight two files away from the corner king reaches b2 but not a1.
  EXPECT_TRUE(KING_ZONE_KNIGHTS[sq("a1")] & one(3, 0));
  EXPECT_TRUE(KING_ZONE_ROOKS[sq("e4")] & one(0, 4));   // rank 5 through e5's neighbours
  EXPECT_FALSE(KING_ZONE_ROOKS[sq("e4")] & one(0, 0));  // a1 reaches no neighbour of e4 along a line
}

// ---------------------------------------------------------------------------
// Pairs of squares

TEST(AttackLinePairs, SameSquareAndKnightStepGiveTheTargetAlone) {
  for (int a = 0; a < 64; ++a) {
    EXPECT_EQ(LINE_PAIR[a * 64 + a].between, Bitboard(1) << a) << a;
    for (int b = 0; b < 64; ++b) {
      if (knight_reference(a) & (Bitboard(1) << b)) {
        EXPECT_EQ(LINE_PAIR[a * 64 + b].between, Bitboard(1) << b) << a << "-" << b;
      }
    }
  }
}

TEST(AttackLinePairs, AlignedPairsGiveBetweenAndRay) {
  int aligned = 0;
  for (int a = 0; a < 64; ++a) {
    for (int b = 0; b < 64; ++b) {
      if (a == b) continue;
      const int df = file_of(b) - file_of(a), dr = rank_of(b) - rank_of(a);
      if (!(df == 0 || dr == 0 || std::abs(df) == std::abs(dr))) continue;
      ++aligned;
      const int sf = (df > 0) - (df < 0), sr = (dr > 0) - (dr < 0);
      Bitboard strictly = 0;
      for (int f = file_of(a) + sf, r = rank_of(a) + sr; r * 8 + f != b; f += sf, r += sr) strictly |= one(f, r);
      const Bitboard bb = Bitboard(1) << b;
      const LinePair& p = LINE_PAIR[a * 64 + b];
      ASSERT_EQ(p.between ^ bb, strictly) << a << "-" << b;
      ASSERT_TRUE(p.between & bb) << a << "-" << b;
      ASSERT_EQ(p.ray, walk(a, sf, sr, 0)) << a << "-" << b;
      ASSERT_FALSE(p.ray & (Bitboard(1) << a)) << a << "-" << b;
      ASSERT_EQ(p.ray & p.between, p.between) << a << "-" << b;
    }
  }
  // Every square sees 14 others along rank and file; the diagonals of the
  // board hold 560 ordered pairs. A miscount here means the walk above missed pairs.
  EXPECT_EQ(aligned, 64 * 14 + 560);
}

TEST(AttackLinePairs, PinIdiomOnAConcreteBoard) {
  // King e1, pinned piece e4, rook e8: strictly between e1 and e8 are e2..e7.
  const LinePair& p = LINE_PAIR[sq("e1") * 64 + sq("e8")];
  EXPECT_EQ(p.between ^ one(4, 7), 0x0010101010101000ull);
  EXPECT_EQ(LINE_PAIR[sq("e1") * 64 + sq("e4")].ray, 0x1010101010101000ull);
  // Bishop check from h4 on a king e1: block on f2, g3 or take on h4.
  EXPECT_EQ(LINE_PAIR[sq("e1") * 64 + sq("h4")].between, one(5, 1) | one(6, 2) | one(7, 3));
}

TEST(AttackLinePairs, OtherPairsHoldNothing) {
  for (int a = 0; a < 64; ++a)
    for (int b = 0; b < 64; ++b) {
      const int df = std::abs(file_of(b) - file_of(a)), dr = std::abs(rank_of(b) - rank_of(a));
      if (df == 0 || dr == 0 || df == dr || df * dr == 2) continue;
      EXPECT_EQ(LINE_PAIR[a * 64 + b].between, 0u) << a << "-" << b;
      EXPECT_EQ(LINE_PAIR[a * 64 + b].ray, 0u) << a << "-" << b;
    }
}

// ---------------------------------------------------------------------------
// Whole-board pawn idioms

TEST(AttackPawnIdioms, EqualTheUnionOfPerSquarePatterns) {
  std::mt19937_64 rng(7);
  for (int i = 0; i < 20000; ++i) {
    Bitboard pawns = rng();
    if (i % 3 == 0) pawns &= rng() & rng();  // sparse sets as well
    if (i % 5 == 0) pawns |= FILE_A | FILE_H | RANK_1 | RANK_8;  // every edge square
    Bitboard white = 0, black = 0;
    for (Bitboard p = pawns; p; p &= p - 1) {
      const int s = __builtin_ctzll(p);
      white |= BLACK_PAWN_SOURCES[s];  // what a white pawn on s attacks
      black |= WHITE_PAWN_SOURCES[s];
    }
    ASSERT_EQ(WhitePawnAttacks(pawns), white) << std::hex << pawns;
    ASSERT_EQ(BlackPawnAttacks(pawns), black) << std::hex << pawns;
  }
  // Every single square, each edge case on its own.
  for (int s = 0; s < 64; ++s) {
    EXPECT_EQ(WhitePawnAttacks(Bitboard(1) << s), BLACK_PAWN_SOURCES[s]) << s;
    EXPECT_EQ(BlackPawnAttacks(Bitboard(1) << s), WHITE_PAWN_SOURCES[s]) << s;
  }
  EXPECT_EQ(WhitePawnAttacks(~Bitboard(0)), ~RANK_1);
  EXPECT_EQ(BlackPawnAttacks(~Bitboard(0)), ~RANK_8);
}
