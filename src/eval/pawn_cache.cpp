#include "eval/pawn_cache.h"

#include <cstring>

#include "board/attacks.h"
#include "board/position.h"
#include "eval/eval_masks.h"
#include "eval/king_tables.h"
#include "eval/pawn_terms.h"
#include "eval/piece_square.h"

alignas(128) PawnRecord pawn_cache[PAWN_CACHE_SLOTS];

void ClearPawnCache() { std::memset(pawn_cache, 0, sizeof pawn_cache); }

void AgePawnCache() {
  for (int32_t slot = 0; slot < PAWN_CACHE_SLOTS; slot += 2) pawn_cache[slot].useCount /= 16;
}

namespace {

constexpr Bitboard QUEEN_SIDE = 0x0f0f0f0f0f0f0f0full;  // files a-d
constexpr Bitboard FILE_D = FILE_A << 3, FILE_E = FILE_A << 4;

// Signature bits read by the bishop terms.
constexpr int32_t SIG_WHITE_BISHOP_LIGHT = 34, SIG_WHITE_BISHOP_DARK = 35;
constexpr int32_t SIG_BLACK_BISHOP_LIGHT = 36, SIG_BLACK_BISHOP_DARK = 37;
constexpr int32_t SIG_WHITE_BISHOPS = 48, SIG_BLACK_BISHOPS = 50;  // two-bit counts
constexpr uint64_t SIG_WHITE_BISHOP_PAIR = uint64_t(1) << 49, SIG_BLACK_BISHOP_PAIR = uint64_t(1) << 51;

constexpr uint32_t CASTLING_RIGHTS_OF[2] = {WHITE_SHORT | WHITE_LONG, BLACK_SHORT | BLACK_LONG};

[[gnu::always_inline]] inline PackedScore Times(int32_t n, PackedScore pair) { return uint32_t(n) * pair; }
// Signed division of a pair whose halves are both non-negative or whose
// opening half is 0, which is every use below.
[[gnu::always_inline]] inline PackedScore Halve(PackedScore pair) { return uint32_t(int32_t(pair) / 2); }

// Colour views. Everything below is told for White; Black reads the mirror.
template <int Us>
struct View {
  static constexpr int32_t Them = 1 - Us;
  static constexpr int32_t Up = Us == WHITE ? 8 : -8;
  static int32_t RelRank(int32_t sq) { return Us == WHITE ? square_rank(sq) : 7 - square_rank(sq); }
  // The entry of a by-square table laid out for White.
  static int32_t Rel(int32_t sq) { return Us == WHITE ? sq : 63 - sq; }
  static Bitboard FileAhead(int32_t sq) { return Us == WHITE ? FILE_AHEAD_WHITE[sq] : FILE_AHEAD_BLACK[sq]; }
  static Bitboard RanksAhead(int32_t sq) { return Us == WHITE ? RANKS_ABOVE[sq] : RANKS_BELOW[sq]; }
  static Bitboard RanksBehind(int32_t sq) { return Us == WHITE ? RANKS_BELOW[sq] : RANKS_ABOVE[sq]; }
  // Where an own pawn defending sq stands.
  static Bitboard Defenders(int32_t sq) { return Us == WHITE ? WHITE_PAWN_SOURCES[sq] : BLACK_PAWN_SOURCES[sq]; }
  // What an own pawn on sq attacks, and equally where an enemy pawn attacking sq stands.
  static Bitboard Attacks(int32_t sq) { return Us == WHITE ? BLACK_PAWN_SOURCES[sq] : WHITE_PAWN_SOURCES[sq]; }
  static int32_t KingDistance(int32_t pawn, int32_t king) {
    return Us == WHITE ? PAWN_KING_DISTANCE[pawn][king] : PAWN_KING_DISTANCE[king][pawn];
  }
};

// The squares strictly between two squares on a line; empty off a line,
// where the line table holds nothing to be read.
[[gnu::always_inline]] inline Bitboard Between(int32_t a, int32_t b) {
  if (!((BISHOP_RAYS[a] | ROOK_RAYS[a]) >> b & 1)) return 0;
  return LINE_PAIR[a * 64 + b].between & ~bit(b);
}

struct Frame {
  Bitboard pawns[2];
  int32_t king[2];
  Bitboard kingZone[2];
  int32_t minDistance[2];  // by king: the least tropism distance to any pawn
  Bitboard passed[2];
  Bitboard attackSpan[2];
};

// A file with a pawn ahead: the blocked pawn with neighbours only ahead of it
// walks up to three squares, as long as no own pawn stands beside the walk,
// to see whether an enemy pawn stops it. The walk ends at the board's edge.
template <int Us>
bool BackwardWalk(const Frame& f, int32_t sq) {
  using V = View<Us>;
  const Bitboard own = f.pawns[Us], enemy = f.pawns[V::Them];
  int32_t target = sq + V::Up;
  bool hit = enemy & bit(target);
  for (int32_t step = 2; step <= 3; ++step) {
    if (SIDE_NEIGHBOURS[target] & own) break;
    const int32_t next = target + V::Up;
    if (next < 0 || next > 63) break;
    target = next;
    hit = hit || (enemy & bit(target));
  }
  return hit || (V::Attacks(target) & enemy);
}

// The terms of one colour's pawns, from that colour's view.
template <int Us>
PackedScore PawnTerms(Frame& f) {
  using V = View<Us>;
  constexpr int32_t Them = V::Them;
  const Bitboard own = f.pawns[Us], enemy = f.pawns[Them];
  const int32_t ownKing = f.king[Us], enemyKing = f.king[Them];
  PackedScore s = 0;

  for (Bitboard b = own; b; b &= b - 1) {
    const int32_t sq = lowest_square(b);
    const int32_t relRank = V::RelRank(sq), rel = V::Rel(sq);
    const Bitboard adjacent = ADJACENT_FILES[sq];
    const Bitboard fileAhead = V::FileAhead(sq);

    // Attack span: the squares this pawn may come to attack as it advances.
    if (relRank < 6) {
      Bitboard span = adjacent & V::RanksAhead(sq);
      for (Bitboard x = enemy & fileAhead; x; x &= x - 1) span &= ~V::RanksAhead(lowest_square(x));
      for (Bitboard x = enemy & adjacent & V::RanksAhead(sq + V::Up); x; x &= x - 1)
        span &= V::RanksBehind(lowest_square(x));
      f.attackSpan[Us] |= span;
    } else {
      f.attackSpan[Us] |= V::Attacks(sq);
    }

    // King tropism; a king whose way to the pawn runs through the other
    // king's neighbourhood counts as farther.
    int32_t d = V::KingDistance(sq, ownKing) + ((Between(ownKing, sq) & f.kingZone[Them]) ? 24 : 0);
    if (d < f.minDistance[Us]) f.minDistance[Us] = d;
    s -= PackPair(0, d);
    d = V::KingDistance(sq, enemyKing) + ((Between(enemyKing, sq) & f.kingZone[Us]) ? 24 : 0);
    if (d < f.minDistance[Them]) f.minDistance[Them] = d;
    s += PackPair(0, d);

    const bool supported = V::Defenders(sq) & own;
    if (supported) s += PAWN_SUPPORTED[rel];
    if (SIDE_NEIGHBOURS[sq] & own) s += PAWN_PHALANX[rel];

    const bool doubled = (FILE_A << square_file(sq)) & own & ~bit(sq);
    const bool neighbours = adjacent & own;
    const bool anyBehind = PAWN_BEHIND[Us][sq] & own;
    if ((own | enemy) & fileAhead) {
      if (doubled) {
        s -= PackPair(20, 50);
        if (!neighbours) s -= PackPair(24, 32);
      }
      if (neighbours && !anyBehind && BackwardWalk<Us>(f, sq)) s -= PackPair(39, 52);
      if (!neighbours) s -= PackPair(42, 56);
      continue;
    }

    if (doubled) {
      s -= PackPair(20, 50);
      if (!neighbours) s -= PackPair(82, 110);
    }
    if (neighbours) {
      if (!anyBehind) s -= PackPair(90, 120);
    } else {
      s -= PAWN_ISOLATED[square_file(sq)];
    }

    const PassedBonus& bonus = PASSED_BONUS[relRank];
    const bool outside = !((enemy & FILES_LEFT[sq]) && (enemy & FILES_RIGHT[sq]));
    const Bitboard stoppers = enemy & PASSED_SPAN[Us][sq];
    if (stoppers) {
      if (popcount(stoppers) > popcount(PAWN_BEHIND[Us][sq] & own)) {
        s += PAWN_HALF_PASSED[relRank];
      } else {
        // A candidate: half of what it would have as a passed pawn.
        s += Halve(bonus.base);
        if (outside) s += Halve(bonus.outside);
        if (supported) s += Halve(bonus.protectedBy);
      }
      continue;
    }

    s += bonus.base;
    if (outside) s += bonus.outside;
    if (supported) s += bonus.protectedBy;
    // Connected with at most two passed pawns found before it.
    Bitboard partners = f.passed[Us] & PASSER_BAND[sq];
    for (int32_t n = 0; n < 2 && partners; ++n, partners &= partners - 1)
      s += bonus.connected + PASSED_BONUS[V::RelRank(lowest_square(partners))].connected;
    f.passed[Us] |= bit(sq);
    if (relRank >= 3) {
      const PasserRow& row = PASSER_ROW[relRank];
      const int32_t toEnemy = V::KingDistance(sq + V::Up, enemyKing), toOwn = V::KingDistance(sq + V::Up, ownKing);
      s += PackPair(row.enemyKing.m * toEnemy / 10, row.enemyKing.e * toEnemy / 10);
      s -= PackPair(row.ownKing.m * toOwn / 10, row.ownKing.e * toOwn / 10);
    }
  }
  return s;
}

// Three bits of the group's files on one rank.
[[gnu::always_inline]] inline uint32_t GroupBits(Bitboard set, int32_t rank, const int32_t (&files)[3]) {
  uint32_t bits = 0;
  for (int32_t j = 0; j < 3; ++j) bits |= uint32_t(set >> (rank * 8 + files[j]) & 1) << j;
  return bits;
}

// Danger to the king of colour Us from the pawns around it.
template <int Us>
PackedScore Shelter(const Frame& f, uint32_t castling) {
  using V = View<Us>;
  const int32_t king = f.king[Us];
  const Bitboard own = f.pawns[Us], enemy = f.pawns[V::Them];
  const Bitboard front = own & ~V::RanksBehind(king);
  // Absolute ranks of the own second to fifth rank.
  const int32_t r2 = Us == WHITE ? 1 : 6, r3 = Us == WHITE ? 2 : 5, r4 = Us == WHITE ? 3 : 4, r5 = Us == WHITE ? 4 : 3;
  const int32_t kingFile = square_file(king);

  static constexpr int32_t QUEEN_WING[3] = {0, 1, 2}, KING_WING[3] = {7, 6, 5};
  static constexpr int32_t D_CENTRE[3] = {2, 3, 4}, E_CENTRE[3] = {3, 4, 5};
  const bool centre = kingFile == 3 || kingFile == 4;
  const int32_t(&files)[3] = kingFile <= 2 ? QUEEN_WING : kingFile >= 5 ? KING_WING : kingFile == 3 ? D_CENTRE : E_CENTRE;
  // With the king on d the pawns behind it count too; on e only those beside and ahead.
  const Bitboard shield = kingFile == 3 ? own : front;

  const uint32_t ownIndex = GroupBits(shield, r2, files) | GroupBits(shield, r3, files) << 3 |
                            (GroupBits(shield, r4, files) | GroupBits(shield, r5, files)) << 6;
  const uint32_t stormIndex =
      GroupBits(enemy, r3, files) | GroupBits(enemy, r4, files) << 3 | GroupBits(enemy, r5, files) << 6;
  PackedScore danger = SHELTER_TABLE[ownIndex] + STORM_TABLE[stormIndex];

  if (!centre) {
    if (!(enemy & (FILE_A << files[0]))) danger += PackPair(70, 0);
    if (!(enemy & (FILE_A << files[1]))) danger += PackPair(70, 0);
    if (!(enemy & (FILE_A << files[2]))) danger += PackPair(50, 0);
  } else if (castling & CASTLING_RIGHTS_OF[Us]) {
    // The king may still leave the centre: half the danger.
    danger = Halve(danger);
    if (!(enemy & FILE_D)) danger += PackPair(35, 0);
    if (!(enemy & FILE_E)) danger += PackPair(35, 0);
  } else {
    if (!(enemy & FILE_D)) danger += PackPair(70, 0);
    if (!(enemy & FILE_E)) danger += PackPair(70, 0);
  }

  // The long diagonal towards the king: each pawn on it, own or enemy,
  // closes it a little.
  const Bitboard diagonal = KING_DIAGONAL[king];
  if (own & diagonal) {
    if (!(enemy & diagonal)) danger += PackPair(10, 0);
  } else {
    danger += (enemy & diagonal) ? PackPair(20, 0) : PackPair(40, 0);
  }
  return danger;
}

void Compute(PawnRecord* r, const Position& p) {
  Frame f;
  f.pawns[WHITE] = p.pieceBits[PAWN_INDEX + WHITE];
  f.pawns[BLACK] = p.pieceBits[PAWN_INDEX + BLACK];
  f.king[WHITE] = int32_t(p.kingSquare[WHITE]);
  f.king[BLACK] = int32_t(p.kingSquare[BLACK]);
  f.kingZone[WHITE] = KING_ATTACKS[f.king[WHITE]];
  f.kingZone[BLACK] = KING_ATTACKS[f.king[BLACK]];
  f.minDistance[WHITE] = f.minDistance[BLACK] = 63;
  f.passed[WHITE] = f.passed[BLACK] = 0;
  f.attackSpan[WHITE] = f.attackSpan[BLACK] = 0;
  const Bitboard W = f.pawns[WHITE], B = f.pawns[BLACK], all = W | B;
  const uint64_t sig = p.state.materialSignature;
  PackedScore s = 0;

  // Kings on opposite wings: pawns on the own king's half are the material
  // of a pawn storm.
  if ((f.king[WHITE] ^ f.king[BLACK]) & 4) {
    const Bitboard whiteHalf = (f.king[WHITE] & 4) ? ~QUEEN_SIDE : QUEEN_SIDE;
    s += Times(popcount(all & whiteHalf) - popcount(all & ~whiteHalf), PackPair(30, 10));
  }

  // A king beside an enemy pawn that no pawn defends will take it.
  if (KING_ATTACKS[f.king[WHITE]] & B & ~BlackPawnAttacks(B)) s += PackPair(0, 60);
  if (KING_ATTACKS[f.king[BLACK]] & W & ~WhitePawnAttacks(W)) s -= PackPair(0, 60);

  s += PawnTerms<WHITE>(f);
  s -= PawnTerms<BLACK>(f);

  r->passedPawns = f.passed[WHITE] | f.passed[BLACK];
  r->whiteAttackSpan = f.attackSpan[WHITE];
  r->blackAttackSpan = f.attackSpan[BLACK];
  const Bitboard whiteLeft = (W & ~FILE_A) << 7, whiteRight = (W & ~FILE_H) << 9;
  const Bitboard blackLeft = (B & ~FILE_A) >> 9, blackRight = (B & ~FILE_H) >> 7;
  r->whiteHoldSquares = (whiteLeft | whiteRight) & (W | (whiteLeft & whiteRight)) & ~f.attackSpan[BLACK];
  r->blackHoldSquares = (blackLeft | blackRight) & (B | (blackLeft & blackRight)) & ~f.attackSpan[WHITE];

  // Bishops and pawns: weighted counts ride in pstSum above the pair.
  const uint64_t counts = uint64_t(p.state.pstSum) >> 32;
  const int32_t wl = int32_t(counts & 31), wd = int32_t(counts >> 5 & 31);
  const int32_t bl = int32_t(counts >> 10 & 31), bd = int32_t(counts >> 15 & 31);
  const int32_t whiteBishops = int32_t(sig >> SIG_WHITE_BISHOPS & 3), blackBishops = int32_t(sig >> SIG_BLACK_BISHOPS & 3);
  s += Times((blackBishops - whiteBishops) * (wl + wd + bl + bd), PackPair(2, 2));
  s += PackPair(0, 50 * f.minDistance[BLACK] / 10 - 50 * f.minDistance[WHITE] / 10);

  // Bishop colours: own pawns on the bishop's colour hinder it; a pair
  // dislikes enemy pawns all on one colour.
  const bool whitePair = sig & SIG_WHITE_BISHOP_PAIR, blackPair = sig & SIG_BLACK_BISHOP_PAIR;
  if (whitePair) {
    s -= Times(bl > bd ? bl - bd : bd - bl, PackPair(2, 2));
  } else if (sig >> SIG_WHITE_BISHOP_LIGHT & 1) {
    s += Times(wd, PackPair(8, 8));
    if (!blackPair) s -= Times(wl, PackPair(8, 8));
  } else if (sig >> SIG_WHITE_BISHOP_DARK & 1) {
    s += Times(wl, PackPair(8, 8));
    if (!blackPair) s -= Times(wd, PackPair(8, 8));
  }
  if (blackPair) {
    s += Times(wl > wd ? wl - wd : wd - wl, PackPair(2, 2));
  } else if (sig >> SIG_BLACK_BISHOP_LIGHT & 1) {
    s -= Times(bd, PackPair(8, 8));
    if (!whitePair) s += Times(bl, PackPair(8, 8));
  } else if (sig >> SIG_BLACK_BISHOP_DARK & 1) {
    s -= Times(bl, PackPair(8, 8));
    if (!whitePair) s += Times(bd, PackPair(8, 8));
  }

  r->whiteShelter = Shelter<WHITE>(f, p.state.castling);
  r->blackShelter = Shelter<BLACK>(f, p.state.castling);
  r->pawnScore = s;
  r->pawnKeyCheck = p.state.pawnKey;
}

}  // namespace

PawnRecord* ProbePawnCache() {
  const uint64_t key = position.state.pawnKey;
  PawnRecord* r = PawnCacheRow(key);
  if (r->pawnKeyCheck == key) {
    ++r->useCount;
    return r;
  }
  // A replaced row keeps its counter.
  Compute(r, position);
  return r;
}
