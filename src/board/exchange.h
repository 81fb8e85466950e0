// Static exchange on one square, and the two defender questions of the check
// analysis. Nothing here makes a move: a swap is a run of bit scans over the
// men that bear on the square, and sliders are looked up again only when a
// man of their line has gone, which uncovers x-rays without further work.
//
// Orientation. Every routine is one template per colour, and `Us` names the
// side whose man moves, or has just moved, to the square:
//   ExchangeTest, ExchangeValue, ExchangeBound: Us moved there; Them may take.
//   SquareGuarded: would a man of Us standing on the square be covered by
//                  Them (the pins are those of Them's king)?
//   BlockScan:     Us gives check on the square; Them, whose king stands on
//                  `king`, try to block or take.
// So the list maker of White calls the White copies, the one of Black the
// Black copies; no routine asks whose turn it is.
//
// Values are those of the Move word's stake: 0x20000 to a pawn.
// The routines read the global Position's piece bitboards and cut every set
// taken from them by the `occupancy` they are given, so the mover's origin
// (cleared by the caller) and every man the swap has used up are gone.
#pragma once

#include <cstdint>

#include "board/attacks.h"
#include "board/pawn_steps.h"
#include "board/position.h"
#include "board/types.h"

namespace exchange_detail {

// The man a side takes with next.
enum Taker : int { NO_TAKER, PAWN_TAKER, KNIGHT_TAKER, BISHOP_TAKER, ROOK_TAKER, QUEEN_TAKER, KING_TAKER };


// Among men of equal value the first one met: the lowest square in Black's
// copy, and in White's the lowest square of the board seen with the ranks
// reversed. The two copies then stay exact mirrors of each other even where
// the choice uncovers different men behind.
template <int Us>
[[gnu::always_inline]] inline Bitboard FirstMan(Bitboard men) {
  if constexpr (Us == BLACK) {
    return men & (0 - men);
  } else {
    const Bitboard mirrored = __builtin_bswap64(men);
    return __builtin_bswap64(mirrored & (0 - mirrored));
  }
}

// The men that bear on one square during a swap. `lines` and `diagonals`
// hold only the men the rook and bishop lookups from the square reach first,
// so a man behind another appears when the one in front is lifted.
template <int Us>
struct SwapSquare {
  int to;
  Bitboard occupancy;
  Bitboard lines;
  Bitboard diagonals;
  Bitboard knights;   // men a knight step away, not yet used
  Bitboard pawns[2];  // pawns of each colour that capture onto the square

  [[gnu::always_inline]] SwapSquare(int square, Bitboard occ)
      : to(square),
        occupancy(occ),
        lines(RookAttacks(square, occ) & occ),
        diagonals(BishopAttacks(square, occ) & occ),
        knights(KNIGHT_ATTACKS[square] & occ),
        pawns{PawnSources<WHITE>(square) & position.pieceBits[PAWN_INDEX + WHITE] & occ,
              PawnSources<BLACK>(square) & position.pieceBits[PAWN_INDEX + BLACK] & occ} {}

  [[gnu::always_inline]] void LiftDiagonal(Bitboard men) {
    occupancy ^= men;
    diagonals = BishopAttacks(to, occupancy) & occupancy;
  }
  [[gnu::always_inline]] void LiftLine(Bitboard men) {
    occupancy ^= men;
    lines = RookAttacks(to, occupancy) & occupancy;
  }

  // Lifts the cheapest man of Side among `allowed` and tells which it was:
  // pawn, knight, bishops (all those the diagonals show at once), rook,
  // queen. A king next to the square is told, never lifted: it only decides
  // whether the swap may go on.
  template <int Side>
  [[gnu::always_inline]] Taker Take(Bitboard allowed) {
    const Bitboard* men = position.pieceBits;
    Bitboard b;
    if ((b = pawns[Side] & allowed)) {
      b = FirstMan<Us>(b);
      pawns[Side] ^= b;
      LiftDiagonal(b);
      return PAWN_TAKER;
    }
    if ((b = knights & men[KNIGHT_INDEX + Side] & allowed)) {
      knights ^= FirstMan<Us>(b);
      return KNIGHT_TAKER;
    }
    if ((b = diagonals & men[BISHOP_INDEX + Side] & allowed)) {
      LiftDiagonal(b);
      return BISHOP_TAKER;
    }
    if ((b = lines & men[ROOK_INDEX + Side] & allowed)) {
      LiftLine(FirstMan<Us>(b));
      return ROOK_TAKER;
    }
    if ((b = (lines | diagonals) & men[QUEEN_INDEX + Side] & allowed)) {
      b = FirstMan<Us>(b);
      if (b & lines) LiftLine(b);
      else LiftDiagonal(b);
      return QUEEN_TAKER;
    }
    if (KING_ATTACKS[to] & men[KING_INDEX + Side] & occupancy & allowed) return KING_TAKER;
    return NO_TAKER;
  }
};

// Values by taker. In the pass-or-fail test their bishop counts 0x70000 and
// ours 0x60000 on purpose: an even bishop trade on the square is judged in
// the mover's favour. Their king is 0x3a0000 and ours, added when it takes
// back, 0x3e0000: with both kings beside the square our king's capture
// always ends in their favour, and the swap cannot go round for ever.
inline constexpr int64_t THEIR_TEST_VALUE[7] = {0, 0x20000, 0x60000, 0x70000, 0xa0000, 0x140000, 0x3a0000};
inline constexpr uint64_t THEIR_TEST_FLAG[7] = {0, 32, 16, 16, 8, 4, 2};
inline constexpr int64_t SWAP_VALUE[7] = {0, 0x20000, 0x60000, 0x60000, 0xa0000, 0x140000, 0};

}  // namespace exchange_detail

// Pass-or-fail: do Them profit by taking on `to`? `occupancy` has the mover's
// origin cleared; only men of Them in `candidates` may take (their king too
// must be in it to start the swap, after that it always may); `stake` is what
// the man of Us risks there, the victim already subtracted. Gives 0 when they
// profit, otherwise a word of flags naming the kinds of man they had to use
// (32 pawn, 16 minor, 8 rook, 4 queen, 2 king, 1 always).
template <int Us>
inline uint64_t ExchangeTest(int to, Bitboard occupancy, Bitboard candidates, int64_t stake) {
  using namespace exchange_detail;
  constexpr int Them = Us ^ 1;
  if ((occupancy & bit(to)) && stake < 1) return 1;  // a capture that gains already
  const Bitboard* men = position.pieceBits;
  SwapSquare<Us> square(to, occupancy);
  uint64_t flags = 1;
  int64_t nextPawnValue = 0x20000;
  // A queen that took a minor piece with our rook or queen behind it on the
  // lines: their recapture meets the heavy piece, count the risk as a rook's.
  if (stake == 0xc0000 && (square.lines & (men[ROOK_INDEX + Us] | men[QUEEN_INDEX + Us]))) stake = 0xa0000;
  // Our first pawn recapture promotes: we gain the queen now, they may then
  // take a queen.
  if (square.pawns[Us] & PROMOTING_RANK<Us>) {
    nextPawnValue = 0x140000;
    stake -= 0x120000;
  }
  for (;;) {
    const Taker theirs = square.template Take<Them>(candidates);
    if (theirs == NO_TAKER) return flags;
    stake -= THEIR_TEST_VALUE[theirs];
    if (stake > 0) return 0;  // ahead even if we take back
    flags |= THEIR_TEST_FLAG[theirs];
    candidates |= men[KING_INDEX + Them];
    const Taker ours = square.template Take<Us>(~Bitboard(0));
    if (ours == NO_TAKER) return 0;
    if (ours == KING_TAKER) {
      if (stake < -0x1e0000) return flags;
      stake += 0x3e0000;  // our king may take back only if nothing of theirs is left
      continue;
    }
    if (ours == PAWN_TAKER) {
      stake += nextPawnValue;
      nextPawnValue = 0x20000;
    } else {
      stake += SWAP_VALUE[ours];
    }
    if (stake < 1) return flags;  // they cannot gain even if they take back for free
  }
}

// What Them win by the swap on `to`, between 0 and `stake`: the swap of
// ExchangeTest run with the limits low (they may always decline) and high
// (we may always stop), all men allowed, both bishops 0x60000. After a queen
// takes, the swap is decided at once.
template <int Us>
inline int64_t ExchangeValue(int to, Bitboard occupancy, int64_t stake) {
  using namespace exchange_detail;
  constexpr int Them = Us ^ 1;
  // With nothing at risk they decline; the limits below assume low <= high.
  if (stake <= 0) return 0;
  SwapSquare<Us> square(to, occupancy);
  int64_t low = 0, high = stake, s = stake;
  for (;;) {
    const Taker theirs = square.template Take<Them>(~Bitboard(0));
    if (theirs == NO_TAKER) return low;
    if (theirs == KING_TAKER) {
      s -= 0x800000;  // their king may take only what nothing of ours defends
      if (s > 0) return high;
    } else {
      s -= SWAP_VALUE[theirs];
      if (theirs == QUEEN_TAKER) {
        if (s > low) return high;
      } else if (s > low) {
        if (s >= high) return high;
        low = s;
      }
    }
    const Taker ours = square.template Take<Us>(~Bitboard(0));
    if (ours == NO_TAKER) return high;
    if (ours == KING_TAKER) {
      if (s < -6291456) return low;
      s += 0x1000000;
    } else {
      s += SWAP_VALUE[ours];
      if (ours == QUEEN_TAKER) {
        if (s < high) return low;
      } else if (s < high) {
        if (s <= low) return low;
        high = s;
      }
    }
  }
}

// 0 when what Them win on `to` stays within `bound`; otherwise their win
// plus a margin of 0x40000. Values as ExchangeValue, with our first pawn
// recapture promoting as in ExchangeTest.
template <int Us>
inline int64_t ExchangeBound(int to, Bitboard occupancy, int64_t stake, int64_t bound) {
  using namespace exchange_detail;
  constexpr int Them = Us ^ 1;
  SwapSquare<Us> square(to, occupancy);
  const int64_t limit = bound < 0x20000 ? bound : 0x20000;
  int64_t cap = stake + 0x120000;
  int64_t s = stake;
  int64_t nextPawnValue = 0x20000;
  if (square.pawns[Us] & PROMOTING_RANK<Us>) {
    nextPawnValue = 0x140000;
    s -= 0x120000;
  }
  for (;;) {
    const Taker theirs = square.template Take<Them>(~Bitboard(0));
    if (theirs == NO_TAKER || theirs == KING_TAKER) {
      if (theirs == NO_TAKER || s <= bound) return 0;
      cap = cap < s - 0x40000 ? cap : s - 0x40000;
      s -= 0x800000;
      if (s > 0) return cap + 0x40000;
    } else {
      s -= SWAP_VALUE[theirs];
      if (s > bound) {
        if (theirs == QUEEN_TAKER) return cap + 0x40000;
        return cap + 0x40000 < s ? cap + 0x40000 : s;
      }
    }
    const Taker ours = square.template Take<Us>(~Bitboard(0));
    if (ours == NO_TAKER || ours == KING_TAKER) {
      if (ours == NO_TAKER) return cap + 0x40000;
      if (s < -6291456) return 0;
      s += 0x1000000;
    } else {
      if (ours == PAWN_TAKER) {
        s += nextPawnValue;
        nextPawnValue = 0x20000;
      } else {
        s += SWAP_VALUE[ours];
      }
      if (s < cap) {
        if (s <= limit) return 0;
        cap = s;
      }
    }
  }
}

// Would a man of Us on `square` be covered by Them? `free` holds the men of
// Them that are not pinned; a pinned man counts only where it keeps to the
// line of its pin, which for a piece means the square lies on the same line
// from their king. A pinned pawn counts when it stands on a diagonal of the
// king but not next to it. The king itself is not counted.
template <int Us>
inline bool SquareGuarded(Bitboard occupancy, int square, Bitboard free) {
  using namespace exchange_detail;
  constexpr int Them = Us ^ 1;
  const Bitboard* men = position.pieceBits;
  const int king = int(position.kingSquare[Them]);
  const Bitboard nearKing = KING_ATTACKS[king];
  const Bitboard kingDiagonals = BISHOP_RAYS[king];
  const Bitboard kingLines = ROOK_RAYS[king];
  if (PawnSources<Them>(square) & men[PAWN_INDEX + Them] & occupancy & (free | (kingDiagonals & ~nearKing)))
    return true;
  if (KNIGHT_ATTACKS[square] & men[KNIGHT_INDEX + Them] & occupancy & free) return true;
  const Bitboard queens = men[QUEEN_INDEX + Them];
  // The pin line is usable only when the square lies on it.
  const Bitboard onDiagonal = (kingDiagonals >> square & 1) ? kingDiagonals : 0;
  if (BishopAttacks(square, occupancy) & (men[BISHOP_INDEX + Them] | queens) & occupancy & (free | onDiagonal))
    return true;
  const Bitboard onLine = (kingLines >> square & 1) ? kingLines : 0;
  return RookAttacks(square, occupancy) & (men[ROOK_INDEX + Them] | queens) & occupancy & (free | onLine);
}

namespace exchange_detail {

enum BlockMan : int { BLOCK_KNIGHT, BLOCK_BISHOP, BLOCK_ROOK, BLOCK_QUEEN, BLOCK_PAWN };

// The running sets of BlockScan as the men of Them are taken one by one.
struct BlockTally {
  Bitboard guarded, marked, loose, defended, exposed, pushes;  // inputs
  Bitboard block, safe, weak, reached, doubled, counted;
  uint64_t flags;

  // One man (or, for pawn captures, the pawns of one direction) reaching the
  // squares `r` of the line. True when the check is surely blocked.
  template <int Kind>
  [[gnu::always_inline]] bool Add(Bitboard r, Bitboard man, bool kindIsTarget) {
    if (!r) return false;
    const Bitboard h = r & block;
    if constexpr (Kind != BLOCK_QUEEN)
      if (man & marked) flags |= 1;
    if (h) {
      if constexpr (Kind == BLOCK_KNIGHT || Kind == BLOCK_BISHOP || Kind == BLOCK_PAWN) {
        if ((h & pushes & ~defended) | (h & reached & ~exposed)) flags |= 128;
      } else if constexpr (Kind == BLOCK_ROOK) {
        if (h & reached & ~exposed) flags |= 128;
      }
      block ^= h & safe;
      if (block & r) {
        const Bitboard d = (doubled | counted) & r & block;
        if (d) {
          if (d & ~guarded) return true;
          flags |= 16;
        }
        if (block & r & weak) flags |= Kind == BLOCK_PAWN ? 8 : 4;
        else flags |= 2;
      }
      flags |= (safe & h & counted) ? 64 : 1;
      safe ^= h;
    }
    reached |= r;
    block |= r;
    if constexpr (Kind == BLOCK_KNIGHT || Kind == BLOCK_BISHOP || Kind == BLOCK_PAWN) {
      weak |= r & ~loose;
      doubled |= r & ~defended;
    } else if constexpr (Kind == BLOCK_ROOK) {
      weak |= r & ~defended;
      doubled |= r & ~exposed;
    }
    if (!kindIsTarget) counted |= r;
    return false;
  }
};

}  // namespace exchange_detail

// Classifies a check that Us give on `square` to the king of Them on `king`:
// 0 it cannot be blocked, below 4 only poorly, 4 and up it can, 128 and up
// with a counter-chance, 256 it surely is. `guarded`: squares Us attack;
// `movers`: men of Them free to move; `occupancy`: after the check; the other
// sets come from the check analysis of the evaluator.
//   Pawn pushes come from the pawns of Them in `movers`, and flag 1 for them
//   when one of those pushing pawns is in `marked`.
//   Rooks and queens look through the pawns that make those pushes: once such
//   a pawn has gone to the line, what stood behind it may follow.
//   Pawn captures are the capture squares of those pawns on the line, empty
//   or not (a pawn there takes back on a block), outside the king's
//   neighbourhood unless we guard them: there the king takes back already.
//   The man on `square` is ours after the check, whatever the board holds.
//   Men of one kind are taken in the order of FirstMan.
template <int Us>
inline uint64_t BlockScan(int square, int king, Bitboard guarded, Bitboard movers, Bitboard marked,
                          Bitboard occupancy, Bitboard weakTargets, Bitboard loose, Bitboard defended,
                          Bitboard exposed) {
  using namespace exchange_detail;
  constexpr int Them = Us ^ 1;
  const Bitboard nearKing = KING_ATTACKS[king];
  if (nearKing & bit(square)) return 0;  // a contact check has no square to block on
  const Bitboard* men = position.pieceBits;
  movers &= occupancy & ~bit(square);
  const Bitboard line = LINE_PAIR[king * 64 + square].between;

  BlockTally t{guarded, marked, loose, defended, exposed, 0,
               line & nearKing & ~guarded, guarded & ~nearKing, ~exposed, 0, 0, 0, 0};

  const Bitboard pawns = men[PAWN_INDEX + Them] & movers;
  const Bitboard empty = ~occupancy;
  const Bitboard single = PawnStep<Them>(pawns) & empty;
  const Bitboard twice = PawnStep<Them>(single & DOUBLE_STEP_MIDDLE<Them>) & empty;
  const Bitboard pushes = (single | twice) & line;
  if (pushes & t.block) return 256;  // a pawn on a free square beside the king
  Bitboard pushers = 0;
  if (pushes) {
    const Bitboard middle = PawnStepBack<Them>(pushes & DOUBLE_STEP_END<Them>) & empty;
    pushers = pawns & (PawnStepBack<Them>(pushes) | PawnStepBack<Them>(middle));
    if (pushers & marked) t.flags |= 1;
    t.pushes = pushes;
    t.block |= pushes;
    t.weak |= pushes;
    t.doubled = pushes & ~loose;
    if (!(men[PAWN_INDEX + Them] & weakTargets)) t.counted = pushes;
  }

  const bool knightTarget = men[KNIGHT_INDEX + Them] & weakTargets;
  for (Bitboard m = men[KNIGHT_INDEX + Them] & movers; m; m ^= FirstMan<Us>(m)) {
    const int from = lowest_square(FirstMan<Us>(m));
    if (t.Add<BLOCK_KNIGHT>(KNIGHT_ATTACKS[from] & line, bit(from), knightTarget)) return 256;
  }
  const Bitboard bishopView = occupancy & ~(men[QUEEN_INDEX + Them] & movers);
  const bool bishopTarget = men[BISHOP_INDEX + Them] & weakTargets;
  for (Bitboard m = men[BISHOP_INDEX + Them] & movers; m; m ^= FirstMan<Us>(m)) {
    const int from = lowest_square(FirstMan<Us>(m));
    if (t.Add<BLOCK_BISHOP>(BishopAttacks(from, bishopView) & line, bit(from), bishopTarget)) return 256;
  }
  const Bitboard heavyView = occupancy & ~pushers;
  const bool rookTarget = men[ROOK_INDEX + Them] & weakTargets;
  for (Bitboard m = men[ROOK_INDEX + Them] & movers; m; m ^= FirstMan<Us>(m)) {
    const int from = lowest_square(FirstMan<Us>(m));
    if (t.Add<BLOCK_ROOK>(RookAttacks(from, heavyView) & line, bit(from), rookTarget)) return 256;
  }
  const bool queenTarget = men[QUEEN_INDEX + Them] & weakTargets;
  for (Bitboard m = men[QUEEN_INDEX + Them] & movers; m; m ^= FirstMan<Us>(m)) {
    const int from = lowest_square(FirstMan<Us>(m));
    if (t.Add<BLOCK_QUEEN>(QueenAttacks(from, heavyView) & line, bit(from), queenTarget)) return 256;
  }

  const Bitboard takeSquares = line & (~nearKing | guarded);
  const bool pawnTarget = men[PAWN_INDEX + Them] & weakTargets;
  const Bitboard lower = PawnTakesLower<Them>(pawns) & takeSquares;
  if (t.Add<BLOCK_PAWN>(lower, PawnFromLower<Them>(lower) & pawns, pawnTarget)) return 256;
  const Bitboard upper = PawnTakesUpper<Them>(pawns) & takeSquares;
  if (t.Add<BLOCK_PAWN>(upper, PawnFromUpper<Them>(upper) & pawns, pawnTarget)) return 256;
  return t.flags;
}
