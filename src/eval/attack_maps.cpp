#include "eval/attack_maps.h"

namespace {

// One colour's attacks by plain lookups on the occupancy, with the sets that
// decide which enemy men stand attacked by something cheaper.
struct PlainAttacks {
  Bitboard pawns, minors, rooks, all;
};

template <int Us>
PlainAttacks PlainAttacksOf(const Position& p) {
  constexpr int colour = Us;
  const Bitboard* men = p.pieceBits;
  const Bitboard occupied = p.occupied;
  PlainAttacks a;
  if constexpr (Us == WHITE) a.pawns = WhitePawnAttacks(men[PAWN_INDEX + WHITE]);
  else a.pawns = BlackPawnAttacks(men[PAWN_INDEX + BLACK]);
  a.minors = 0;
  for (Bitboard b = men[KNIGHT_INDEX + colour]; b; b &= b - 1) a.minors |= KNIGHT_ATTACKS[lowest_square(b)];
  for (Bitboard b = men[BISHOP_INDEX + colour]; b; b &= b - 1) a.minors |= BishopAttacks(lowest_square(b), occupied);
  a.rooks = 0;
  for (Bitboard b = men[ROOK_INDEX + colour]; b; b &= b - 1) a.rooks |= RookAttacks(lowest_square(b), occupied);
  Bitboard queens = 0;
  for (Bitboard b = men[QUEEN_INDEX + colour]; b; b &= b - 1) queens |= QueenAttacks(lowest_square(b), occupied);
  a.all = a.pawns | a.minors | a.rooks | queens | KING_ATTACKS[p.kingSquare[colour]];
  return a;
}

// The men of `colour` in danger: attacked and not defended, or attacked by a
// cheaper man.
Bitboard InDanger(const Position& p, int colour, const PlainAttacks& own, const PlainAttacks& enemy) {
  const Bitboard* men = p.pieceBits;
  const Bitboard queens = men[QUEEN_INDEX + colour];
  return (p.colourBits[colour] & enemy.all & ~own.all) | (PiecesOf(p, colour) & enemy.pawns) |
         ((men[ROOK_INDEX + colour] | queens) & enemy.minors) | (queens & enemy.rooks);
}

}  // namespace

void AttackedByWhite(NodeRecord* node) { node->whiteAttacks = PlainAttacksOf<WHITE>(position).all; }

void AttackMaps(NodeRecord* node) {
  const Position& p = position;
  const PlainAttacks white = PlainAttacksOf<WHITE>(p), black = PlainAttacksOf<BLACK>(p);
  node->whiteAttacks = white.all;
  node->blackAttacks = black.all;
  node->whiteThreatened = InDanger(p, WHITE, white, black);
  node->blackThreatened = InDanger(p, BLACK, black, white);
}
