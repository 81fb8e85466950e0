// Make and unmake of the search, one copy per side to move. Included by
// board/make_move.h, which declares them; the search includes either.
//
// Make keeps every derived word of the Position exact in one pass: bitboards,
// keys, piece-square sum, material signature. Unmake walks back only the piece
// placement and restores the rest by copying the saved StateBlock over it.
// There is no loop and no switch on the piece: the mover's bitboard index is
// its word's code less 2, and the only branches are those of the rules
// (capture, castling, pawn, en passant, promotion, double push).
#pragma once

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <cstdint>

#include "board/attacks.h"
#include "board/keys.h"
#include "board/make_move.h"
#include "board/move.h"
#include "board/position.h"
#include "clock/node_count.h"
#include "eval/node_record.h"
#include "eval/piece_square.h"
#include "hash/table.h"

#define QUORL_ALWAYS_INLINE [[gnu::always_inline]] inline

namespace make_detail {

// The StateBlock moves as four 16-byte units.
QUORL_ALWAYS_INLINE void copy_state(StateBlock* to, const StateBlock* from) {
#if defined(__SSE2__)
  const __m128i* source = reinterpret_cast<const __m128i*>(from);
  __m128i* target = reinterpret_cast<__m128i*>(to);
  const __m128i a = _mm_loadu_si128(source), b = _mm_loadu_si128(source + 1);
  const __m128i c = _mm_loadu_si128(source + 2), d = _mm_loadu_si128(source + 3);
  _mm_storeu_si128(target, a);
  _mm_storeu_si128(target + 1, b);
  _mm_storeu_si128(target + 2, c);
  _mm_storeu_si128(target + 3, d);
#else
  *to = *from;
#endif
}

// --- The mirror rules ----------------------------------------------------------

template <int Us>
QUORL_ALWAYS_INLINE bool is_our_castling(Move move) {
  if constexpr (Us == WHITE)
    return is_white_castling(move);
  else
    return is_black_castling(move);
}

template <int Us>
QUORL_ALWAYS_INLINE bool is_our_promotion(Move move) {
  if constexpr (Us == WHITE)
    return is_white_promotion(move);
  else
    return is_black_promotion(move);
}

// The rook of a castling, by colour and bit 2 of the king's target (0 long,
// 1 short): its two squares and the key change of its step.
struct CastlingRook {
  int from;
  int to;
  Bitboard squares;
  uint64_t key;
};
constexpr CastlingRook CASTLING_ROOKS[2][2] = {
    {{0, 3, bit(0) | bit(3), WHITE_LONG_ROOK_KEY}, {7, 5, bit(7) | bit(5), WHITE_SHORT_ROOK_KEY}},
    {{56, 59, bit(56) | bit(59), BLACK_LONG_ROOK_KEY},
     {63, 61, bit(63) | bit(61), BLACK_SHORT_ROOK_KEY}},
};

// pawnKey terms of a bishop, by colour and square colour.
constexpr uint64_t BISHOP_DARK_KEY[2] = {WHITE_BISHOP_DARK_KEY, BLACK_BISHOP_DARK_KEY};
constexpr uint64_t BISHOP_LIGHT_KEY[2] = {WHITE_BISHOP_LIGHT_KEY, BLACK_BISHOP_LIGHT_KEY};

// A dark-square bishop's MATERIAL_STEPS index is its bitboard index plus this.
constexpr int DARK_BISHOP_STEP_OFFSET = MATERIAL_STEP_WHITE_BISHOP_DARK - BISHOP_INDEX;
static_assert(MATERIAL_STEP_BLACK_BISHOP_DARK - (BISHOP_INDEX + 1) == DARK_BISHOP_STEP_OFFSET);

QUORL_ALWAYS_INLINE int64_t piece_square(int index, int square) {
  return PIECE_SQUARE_VALUES[index * 64 + square];
}

// --- Make ----------------------------------------------------------------------

// Castles: whether the move may be castling (MakeMove) or not (MakeQuiet).
template <int Us, bool Castles>
QUORL_ALWAYS_INLINE void make(Move move, SavedState* saved, NodeRecord* node) {
  constexpr int Them = Us ^ 1;
  constexpr int OUR_PAWN = PAWN_INDEX + Us, OUR_KING = KING_INDEX + Us;
  constexpr int THEIR_PAWN = PAWN_INDEX + Them, THEIR_BISHOP = BISHOP_INDEX + Them;
  Position& pos = position;
  StateBlock& st = pos.state;

  node->currentMove = move;
  copy_state(saved, &st);

  pos.keyHistory[st.historyCount] = st.key;
  ++st.historyCount;
  ++st.fiftyCount;

  const int from = move_from(move), to = move_to(move);
  const uint32_t keep = CASTLING_MASK[to] & CASTLING_MASK[from] & st.castling;
  const uint32_t lost = st.castling ^ keep;
  st.castling = keep;
  st.key ^= CASTLING_KEYS[lost];
  st.pawnKey ^= CASTLING_KEYS[lost];
  st.pstSum += CASTLING_DELTA[lost];

  if (st.epSquare) {
    st.key ^= EP_KEYS[st.epSquare & 7];
    st.epSquare = 0;
  }

  // The mover.
  const uint64_t word = pos.board[from];
  const int p = int(word & WORD_CODE) - 2;
  pos.board[from] = 0;
  const Bitboard fromTo = bit(from) | bit(to);
  pos.colourBits[Us] ^= fromTo;
  pos.pieceBits[p] ^= fromTo;
  pos.occupied ^= fromTo;
  st.pstSum += piece_square(p, to) - piece_square(p, from);
  st.key ^= PIECE_KEYS[p][from] ^ PIECE_KEYS[p][to];
  if (p == OUR_PAWN || p == OUR_KING) st.pawnKey ^= PAWN_KEYS[p][from] ^ PAWN_KEYS[p][to];
  if (p == OUR_KING) pos.kingSquare[Us] = uint32_t(to);

  // The victim; unmake finds its code in the saved slot.
  const uint32_t c = uint32_t(pos.board[to] & WORD_CODE);
  st.capturedCode = c;
  saved->capturedCode = c;
  if (c) {
    const int v = int(c) - 2;
    const Bitboard target = bit(to);
    pos.colourBits[Them] ^= target;
    pos.pieceBits[v] ^= target;
    pos.occupied ^= target;  // set again: step of the mover cleared it
    st.pstSum -= piece_square(v, to);
    st.key ^= PIECE_KEYS[v][to];
    if (v == THEIR_PAWN) st.pawnKey ^= PAWN_KEYS[v][to];
    if (v == THEIR_BISHOP && (target & DARK_SQUARES)) {
      st.materialSignature -= MATERIAL_STEPS[v + DARK_BISHOP_STEP_OFFSET];
      st.materialAdjust -= MATERIAL_ADJUST_STEPS[v + DARK_BISHOP_STEP_OFFSET];
      st.pawnKey ^= BISHOP_DARK_KEY[Them];
    } else {
      st.materialSignature -= MATERIAL_STEPS[v];
      st.materialAdjust -= MATERIAL_ADJUST_STEPS[v];
      if (v == THEIR_BISHOP) st.pawnKey ^= BISHOP_LIGHT_KEY[Them];
    }
    st.fiftyCount = 0;
  } else {
    if constexpr (Castles) {
      if (is_our_castling<Us>(move)) {
        // Irreversible for the repetition test, like a capture.
        st.fiftyCount = 0;
        const CastlingRook& rook = CASTLING_ROOKS[Us][(move >> 2) & 1];
        pos.board[rook.to] = PIECE_WORDS[WHITE_ROOK + Us];
        pos.board[rook.from] = 0;
        pos.colourBits[Us] ^= rook.squares;
        pos.pieceBits[ROOK_INDEX + Us] ^= rook.squares;
        pos.occupied ^= rook.squares;
        st.pstSum += piece_square(ROOK_INDEX + Us, rook.to) - piece_square(ROOK_INDEX + Us, rook.from);
        st.key ^= rook.key;
      }
    }
  }

  pos.board[to] = word;

  if (p == OUR_PAWN) {
    st.fiftyCount = 0;
    if (move & MOVE_EN_PASSANT) {
      // The victim stands behind the target; capturedCode stays 0.
      const int square = to ^ 8;
      const Bitboard victim = bit(square);
      pos.board[square] = 0;
      st.pstSum -= piece_square(THEIR_PAWN, square);
      st.materialSignature -= MATERIAL_STEPS[THEIR_PAWN];
      st.materialAdjust -= MATERIAL_ADJUST_STEPS[THEIR_PAWN];
      st.key ^= PIECE_KEYS[THEIR_PAWN][square];
      st.pawnKey ^= PAWN_KEYS[THEIR_PAWN][square];
      pos.colourBits[Them] ^= victim;
      pos.pieceBits[THEIR_PAWN] ^= victim;
      pos.occupied ^= victim;
    }
    if (is_our_promotion<Us>(move)) {
      // A new bishop counts with the light-square step and adds no pawnKey
      // term, whatever its square: the words then differ from the
      // from-scratch ones until the search is left.
      const int n = promotion_index(Us, move);
      const Bitboard target = bit(to);
      pos.board[to] = PIECE_WORDS[n + 2];
      pos.pieceBits[OUR_PAWN] ^= target;
      pos.pieceBits[n] ^= target;
      st.pstSum += piece_square(n, to) - piece_square(OUR_PAWN, to);
      st.key ^= PIECE_KEYS[n][to] ^ PIECE_KEYS[OUR_PAWN][to];
      st.pawnKey ^= PAWN_KEYS[OUR_PAWN][to];
      st.materialSignature += MATERIAL_STEPS[n] - MATERIAL_STEPS[OUR_PAWN];
      st.materialAdjust += MATERIAL_ADJUST_STEPS[n] - MATERIAL_ADJUST_STEPS[OUR_PAWN];
    }
    // An en-passant square only where an enemy pawn could take.
    if ((from ^ to) == 16 && (EP_NEIGHBOURS[to] & pos.pieceBits[THEIR_PAWN])) {
      st.epSquare = uint32_t((from + to) / 2);
      st.key ^= EP_KEYS[st.epSquare & 7];
    }
  }

  st.key ^= SIDE_KEY;
  PrefetchBucket(st.key);
}

// --- Unmake --------------------------------------------------------------------

template <int Us, bool Castles>
QUORL_ALWAYS_INLINE void unmake(Move move, const SavedState* saved) {
  constexpr int Them = Us ^ 1;
  constexpr int OUR_PAWN = PAWN_INDEX + Us, OUR_KING = KING_INDEX + Us;
  constexpr int THEIR_PAWN = PAWN_INDEX + Them;
  Position& pos = position;

  const int from = move_from(move), to = move_to(move);
  const Bitboard target = bit(to);
  int p = int(pos.board[to] & WORD_CODE) - 2;
  if (is_our_promotion<Us>(move)) {
    pos.pieceBits[p] ^= target;
    pos.pieceBits[OUR_PAWN] ^= target;
    p = OUR_PAWN;
  }

  const uint32_t c = saved->capturedCode;
  pos.board[to] = PIECE_WORDS[c];

  const Bitboard fromTo = bit(from) | target;
  pos.colourBits[Us] ^= fromTo;
  pos.pieceBits[p] ^= fromTo;
  pos.occupied ^= bit(from);
  if (p == OUR_KING) pos.kingSquare[Us] = uint32_t(from);

  if (c) {
    pos.colourBits[Them] ^= target;
    pos.pieceBits[c - 2] ^= target;
  } else {
    pos.occupied ^= target;
    if constexpr (Castles) {
      if (is_our_castling<Us>(move)) {
        const CastlingRook& rook = CASTLING_ROOKS[Us][(move >> 2) & 1];
        pos.board[rook.from] = PIECE_WORDS[WHITE_ROOK + Us];
        pos.board[rook.to] = 0;
        pos.colourBits[Us] ^= rook.squares;
        pos.pieceBits[ROOK_INDEX + Us] ^= rook.squares;
        pos.occupied ^= rook.squares;
      }
    }
    if (move & MOVE_EN_PASSANT) {
      const int square = to ^ 8;
      const Bitboard victim = bit(square);
      pos.board[square] = PIECE_WORDS[WHITE_PAWN + Them];
      pos.colourBits[Them] ^= victim;
      pos.pieceBits[THEIR_PAWN] ^= victim;
      pos.occupied ^= victim;
    }
  }

  pos.board[from] = PIECE_WORDS[p + 2];
  copy_state(&pos.state, saved);
}

}  // namespace make_detail

template <int Us>
QUORL_ALWAYS_INLINE void MakeMove(Move move, SavedState* saved, NodeRecord* node) {
  if constexpr (Us == WHITE) {
    if (--node_countdown <= 0) [[unlikely]]
      periodic_check(node);
  }
  make_detail::make<Us, true>(move, saved, node);
}

template <int Us>
QUORL_ALWAYS_INLINE void UnmakeMove(Move move, const SavedState* saved) {
  make_detail::unmake<Us, true>(move, saved);
}

template <int Us>
QUORL_ALWAYS_INLINE void MakeQuiet(Move move, SavedState* saved, NodeRecord* node) {
  if constexpr (Us == WHITE) --node_countdown;
  make_detail::make<Us, false>(move, saved, node);
}

template <int Us>
QUORL_ALWAYS_INLINE void UnmakeQuiet(Move move, const SavedState* saved) {
  make_detail::unmake<Us, false>(move, saved);
}

template <int Us>
QUORL_ALWAYS_INLINE void MakeNull(NullRecord* record, NodeRecord* node) {
  Position& pos = position;
  StateBlock& st = pos.state;
  record->epSquare = st.epSquare;
  record->fiftyCount = st.fiftyCount;
  record->key = st.key;
  node->currentMove = 0;
  pos.keyHistory[st.historyCount] = st.key;
  ++st.historyCount;
  st.key ^= SIDE_KEY;
  if (st.epSquare) {
    st.key ^= EP_KEYS[st.epSquare & 7];
    st.epSquare = 0;
  }
  ++st.fiftyCount;
}

QUORL_ALWAYS_INLINE void UndoNull(const NullRecord* record) {
  StateBlock& st = position.state;
  --st.historyCount;
  st.epSquare = record->epSquare;
  st.fiftyCount = record->fiftyCount;
  st.key = record->key;
}
