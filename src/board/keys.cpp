// From-scratch position keys and material signature.
#include "board/keys.h"

#include "board/position.h"

uint64_t PositionKey(const Position* p, int side) {
  uint64_t key = 0;
  for (int sq = 0; sq < 64; ++sq) {
    int code = int(p->board[sq] & WORD_CODE);
    if (code >= WHITE_PAWN) key ^= PIECE_KEYS[code - 2][sq];
  }
  key ^= CASTLING_KEYS[p->state.castling & 15];
  if (side == WHITE) key ^= SIDE_KEY;
  if (p->state.epSquare != 0) key ^= EP_KEYS[p->state.epSquare & 7];
  return key;
}

namespace {

uint64_t xor_rows(const std::array<uint64_t, 64>& row, Bitboard men) {
  uint64_t k = 0;
  for (; men; men &= men - 1) k ^= row[lowest_square(men)];
  return k;
}

// A bishop's term depends only on its square colour, so a bitboard gives it by
// the parity of its count on each colour.
uint64_t bishop_terms(Bitboard bishops, uint64_t darkKey, uint64_t lightKey) {
  uint64_t k = 0;
  if (popcount(bishops & DARK_SQUARES) & 1) k ^= darkKey;
  if (popcount(bishops & LIGHT_SQUARES) & 1) k ^= lightKey;
  return k;
}

}  // namespace

uint64_t PawnKey(const Position* p) {
  uint64_t key = PAWN_KEY_START ^ CASTLING_KEYS[p->state.castling & 15];
  key ^= xor_rows(PAWN_KEYS[PAWN_INDEX], p->pieceBits[PAWN_INDEX]);
  key ^= xor_rows(PAWN_KEYS[PAWN_INDEX + 1], p->pieceBits[PAWN_INDEX + 1]);
  key ^= xor_rows(PAWN_KEYS[KING_INDEX], p->pieceBits[KING_INDEX]);
  key ^= xor_rows(PAWN_KEYS[KING_INDEX + 1], p->pieceBits[KING_INDEX + 1]);
  key ^= bishop_terms(p->pieceBits[BISHOP_INDEX], WHITE_BISHOP_DARK_KEY, WHITE_BISHOP_LIGHT_KEY);
  key ^= bishop_terms(p->pieceBits[BISHOP_INDEX + 1], BLACK_BISHOP_DARK_KEY,
                      BLACK_BISHOP_LIGHT_KEY);
  return key;
}

uint64_t MaterialSignature(const Position* p) {
  uint64_t signature = MATERIAL_SIGNATURE_BASE;
  for (int i = PAWN_INDEX; i < KING_INDEX; ++i) {
    Bitboard men = p->pieceBits[i];
    if (i == BISHOP_INDEX || i == BISHOP_INDEX + 1) {
      int dark = i == BISHOP_INDEX ? MATERIAL_STEP_WHITE_BISHOP_DARK
                                   : MATERIAL_STEP_BLACK_BISHOP_DARK;
      signature += uint64_t(popcount(men & DARK_SQUARES)) * MATERIAL_STEPS[dark];
      men &= LIGHT_SQUARES;
    }
    signature += uint64_t(popcount(men)) * MATERIAL_STEPS[i];
  }
  return signature;
}
