// Attack maps and men in danger. Evaluate builds these sets step by step while
// it scores the pieces; the lazy writers build the same words without scoring.
// Both go through AttackBook, so the words a reader finds in a NodeRecord do
// not depend on which of them wrote it.
#pragma once

#include "board/attacks.h"
#include "board/position.h"
#include "eval/node_record.h"

// What a slider sees for the maps. Bishops and rooks look through their own
// queens, and a queen through her own rooks along ranks and files only: a
// battery counts with its back man. This never changes the union of a
// colour's attacks (past a transparent own man lie exactly that man's own
// squares); it changes which men count as attacked by something cheaper, and
// the back man's mobility.
[[gnu::always_inline]] inline Bitboard BishopSight(int square, Bitboard occupied, Bitboard ownQueens) {
  return BishopAttacks(square, occupied & ~ownQueens);
}

[[gnu::always_inline]] inline Bitboard RookSight(int square, Bitboard occupied, Bitboard ownQueens) {
  return RookAttacks(square, occupied & ~ownQueens);
}

[[gnu::always_inline]] inline Bitboard QueenSight(int square, Bitboard occupied, Bitboard ownRooks) {
  return RookAttacks(square, occupied & ~ownRooks) | BishopAttacks(square, occupied);
}

// Knights, bishops, rooks and queens of a colour: what a pawn attack puts in danger.
[[gnu::always_inline]] inline Bitboard PiecesOf(const Position& p, int colour) {
  return p.pieceBits[KNIGHT_INDEX + colour] | p.pieceBits[BISHOP_INDEX + colour] |
         p.pieceBits[ROOK_INDEX + colour] | p.pieceBits[QUEEN_INDEX + colour];
}

// A visitor for the slider steps that scores nothing.
struct IgnoreMan {
  void operator()(int, Bitboard) const {}
};

// The attack sets of one evaluation. W sets are White's attacks; cheapAttW
// holds the black men that White attacks with something cheaper, looseW the
// white men that Black attacks and White does not defend. Each method is one
// step of the evaluator's fixed order, white before black; the slider steps
// hand every man's attack set to a visitor per colour, where its terms are
// scored.
struct AttackBook {
  Bitboard pawnAttW, pawnAttB;    // squares attacked by pawns
  Bitboard kingZoneW, kingZoneB;  // KING_ATTACKS of the king, its own square excluded
  Bitboard attW, attB;            // attacks so far: pawns, knights, then each slider step
  Bitboard cheapAttW, cheapAttB;  // enemy men attacked by a cheaper man of the colour
  Bitboard allW, allB;            // the complete maps, kings included
  Bitboard looseW, looseB;        // men of the colour attacked and not defended

  // Pawn attacks, king neighbourhoods, and the pieces that enemy pawns attack.
  [[gnu::always_inline]] void StartWithPawns(const Position& p) {
    pawnAttW = WhitePawnAttacks(p.pieceBits[PAWN_INDEX + WHITE]);
    pawnAttB = BlackPawnAttacks(p.pieceBits[PAWN_INDEX + BLACK]);
    kingZoneW = KING_ATTACKS[p.kingSquare[WHITE]];
    kingZoneB = KING_ATTACKS[p.kingSquare[BLACK]];
    attW = pawnAttW;
    attB = pawnAttB;
    cheapAttW = pawnAttW & PiecesOf(p, BLACK);
    cheapAttB = pawnAttB & PiecesOf(p, WHITE);
  }

  // Knights go in before any slider, so that the slider steps see them.
  [[gnu::always_inline]] void AddKnights(const Position& p) {
    for (Bitboard b = p.pieceBits[KNIGHT_INDEX + WHITE]; b; b &= b - 1) attW |= KNIGHT_ATTACKS[lowest_square(b)];
    for (Bitboard b = p.pieceBits[KNIGHT_INDEX + BLACK]; b; b &= b - 1) attB |= KNIGHT_ATTACKS[lowest_square(b)];
  }

  // Every man of `men`: its attacks by `sight` (which looks through the own
  // men in `clear`) go into `acc` and to the visitor.
  template <class Sight, class Visit>
  [[gnu::always_inline]] static void EachSlider(Bitboard men, Bitboard occupied, Bitboard clear, Bitboard& acc,
                                                Sight sight, Visit&& visit) {
    for (; men; men &= men - 1) {
      const int square = lowest_square(men);
      const Bitboard attacks = sight(square, occupied, clear);
      acc |= attacks;
      visit(square, attacks);
    }
  }

  template <class White, class Black>
  [[gnu::always_inline]] void AddBishops(const Position& p, White&& white, Black&& black) {
    const Bitboard* men = p.pieceBits;
    EachSlider(men[BISHOP_INDEX + WHITE], p.occupied, men[QUEEN_INDEX + WHITE], attW, BishopSight, white);
    EachSlider(men[BISHOP_INDEX + BLACK], p.occupied, men[QUEEN_INDEX + BLACK], attB, BishopSight, black);
  }

  // After the bishops the accumulators hold pawns and minors: every rook or
  // queen they reach is attacked by something cheaper.
  [[gnu::always_inline]] void NoteMajorsUnderMinors(const Position& p) {
    cheapAttW |= attW & (p.pieceBits[ROOK_INDEX + BLACK] | p.pieceBits[QUEEN_INDEX + BLACK]);
    cheapAttB |= attB & (p.pieceBits[ROOK_INDEX + WHITE] | p.pieceBits[QUEEN_INDEX + WHITE]);
  }

  template <class White, class Black>
  [[gnu::always_inline]] void AddRooks(const Position& p, White&& white, Black&& black) {
    const Bitboard* men = p.pieceBits;
    EachSlider(men[ROOK_INDEX + WHITE], p.occupied, men[QUEEN_INDEX + WHITE], attW, RookSight, white);
    EachSlider(men[ROOK_INDEX + BLACK], p.occupied, men[QUEEN_INDEX + BLACK], attB, RookSight, black);
  }

  // After the rooks every queen in the accumulators is attacked by something cheaper.
  [[gnu::always_inline]] void NoteQueensUnderRooks(const Position& p) {
    cheapAttW |= attW & p.pieceBits[QUEEN_INDEX + BLACK];
    cheapAttB |= attB & p.pieceBits[QUEEN_INDEX + WHITE];
  }

  // The queens of both colours go in only after both loops, so that each
  // colour's visitor still sees the enemy accumulator without the enemy queens.
  template <class White, class Black>
  [[gnu::always_inline]] void AddQueens(const Position& p, White&& white, Black&& black) {
    const Bitboard* men = p.pieceBits;
    Bitboard queensW = 0, queensB = 0;
    EachSlider(men[QUEEN_INDEX + WHITE], p.occupied, men[ROOK_INDEX + WHITE], queensW, QueenSight, white);
    EachSlider(men[QUEEN_INDEX + BLACK], p.occupied, men[ROOK_INDEX + BLACK], queensB, QueenSight, black);
    attW |= queensW;
    attB |= queensB;
  }

  [[gnu::always_inline]] void CompleteMaps() {
    allW = attW | kingZoneW;
    allB = attB | kingZoneB;
  }

  // Loose men, then the four words the move producers and pruning read.
  [[gnu::always_inline]] void Store(const Position& p, NodeRecord* node) {
    looseW = p.colourBits[WHITE] & allB & ~allW;
    looseB = p.colourBits[BLACK] & allW & ~allB;
    node->whiteAttacks = allW;
    node->blackAttacks = allB;
    node->blackThreatened = looseB | cheapAttW;
    node->whiteThreatened = looseW | cheapAttB;
  }
};

// The union of White's attacks into whiteAttacks, by plain lookups on the
// occupancy; for the quick path where the evaluator is skipped.
void AttackedByWhite(NodeRecord* node);

// Both attack maps and both sets of men in danger, the four words that
// Evaluate leaves, by plain lookups: no slider looks through its own men
// here, as the evaluator's do.
void AttackMaps(NodeRecord* node);
