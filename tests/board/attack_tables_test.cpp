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

}  // namespace

// ---------------------------------------------------------------------------
// Sliding attacks: every subset of each mask (which holds all that matters),
// then random boards with the squares outside the masks filled as well.

TEST(AttackSliders, MatchTheRayWalkOnEveryMaskSubsetAndRandomBoards) {
  for (int s = 0; s < 64; ++s) {
    for (const bool rook : {true, false}) {
      const Bitboard mask = rook ? ROOK_MASK[s] : BISHOP_MASK[s];
      Bitboard occ = 0;
      do {
        ASSERT_EQ(rook ? RookAttacks(s, occ) : BishopAttacks(s, occ),
                  rook ? rook_reference(s, occ) : bishop_reference(s, occ))
            << (rook ? "rook" : "bishop") << " on " << s << " occupancy 0x" << std::hex << occ;
        occ = (occ - mask) & mask;
      } while (occ);
    }
  }
  std::mt19937_64 rng(20240611);
  for (int i = 0; i < 20000; ++i) {
    const int s = int(rng() & 63);
    Bitboard occ = rng();
    if (i & 1) occ &= rng();
    if (i & 2) occ |= rng();
    ASSERT_EQ(RookAttacks(s, occ), rook_reference(s, occ)) << s << " 0x" << std::hex << occ;
    ASSERT_EQ(BishopAttacks(s, occ), bishop_reference(s, occ)) << s << " 0x" << std::hex << occ;
    ASSERT_EQ(QueenAttacks(s, occ), rook_reference(s, occ) | bishop_reference(s, occ)) << s;
  }
}

// ---------------------------------------------------------------------------
// Step, ray and zone tables, square by square from their definitions.

TEST(AttackSteps, EveryTableFollowsItsDefinition) {
  for (int s = 0; s < 64; ++s) {
    SCOPED_TRACE(s);
    EXPECT_EQ(KNIGHT_ATTACKS[s], knight_reference(s));
    EXPECT_EQ(KING_ATTACKS[s], king_reference(s));
    // Where a pawn of each colour stands to attack s.
    EXPECT_EQ(WHITE_PAWN_SOURCES[s], squares_where(s, [](int df, int dr) { return std::abs(df) == 1 && dr == -1; }));
    EXPECT_EQ(BLACK_PAWN_SOURCES[s], squares_where(s, [](int df, int dr) { return std::abs(df) == 1 && dr == 1; }));
    const bool top = rank_of(s) == 7;
    EXPECT_EQ(PAWN_LEFT_STEP[s], (top || file_of(s) == 0) ? 0 : one(file_of(s) - 1, rank_of(s) + 1));
    EXPECT_EQ(PAWN_RIGHT_STEP[s], (top || file_of(s) == 7) ? 0 : one(file_of(s) + 1, rank_of(s) + 1));
    const bool passantRank = rank_of(s) == 3 || rank_of(s) == 4;
    EXPECT_EQ(EP_NEIGHBOURS[s], passantRank ? squares_where(s, [](int df, int dr) { return std::abs(df) == 1 && !dr; }) : 0);
    EXPECT_EQ(ROOK_RAYS[s], rook_reference(s, 0));
    EXPECT_EQ(BISHOP_RAYS[s], bishop_reference(s, 0));
    // The king zones: whatever reaches a square next to the king.
    const Bitboard ring = king_reference(s);
    Bitboard knights = knight_reference(s), bishops = bishop_reference(s, 0), rooks = 0;
    for (Bitboard r = ring; r; r &= r - 1) {
      const int t = __builtin_ctzll(r);
      knights |= knight_reference(t);
      bishops |= bishop_reference(t, 0);
      rooks |= rook_reference(t, 0);
    }
    EXPECT_EQ(KING_ZONE_KNIGHTS[s], knights);
    EXPECT_EQ(KING_ZONE_BISHOPS[s], bishops);
    EXPECT_EQ(KING_ZONE_ROOKS[s], rooks & ~(Bitboard(1) << s));
  }
}

// ---------------------------------------------------------------------------
// Pairs of squares: on a line, the squares up to and including the second
// and the ray beyond the first; a knight step or the square itself, the
// target alone; anything else nothing.

TEST(AttackLinePairs, EveryPairFollowsTheGeometry) {
  for (int a = 0; a < 64; ++a) {
    for (int b = 0; b < 64; ++b) {
      const int df = file_of(b) - file_of(a), dr = rank_of(b) - rank_of(a);
      const Bitboard target = Bitboard(1) << b;
      const LinePair& p = LINE_PAIR[a * 64 + b];
      if (a == b || std::abs(df * dr) == 2) {
        ASSERT_EQ(p.between, target) << a << "-" << b;
      } else if (df == 0 || dr == 0 || std::abs(df) == std::abs(dr)) {
        const int sf = (df > 0) - (df < 0), sr = (dr > 0) - (dr < 0);
        ASSERT_EQ(p.between, walk(a, sf, sr, target)) << a << "-" << b;
        ASSERT_EQ(p.ray, walk(a, sf, sr, 0)) << a << "-" << b;
      } else {
        ASSERT_EQ(p.between, 0u) << a << "-" << b;
        ASSERT_EQ(p.ray, 0u) << a << "-" << b;
      }
    }
  }
}
