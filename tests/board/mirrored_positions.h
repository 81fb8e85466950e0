// Positions told once for White and played for both colours: the mirror of a
// FEN (ranks reversed, colours exchanged, side to move swapped) and square
// names read from the mover's point of view, so one hand-worked case checks
// both copies of a colour-templated routine.
#pragma once

#include <initializer_list>
#include <string>

#include <gtest/gtest.h>

#include "board/position.h"
#include "board/types.h"
#include "support/fen_flip.h"

namespace mirrored {

// "e4" -> 28.
inline int Sq(const char* name) { return (name[1] - '1') * 8 + (name[0] - 'a'); }

// A square named as White sees it, seen by Us: the same file, the rank
// reversed for Black.
template <int Us>
int S(const char* name) {
  return Us == WHITE ? Sq(name) : Sq(name) ^ 56;
}

template <int Us>
Bitboard Set(std::initializer_list<const char*> names) {
  Bitboard b = 0;
  for (const char* n : names) b |= bit(S<Us>(n));
  return b;
}

constexpr Move FromTo(int from, int to) { return Move(from) << 10 | Move(to); }

// The same move seen from the other colour: both squares rank-flipped.
constexpr Move MirrorWord(Move m) { return m ? m ^ (Move(56) << 10 | 56) : 0; }
constexpr Bitboard MirrorBits(Bitboard b) { return __builtin_bswap64(b); }

// Sets the global position for Us from a position written for White.
template <int Us>
void Load(const std::string& whiteFen) {
  const std::string fen = Us == WHITE ? whiteFen : FlipFen(whiteFen);
  ASSERT_EQ(SetPositionFromFen(fen.c_str()), 1) << fen;
}

// Runs a templated case for White and then for Black.
#define FOR_BOTH_COLOURS(body) \
  do {                         \
    {                          \
      SCOPED_TRACE("White");   \
      body<WHITE>();           \
    }                          \
    {                          \
      SCOPED_TRACE("Black");   \
      body<BLACK>();           \
    }                          \
  } while (0)

}  // namespace mirrored
