#include "eval/attack_maps.h"

void AttackedByWhite(NodeRecord* node) {
  const Position& p = position;
  const Bitboard occupied = p.occupied;
  Bitboard attacks = WhitePawnAttacks(p.pieceBits[PAWN_INDEX + WHITE]);
  for (Bitboard b = p.pieceBits[KNIGHT_INDEX + WHITE]; b; b &= b - 1) attacks |= KNIGHT_ATTACKS[lowest_square(b)];
  for (Bitboard b = p.pieceBits[BISHOP_INDEX + WHITE]; b; b &= b - 1)
    attacks |= BishopAttacks(lowest_square(b), occupied);
  for (Bitboard b = p.pieceBits[ROOK_INDEX + WHITE]; b; b &= b - 1) attacks |= RookAttacks(lowest_square(b), occupied);
  for (Bitboard b = p.pieceBits[QUEEN_INDEX + WHITE]; b; b &= b - 1)
    attacks |= QueenAttacks(lowest_square(b), occupied);
  node->whiteAttacks = attacks | KING_ATTACKS[p.kingSquare[WHITE]];
}

void AttackMaps(NodeRecord* node) {
  const Position& p = position;
  AttackBook book;
  book.StartWithPawns(p);
  book.AddKnights(p);
  book.AddBishops(p, IgnoreMan{}, IgnoreMan{});
  book.NoteMajorsUnderMinors(p);
  book.AddRooks(p, IgnoreMan{}, IgnoreMan{});
  book.NoteQueensUnderRooks(p);
  book.AddQueens(p, IgnoreMan{}, IgnoreMan{});
  book.CompleteMaps();
  book.Store(p, node);
}
