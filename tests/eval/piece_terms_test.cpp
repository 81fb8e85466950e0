// The piece, king safety and passed pawn terms of the evaluation: the tables
// left to the build (key squares, knight king tables) against their telling
// rows and the direct bit test, and worked sums of small positions added up
// by hand from the term values as stated.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "board/attacks.h"
#include "board/position.h"
#include "eval/evaluate.h"
#include "eval/key_squares.h"
#include "eval/king_tables.h"
#include "eval/pawn_cache.h"
#include "eval/piece_square.h"
#include "support/fen_flip.h"
#include "support/score_pairs.h"

namespace {

using namespace quorl_test;

// The pattern bits of a table row, by key square: which bit of the pattern a
// square sets, found by the multiplier itself.
int SlotOf(uint64_t multiplier, int square) {
  const uint32_t p = KeyPattern(Bitboard(1) << square, multiplier);
  return p == 0 ? -1 : __builtin_ctz(p);
}

// Square s to 63 - s.
Bitboard TurnOver(Bitboard b) {
  Bitboard out = 0;
  for (; b; b &= b - 1) out |= Bitboard(1) << (63 - __builtin_ctzll(b));
  return out;
}

// --- Key-square tables --------------------------------------------------------------

TEST(KeySquares, MultipliersMatchTheDirectBitTestOverEveryReachableSubset) {
  for (int colour = 0; colour < 2; ++colour)
    for (int sq = 0; sq < 64; ++sq) {
      for (int piece = 0; piece < 2; ++piece) {
        const uint64_t mult = piece == 0 ? BISHOP_KEY_MULTIPLIER[colour][sq] : KNIGHT_KEY_MULTIPLIER[colour][sq];
        const Bitboard reach = piece == 0 ? BISHOP_RAYS[sq] : KNIGHT_ATTACKS[sq];
        // The key squares: the reachable squares that set a bit alone.
        int slotSquare[4] = {-1, -1, -1, -1};
        for (Bitboard b = reach; b; b &= b - 1) {
          const int s = __builtin_ctzll(b);
          const uint32_t p = KeyPattern(Bitboard(1) << s, mult);
          if (!p) continue;
          ASSERT_EQ(__builtin_popcount(p), 1) << "square " << s << " sets one bit";
          ASSERT_EQ(slotSquare[__builtin_ctz(p)], -1) << "one square per bit";
          slotSquare[__builtin_ctz(p)] = s;
        }
        Bitboard sub = 0;
        do {
          uint32_t direct = 0;
          for (int j = 0; j < 4; ++j)
            if (slotSquare[j] >= 0 && (sub >> slotSquare[j] & 1)) direct |= 1u << j;
          ASSERT_EQ(KeyPattern(sub, mult), direct) << "colour " << colour << " square " << sq << " piece " << piece;
          sub = (sub - reach) & reach;
        } while (sub);
      }
    }
}

// Value of the bishop's pattern with only the key square `key` present.
Halves BishopKey(int colour, const char* origin, const char* key) {
  const int o = Sq(origin);
  const int slot = SlotOf(BISHOP_KEY_MULTIPLIER[colour][o], Sq(key));
  EXPECT_GE(slot, 0) << key << " is a key of " << origin;
  return slot < 0 ? Halves{-1, -1} : Split(BISHOP_KEY_TABLE[colour][o][1u << slot]);
}

int KeyCount(uint64_t multiplier, Bitboard reach) { return __builtin_popcount(KeyPattern(reach, multiplier)); }

TEST(KeySquares, BishopTellingRows) {
  const Halves centre{37, 42}, side{16, 16}, none{0, 0}, behind{5, 5};
  for (const char* k : {"c3", "d4", "e5", "f6"}) EXPECT_EQ(BishopKey(WHITE, "a1", k), centre) << k;
  for (const char* k : {"d2", "e3", "f4"}) EXPECT_EQ(BishopKey(WHITE, "c1", k), centre) << k;
  EXPECT_EQ(BishopKey(WHITE, "c1", "g5"), side);
  for (const char* k : {"d5", "f5", "c6"}) EXPECT_EQ(BishopKey(WHITE, "e4", k), centre) << k;
  EXPECT_EQ(BishopKey(WHITE, "e4", "g6"), side);
  for (const char* k : {"c6", "e6"}) EXPECT_EQ(BishopKey(WHITE, "d5", k), centre) << k;
  for (const char* k : {"b7", "f7"}) EXPECT_EQ(BishopKey(WHITE, "d5", k), side) << k;
  for (const char* k : {"d7", "f7"}) EXPECT_EQ(BishopKey(WHITE, "e6", k), side) << k;
  for (const char* k : {"c8", "g8"}) EXPECT_EQ(BishopKey(WHITE, "e6", k), none) << k;
  for (const char* k : {"c3", "d4", "e5", "f6"}) EXPECT_EQ(BishopKey(WHITE, "h8", k), behind) << k;
  // Four keys in every telling row, and the table adds them up.
  for (const char* o : {"a1", "c1", "e4", "d5", "e6", "h8"})
    EXPECT_EQ(KeyCount(BISHOP_KEY_MULTIPLIER[WHITE][Sq(o)], BISHOP_RAYS[Sq(o)]), 4) << o;
  EXPECT_EQ(Split(BISHOP_KEY_TABLE[WHITE][Sq("a1")][15]), (Halves{148, 168}));
  EXPECT_EQ(Split(BISHOP_KEY_TABLE[WHITE][Sq("e4")][15]), (Halves{127, 142}));
  // Black reads the board turned over: its bishop on h8 is White's on a1.
  for (const char* k : {"f6", "e5", "d4", "c3"}) EXPECT_EQ(BishopKey(BLACK, "h8", k), centre) << k;
  EXPECT_EQ(BishopKey(BLACK, "a1", "f6"), behind);
}

TEST(KeySquares, KnightTellingRows) {
  struct Row {
    const char* origin;
    const char* keys[4];  // for pattern bits 1, 2, 4, 8; "-" for none
  };
  for (const Row& r : {Row{"e4", {"f6", "c5", "d6", "g5"}}, Row{"d4", {"e6", "b5", "c6", "f5"}},
                       Row{"a1", {"-", "-", "b3", "c2"}}}) {
    const uint64_t mult = KNIGHT_KEY_MULTIPLIER[WHITE][Sq(r.origin)];
    EXPECT_EQ(KeyCount(mult, KNIGHT_ATTACKS[Sq(r.origin)]), r.origin[0] == 'a' ? 2 : 4);
    for (int j = 0; j < 4; ++j)
      if (r.keys[j][0] != '-') {
        EXPECT_EQ(SlotOf(mult, Sq(r.keys[j])), j) << r.origin << " " << r.keys[j];
      }
  }
  const uint32_t* e4t = KNIGHT_KEY_TABLE[WHITE][KNIGHT_TARGET_TABLE][Sq("e4")];
  const uint32_t* e4s = KNIGHT_KEY_TABLE[WHITE][KNIGHT_SAFE_TABLE][Sq("e4")];
  const uint32_t* d4t = KNIGHT_KEY_TABLE[WHITE][KNIGHT_TARGET_TABLE][Sq("d4")];
  const uint32_t* d4s = KNIGHT_KEY_TABLE[WHITE][KNIGHT_SAFE_TABLE][Sq("d4")];
  const uint32_t* a1t = KNIGHT_KEY_TABLE[WHITE][KNIGHT_TARGET_TABLE][Sq("a1")];
  const uint32_t* a1s = KNIGHT_KEY_TABLE[WHITE][KNIGHT_SAFE_TABLE][Sq("a1")];
  const uint32_t target[5] = {Pack(76, 115), Pack(62, 93), Pack(76, 115), Pack(48, 72), Pack(217, 329)};
  const uint32_t safe[5] = {Pack(43, 64), Pack(28, 43), Pack(57, 86), 0, Pack(112, 168)};
  const int patterns[5] = {1, 2, 4, 8, 15};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(e4t[patterns[i]], target[i]) << "e4 target " << patterns[i];
    EXPECT_EQ(e4s[patterns[i]], safe[i]) << "e4 safe " << patterns[i];
  }
  const uint32_t d4target[5] = {Pack(76, 115), Pack(48, 72), Pack(76, 115), Pack(62, 93), Pack(217, 329)};
  const uint32_t d4safe[5] = {Pack(57, 86), 0, Pack(43, 64), Pack(28, 43), Pack(112, 168)};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(d4t[patterns[i]], d4target[i]) << "d4 target " << patterns[i];
    EXPECT_EQ(d4s[patterns[i]], d4safe[i]) << "d4 safe " << patterns[i];
  }
  EXPECT_EQ(a1t[4], Pack(76, 115));
  EXPECT_EQ(a1t[8], Pack(76, 115));
  EXPECT_EQ(a1t[12], Pack(134, 203));
  EXPECT_EQ(a1s[4], Pack(57, 86));
  EXPECT_EQ(a1s[8], Pack(43, 64));
  EXPECT_EQ(a1s[12], Pack(90, 135));

  // Concave: two of e4's keys give (123, 186) or (134, 203) among others,
  // three lie from (159, 241) to (181, 274), and more keys never lose value.
  bool saw123 = false, saw134 = false;
  Halves lowThree{9999, 9999}, highThree{0, 0};
  for (uint32_t p = 0; p < 16; ++p) {
    const Halves v = Split(e4t[p]);
    if (__builtin_popcount(p) == 2) saw123 |= v == Halves{123, 186}, saw134 |= v == Halves{134, 203};
    if (__builtin_popcount(p) == 3) {
      if (v.m < lowThree.m) lowThree = v;
      if (v.m > highThree.m) highThree = v;
    }
    for (int j = 0; j < 4; ++j) {
      const Halves more = Split(e4t[p | 1u << j]);
      EXPECT_GE(more.m, v.m);
      EXPECT_GE(more.e, v.e);
    }
    int sumM = 0;
    for (int j = 0; j < 4; ++j)
      if (p >> j & 1) sumM += Split(e4t[1u << j]).m;
    if (__builtin_popcount(p) >= 2) {
      EXPECT_LT(v.m, sumM) << "less than the sum of its keys";
    }
  }
  EXPECT_TRUE(saw123);
  EXPECT_TRUE(saw134);
  EXPECT_EQ(lowThree, (Halves{159, 241}));
  EXPECT_EQ(highThree, (Halves{181, 274}));

  // Black: the board turned over. A black knight on e5 has White's e4 row
  // with every key square mirrored through the centre.
  const uint64_t black = KNIGHT_KEY_MULTIPLIER[BLACK][Sq("d5")];
  for (uint32_t p = 0; p < 16; ++p) {
    // Build the white set of pattern p on e4, turn it over, read the black row.
    Bitboard whiteSet = 0;
    for (Bitboard b = KNIGHT_ATTACKS[Sq("e4")]; b; b &= b - 1) {
      const int s = __builtin_ctzll(b);
      if (KeyPattern(Bitboard(1) << s, KNIGHT_KEY_MULTIPLIER[WHITE][Sq("e4")]) & p) whiteSet |= Bitboard(1) << s;
    }
    const Bitboard blackSet = TurnOver(whiteSet);
    EXPECT_EQ(KNIGHT_KEY_TABLE[BLACK][KNIGHT_TARGET_TABLE][Sq("d5")][KeyPattern(blackSet, black)], e4t[p]);
    EXPECT_EQ(KNIGHT_KEY_TABLE[BLACK][KNIGHT_SAFE_TABLE][Sq("d5")][KeyPattern(blackSet, black)], e4s[p]);
  }
}

// --- King tables --------------------------------------------------------------------

void ExpectRows(const int8_t (&table)[64][64], const char* king, const int (&rows)[8][8]) {
  for (int r = 0; r < 8; ++r)
    for (int f = 0; f < 8; ++f)
      EXPECT_EQ(table[Sq(king)][(7 - r) * 8 + f], rows[r][f]) << "king " << king << " square " << char('a' + f) << 8 - r;
}

TEST(KingTables, KnightAttackAndCoverTellingRows) {
  const int e8[8][8] = {{0, 22, 22, 22, -1, 22, 22, 22}, {0, 22, 8, 22, 6, 22, 8, 22}, {0, 22, 29, 23, 22, 23, 29, 22},
                        {0, 8, 22, 22, 22, 22, 22, 8},   {0, 0, 0, 8, 8, 8, 0, 0},       {},
                        {},                              {}};
  const int e5[8][8] = {{0, 8, 22, 22, 22, 22, 22, 8},   {0, 22, 29, 23, 22, 23, 29, 22}, {0, 22, 23, 22, 22, 22, 23, 22},
                        {0, 22, 29, 22, -1, 22, 29, 22}, {0, 22, 23, 22, 22, 22, 23, 22}, {0, 22, 29, 23, 22, 23, 29, 22},
                        {0, 8, 22, 22, 22, 22, 22, 8},   {0, 0, 0, 8, 8, 8, 0, 0}};
  const int e1[8][8] = {{}, {}, {}, {}, {0, 0, 7, 7, 7, 7, 7, 0}, {0, 7, 7, 7, 7, 7, 7, 7},
                        {0, 7, 0, 7, 0, 7, 0, 7}, {0, 7, 7, 7, -1, 7, 7, 7}};
  const int g1[8][8] = {{}, {}, {}, {}, {0, 0, 0, 0, 7, 7, 7, 7}, {0, 0, 0, 7, 7, 7, 7, 7},
                        {0, 0, 0, 7, 0, 7, 0, 7}, {0, 0, 0, 7, 7, 7, -1, 7}};
  ExpectRows(KNIGHT_KING_ATTACK, "e8", e8);
  ExpectRows(KNIGHT_KING_ATTACK, "e5", e5);
  ExpectRows(KNIGHT_KING_COVER, "e1", e1);
  ExpectRows(KNIGHT_KING_COVER, "g1", g1);
  // Nothing beyond four squares; -1 on the king's own square everywhere.
  for (int k = 0; k < 64; ++k) {
    EXPECT_EQ(KNIGHT_KING_ATTACK[k][k], -1);
    EXPECT_EQ(KNIGHT_KING_COVER[k][k], -1);
    for (int s = 0; s < 64; ++s) {
      const int df = std::abs(square_file(s) - square_file(k)), dr = std::abs(square_rank(s) - square_rank(k));
      if (df > 4 || dr > 4) {
        EXPECT_EQ(KNIGHT_KING_ATTACK[k][s], 0);
      }
      if (df > 3 || dr > 3) {
        EXPECT_EQ(KNIGHT_KING_COVER[k][s], 0);
      }
    }
  }
}

TEST(KingTables, CurveShelterAndStorm) {
  EXPECT_EQ(KING_ATTACK_CURVE[0], 0u);
  EXPECT_EQ(KING_ATTACK_CURVE[42], 0u);
  EXPECT_EQ(KING_ATTACK_CURVE[43], Pack(3, 2));
  EXPECT_EQ(KING_ATTACK_CURVE[51], Pack(57, 41));
  EXPECT_EQ(KING_ATTACK_CURVE[87], Pack(825, 605));
  EXPECT_EQ(KING_ATTACK_CURVE[88], Pack(840, 616));
  EXPECT_EQ(KING_ATTACK_CURVE[511], Pack(7185, 5269));
  // Shelter: all three on the second rank (bits 0-2) is the exception.
  EXPECT_EQ(SHELTER_TABLE[7], Pack(130, 210));
  EXPECT_EQ(SHELTER_TABLE[7 | 0x1c0], Pack(130, 210));
  EXPECT_EQ(SHELTER_TABLE[0], Pack(1150, 0));
  EXPECT_EQ(SHELTER_TABLE[1 | 2 << 3 | 4], Pack(110, 0));  // edge and inner on rank 2, middle on 3
  EXPECT_EQ(SHELTER_TABLE[2 << 6], Pack(950, 0));          // middle file on rank 4 or 5 only
  EXPECT_EQ(SHELTER_TABLE[2 | 2 << 3], Pack(600, 0));      // the nearest pawn decides
  EXPECT_EQ(STORM_TABLE[7], Pack(1390, 0));
  EXPECT_EQ(STORM_TABLE[1 << 3 | 4 << 6], Pack(170, 0));
  EXPECT_EQ(STORM_TABLE[2 | 2 << 6], Pack(540, 0));
}

// --- Worked sums ----------------------------------------------------------------------

// The term sum of a position less its piece-square sum, tempo and pawn record:
// what the piece, threat, king and passed pawn terms add, White's view.
Halves PieceTerms(const std::string& fen, int side) {
  EXPECT_EQ(SetPositionFromFen(fen.c_str()), 1) << fen;
  NodeRecord node;
  std::memset(&node, 0, sizeof node);
  node.sideIndex = side;
  node.sideSign = side == WHITE ? 1 : -1;
  node.otherSign = -node.sideSign;
  const PawnRecord* pawns;
  const uint32_t sum = EvaluationSum(&node, pawns);
  const uint32_t rest = sum - uint32_t(position.state.pstSum) - uint32_t(node.sideSign) * Pack(22, 44) -
                        pawns->pawnScore;
  return Split(rest);
}

TEST(PieceTerms, LoneBishopOnTheLongDiagonal) {
  // a1 bishop, kings h1 and h8. Outpost (45, 30); seven squares b2-h8 (the
  // king's square counts) 7 * (27, 27); all four keys c3-f6 4 * (37, 42).
  // The king in check is a man attacked, loose: (30, 60) + (120, 180).
  EXPECT_EQ(PieceTerms("7k/8/8/8/8/8/8/B6K w - -", WHITE), (Halves{532, 627}));
  // Turned over: the same for Black, negated.
  EXPECT_EQ(PieceTerms("b6k/8/8/8/8/8/8/7K w - -", WHITE), (Halves{-532, -627}));
}

TEST(PieceTerms, LoneKnightInTheCentre) {
  // e4 knight, kings a1 and h8: outpost (69, 46); all four keys are targets
  // (217, 329) and safe (112, 168).
  EXPECT_EQ(PieceTerms("7k/8/8/8/4N3/8/8/K7 w - -", WHITE), (Halves{398, 543}));
}

TEST(PieceTerms, RookOnAnOpenFile) {
  // a1 rook, kings g1 and g8, nothing else: twelve squares a2-a8 and b1-f1
  // (own king excluded) 12 * (17, 23); fourteen on the empty board of fixed
  // pawns 14 * (8, 9); the open file (183, 136); the rook defends its king
  // (12, 12).
  EXPECT_EQ(PieceTerms("6k1/8/8/8/8/8/8/R5K1 w - -", WHITE), (Halves{511, 550}));
}

TEST(PieceTerms, DoubledRooksWithoutEnemyQueen) {
  // Rooks a1 and a2, kings h1 and h8. a1: b1-g1 six squares (102, 138),
  // fixed mobility (112, 126), open file (183, 136); a2: a3-a8 and b2-h2,
  // thirteen (221, 299), (112, 126), (183, 136). Each rook defends the other,
  // a1 the king: 3 * (12, 12). No bonus for the pair, as Black has no queen.
  EXPECT_EQ(PieceTerms("7k/8/8/8/8/8/R7/R6K w - -", WHITE), (Halves{949, 997}));
}

TEST(PieceTerms, RookShutInByItsKing) {
  // Rook h1 beside the king on g1, its own pawn on h3: mobility h2 (17, 23);
  // fixed pawns h3: nine squares (72, 81); the secure pawn ahead closes the
  // file; the shut-in rook -(339, 0). The push h4 (32, 144); pawn, rook and
  // king are defended and nothing cheaper attacks them: 3 * (12, 12).
  EXPECT_EQ(PieceTerms("6k1/8/8/8/8/7P/8/6KR w - -", WHITE), (Halves{-182, 284}));
}

TEST(PieceTerms, PawnForkOfTwoKnights) {
  // d5 forks the knights c6 and e6; kings a1 and h8.
  //   First threat score: two men attacked by something cheaper,
  //   2 * (180, 270) + 1 * (440, 660) = (800, 1200).
  //   Each black knight stands in White's attack span (no outpost) and
  //   reaches all four of its keys, all target and safe: (217, 329) +
  //   (112, 168) each, (658, 994) for Black.
  //   White's second threats: the push to d6 (32, 144); two black men
  //   attacked and not defended by a pawn 2 * (30, 60); both are loose but
  //   already attacked by something cheaper.
  //   The passed d5: clear of own and enemy men, d6 empty, (14, 36) +
  //   (48, 103) + (11, 33); d8 is Black's and not White's: not safe.
  EXPECT_EQ(PieceTerms("7k/8/2n1n3/3P4/8/8/8/K7 w - -", WHITE), (Halves{307, 642}));
  EXPECT_EQ(PieceTerms(FlipFen("7k/8/2n1n3/3P4/8/8/8/K7 w - -"), BLACK), (Halves{-307, -642}));
}

TEST(PieceTerms, QueenSwitchesOnKingSafety) {
  // a1 queen against the king on a8: its attacks reach a7 of the king's
  // neighbourhood, the counter goes 32 + 17 = 49, worth (39, 29). Nineteen
  // squares of mobility 19 * (27, 29). Both shelters are 1150 + 190 + 40 and
  // cancel. The queen defends her king (12, 12) and checks the loose black
  // king (30, 60) + (120, 180).
  EXPECT_EQ(PieceTerms("k7/8/8/8/8/8/8/Q5K1 w - -", WHITE), (Halves{714, 832}));
}

TEST(PieceTerms, KnightAgainstTheKingWithAQueenOn) {
  // White knight f6 next to the black king's corner h8, a black queen on a6
  // switches king safety on. The knight adds KNIGHT_KING_ATTACK[h8][f6] = 29
  // (two files and two ranks off, two of the king's neighbours in reach):
  // 32 + 29 = 61, worth (183, 134); the queen reaches nothing around h1.
  // Both shelters are 1150 + 190 + 40 and cancel.
  //   Knight: outpost (69, 46); keys e8, g8, d7, h7 all targets (217, 329);
  //   safe only e8 (best) and d7 (third), the others are around the king:
  //   (57 + 28 * 100 / 128, 86 + 43 * 99 / 128) = (78, 119).
  //   Queen: nineteen squares, the knight's among them, 19 * (27, 29).
  //   Black's second threats: the knight attacked and not defended by a pawn
  //   (30, 60), loose and attacked by nothing cheaper (120, 180).
  EXPECT_EQ(PieceTerms("7k/8/q4N2/8/8/8/8/7K w - -", WHITE), (Halves{-116, -163}));
}

TEST(PassedPawnTerms, RaceOfAnEscortedPawn) {
  // h6 with its king on g7, black king e8: an escorted runner on rank index 5.
  // Dynamic terms on rank 6: clear of own (28, 71), of enemy (96, 207), next
  // square empty (33, 66), path safe (81, 176). The push to h7 (32, 144); the
  // pawn defended by its king, and the king by its pawn, neither attacked by
  // anything cheaper 2 * (12, 12); one pawn more (20, 90). The race: 5 * 500,
  // one step less with Black to move.
  EXPECT_EQ(PieceTerms("4k3/6K1/7P/8/8/8/8/8 w - -", WHITE), (Halves{314, 778 + 2500}));
  EXPECT_EQ(PieceTerms("4k3/6K1/7P/8/8/8/8/8 b - -", BLACK), (Halves{314, 778 + 2000}));
}

TEST(PassedPawnTerms, RankThreeHasNoDynamicTermsAndKingsStopPawns) {
  // e3 passed, the black king on h8 inside its square: no race; only the
  // push and the pawn count.
  EXPECT_EQ(PieceTerms("7k/8/8/8/8/4P3/8/K7 w - -", WHITE), (Halves{52, 234}));
  // e5: dynamic terms of rank 5, (14, 36) + (48, 103) + (11, 33) + (36, 88);
  // the king on h8 is at distance 3 of the pawn's 3 steps: caught.
  EXPECT_EQ(PieceTerms("7k/8/8/4P3/8/8/8/K7 w - -", WHITE), (Halves{161, 494}));
  // From a8 the king is 4 files away: a runner on rank index 4.
  EXPECT_EQ(PieceTerms("k7/8/8/4P3/8/8/8/7K w - -", WHITE), (Halves{161, 494 + 2000}));
  // With Black to move the square grows by one: caught again.
  EXPECT_EQ(PieceTerms("k7/8/8/4P3/8/8/8/7K b - -", BLACK), (Halves{161, 494}));
}

}  // namespace
