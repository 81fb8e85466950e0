#include "board/make_move.h"

#include "board/keys.h"
#include "board/move.h"
#include "board/position.h"
#include "eval/piece_square.h"

namespace {

// The key term of whatever stands on a square.
uint64_t piece_key(uint64_t word, int square) {
  int code = int(word & WORD_CODE);
  return code >= WHITE_PAWN ? PIECE_KEYS[code - 2][square] : 0;
}

}  // namespace

void ApplyGameMove(Move move) {
  Position& p = position;
  StateBlock& st = p.state;
  // Long games must not run the history off its end: keep the newest keys,
  // more than any repetition test can reach, with room for a search behind.
  if (st.historyCount >= KEY_HISTORY_SIZE - 256) {
    constexpr uint32_t kept = 128;
    for (uint32_t i = 0; i < kept; ++i) p.keyHistory[i] = p.keyHistory[st.historyCount - kept + i];
    st.historyCount = kept;
    if (st.fiftyCount > kept) st.fiftyCount = kept;
  }
  p.keyHistory[st.historyCount++] = st.key;
  int from = move_from(move), to = move_to(move);
  uint64_t mover = p.board[from];
  // A word that does not read as a move, or names no piece, is a pass.
  if (move == 0 || mover == 0) {
    sideToMove ^= 1;
    st.key ^= SIDE_KEY;
    st.fiftyCount = 0;
    return;
  }
  ++st.fiftyCount;
  uint32_t keep = CASTLING_MASK[to] & CASTLING_MASK[from] & st.castling;
  uint32_t lost = st.castling ^ keep;
  st.castling = keep;
  st.key ^= CASTLING_KEYS[lost];
  st.pawnKey ^= CASTLING_KEYS[lost];
  st.pstSum += CASTLING_DELTA[lost];
  if (st.epSquare) st.key ^= EP_KEYS[st.epSquare & 7];
  st.epSquare = 0;

  int mover_code = int(mover & WORD_CODE);
  int us = mover_code & 1;
  int captured = int(p.board[to] & WORD_CODE);
  p.board[from] = 0;
  st.key ^= piece_key(mover, from) ^ piece_key(mover, to) ^ piece_key(p.board[to], to);
  st.capturedCode = uint32_t(captured);
  if (captured) st.fiftyCount = 0;
  if (!captured && is_castling(move) && (mover_code == WHITE_KING || mover_code == BLACK_KING)) {
    st.fiftyCount = 0;
    int home = from & 56;
    int rook_from = home + ((move & 4) ? 7 : 0), rook_to = home + ((move & 4) ? 5 : 3);
    st.key ^= piece_key(p.board[rook_from], rook_from) ^ piece_key(p.board[rook_from], rook_to);
    p.board[rook_to] = p.board[rook_from];
    p.board[rook_from] = 0;
  }
  p.board[to] = mover;
  if (mover_code == WHITE_PAWN || mover_code == BLACK_PAWN) {
    st.fiftyCount = 0;
    if (move & MOVE_EN_PASSANT) {
      st.key ^= piece_key(p.board[to ^ 8], to ^ 8);
      p.board[to ^ 8] = 0;
    }
    if (is_promotion(move)) {
      p.board[to] = PIECE_WORDS[promotion_index(us, move) + 2];
      st.key ^= piece_key(mover, to) ^ piece_key(p.board[to], to);
    }
    if ((from ^ to) == 16) {
      int their_pawn = mover_code ^ 1;
      bool beside = (square_file(to) > 0 && int(p.board[to - 1] & WORD_CODE) == their_pawn) ||
                    (square_file(to) < 7 && int(p.board[to + 1] & WORD_CODE) == their_pawn);
      if (beside) {
        st.epSquare = uint32_t((from + to) / 2);
        st.key ^= EP_KEYS[st.epSquare & 7];
      }
    }
  }
  sideToMove ^= 1;
  st.key ^= SIDE_KEY;
}
