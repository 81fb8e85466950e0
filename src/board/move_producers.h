// The move producers: check evasions from the board, and the quiet,
// underpromotion and gain-filtered lists from the maps that the capture list
// maker left in the node record. One copy per side to move; `Us` is that side.
//
// A list is an array of Move words ended by 0. A producer appends after what
// is already there (the caller passes the place to write) and keeps the
// terminator. No producer checks for room: a position has fewer than 256
// moves. No producer tests legality by making moves; a caller that needs
// certainty tests its king after the make.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "board/attacks.h"
#include "board/move.h"
#include "board/pawn_steps.h"
#include "board/position.h"
#include "board/quiet_masks.h"
#include "board/types.h"
#include "eval/node_record.h"
#include "search/ordering_tables.h"

// ---------------------------------------------------------------------------
// Move templates by mover: XORed onto `from << 10 | to`, with the victim's
// piece word ANDed by the capture mask of the mover.

constexpr Move KING_TEMPLATE = 0x600000230100, QUEEN_TEMPLATE = 0x100000520140;
constexpr Move ROOK_TEMPLATE = 0x2000008a0180, BISHOP_TEMPLATE = 0x300001060080;
constexpr Move KNIGHT_TEMPLATE = 0x400002060040, PAWN_PUSH_TEMPLATE = 0x5000040200c0;
constexpr Move PAWN_CAPTURE_TEMPLATE = 0xd000040000c0;
constexpr Move EN_PASSANT_TEMPLATE = 0x418d0001c0000c0;

// The quiet producer's templates have no lowest-attacker field.
constexpr Move KING_LOW = 0x230100, QUEEN_LOW = 0x520140, ROOK_LOW = 0x8a0180;
constexpr Move BISHOP_LOW = 0x1060080, KNIGHT_LOW = 0x2060040, PAWN_LOW = 0x40200c0;

constexpr Move KING_CAPTURE_MASK = 0xa952000038020000, QUEEN_CAPTURE_MASK = 0xa9528000381e0000;
constexpr Move ROOK_CAPTURE_MASK = 0xab528000380e0000, MINOR_CAPTURE_MASK = 0xab72800038060000;
constexpr Move PAWN_CAPTURE_MASK = 0xab7a000038010000;

// Promotion forms: clear the fields, then OR the new piece.
constexpr Move PROMOTION_CLEAR = 0x1fc0000000000;
constexpr Move PROMOTION_QUEEN = 0x5140000000000, PROMOTION_ROOK = 0x580000000000;
constexpr Move PROMOTION_KNIGHT = 0x840000000000;

// The underpromotion producer's own words, quiet and capturing.
constexpr Move UNDER_KNIGHT_PUSH = 0x48400040300c0, UNDER_ROOK_PUSH = 0x45800040300c0;
constexpr Move UNDER_KNIGHT_CAPTURE = 0x48400040100c0, UNDER_ROOK_CAPTURE = 0x45800040100c0;
constexpr Move UNDER_CAPTURE_MASK = 0xab7a000000000000;

constexpr Move ORDER_SHIFT = 32;

// Index of a move's history entry: row, then to, class and check bit.
[[gnu::always_inline]] inline uint16_t& HistoryEntry(int row, Move move) {
  return HistoryTable[row * 1024 + int(move & 0x3ff)];
}

// The last rank of Side's pawns, where a step or capture promotes.
template <int Side>
inline constexpr Bitboard LAST_RANK = Side == WHITE ? 0xff00000000000000ull : 0xffull;

// Our side's copies of the per-colour node words.
template <int Side>
[[gnu::always_inline]] inline Bitboard& Threatened(NodeRecord* node) {
  if constexpr (Side == WHITE) return node->whiteThreatened;
  else return node->blackThreatened;
}
template <int Side>
[[gnu::always_inline]] inline Bitboard& Attacks(NodeRecord* node) {
  if constexpr (Side == WHITE) return node->whiteAttacks;
  else return node->blackAttacks;
}

namespace producer_detail {

[[gnu::always_inline]] inline Move* Emit(Move* list, Move move) {
  *list = move;
  return list + 1;
}

// Descending order by insertion, walking back from the end; equal words keep
// their order.
inline void SortDescending(Move* first, Move* last) {
  for (Move* p = last - 1; p > first;) {
    --p;
    const Move m = *p;
    Move* q = p;
    while (q + 1 < last && q[1] > m) {
      q[0] = q[1];
      ++q;
    }
    *q = m;
  }
}

// Origin of the quiet pawn step to `to`: one square back, or two when the
// square one back is empty (the step was a double one).
template <int Us>
[[gnu::always_inline]] inline int PushOrigin(int to) {
  const int back = Us == WHITE ? to - 8 : to + 8;
  if (position.board[back]) return back;
  return Us == WHITE ? to - 16 : to + 16;
}

// The promotions of one pawn step or capture onto the last rank: the queen,
// then the knight where `knight` allows, then with `rook` the rook.
[[gnu::always_inline]] inline Move* Promotions(Move* list, Move base, bool knight, bool rook) {
  const Move cleared = base & ~PROMOTION_CLEAR;
  list = Emit(list, cleared | PROMOTION_QUEEN);
  if (knight) list = Emit(list, cleared | PROMOTION_KNIGHT);
  if (rook) list = Emit(list, cleared | PROMOTION_ROOK);
  return list;
}

// Killer marks of the quiet lists: the move takes the larger of itself and
// its marked form. A killer proved with check speaks only for the checking
// form of the move. Returns true when a killer matched.
[[gnu::always_inline]] inline bool MarkKiller(Move& m, Move killer, Move clear, Move order) {
  if (!killer || ((m ^ killer) & 0xfdff) || ((killer & MOVE_CHECK) && !(m & MOVE_CHECK))) return false;
  const Move marked = (m & ~clear) | order;
  if (marked > m) m = marked;
  return true;
}

inline void MarkReplies(Move* first, Move* last, const NodeRecord* node, bool counters) {
  const Move k1 = node->killers[0], k2 = node->killers[1];
  const Move previous = node[-1].currentMove;
  const Move c1 = counters && previous ? CounterMoves[previous & 0x1ff][0] : 0;
  const Move c2 = counters && previous ? CounterMoves[previous & 0x1ff][1] : 0;
  for (Move* p = first; p < last; ++p) {
    Move& m = *p;
    if (MarkKiller(m, k1, 0x3fff00000000, 0x1c00000000000)) continue;
    if (MarkKiller(m, k2, 0x5fff00000000, 0x1a00000000000)) continue;
    const Move key = m & 0xfdff;
    if (c1 && key == c1) {
      const Move marked = (m & ~Move(0x11fff00000000)) | 0xe00000000000;
      if (marked > m) m = marked;
    } else if (c2 && key == c2) {
      const Move marked = (m & ~Move(0x13fff00000000)) | 0xc00000000000;
      if (marked > m) m = marked;
    }
  }
}

// The quiet moves of one man: its targets left in the record, each with the
// order value that `order` gives for the word.
template <typename Order>
[[gnu::always_inline]] inline Move* QuietsOf(Move* list, int from, Bitboard targets, Move low, Order order) {
  for (; targets; targets &= targets - 1) {
    const Move word = (Move(from) << 10 | Move(lowest_square(targets))) ^ low;
    list = Emit(list, word | Move(order(word)) << ORDER_SHIFT);
  }
  return list;
}

// The quiet moves in their fixed order: pawn steps, knights, queens,
// bishops, rooks, king. `order(word, bonus)` gives the order value, where
// bonus is the class's extra for a man standing on a threatened square.
template <int Us, typename Order>
inline Move* AllQuiets(Move* list, NodeRecord* node, Order order) {
  const Bitboard* men = position.pieceBits;
  const Bitboard threatened = Threatened<Us>(node);
  const Bitboard own = node->ownMen;
  const auto bonus = [&](int from, uint32_t extra) { return (threatened >> from & 1) ? extra : 2048u; };
  for (Bitboard b = node->pawnPushes; b; b &= b - 1) {
    const int to = lowest_square(b);
    const int from = PushOrigin<Us>(to);
    const Move word = (Move(from) << 10 | Move(to)) ^ PAWN_LOW;
    list = Emit(list, word | Move(order(word, bonus(from, 3584))) << ORDER_SHIFT);
  }
  const auto pieces = [&](Bitboard set, Move low, uint32_t extra) {
    for (; set; set &= set - 1) {
      const int from = lowest_square(set);
      const uint32_t b = bonus(from, extra);
      list = QuietsOf(list, from, node->moveTargets[from], low, [&](Move w) { return order(w, b); });
    }
  };
  pieces(men[KNIGHT_INDEX + Us] & own, KNIGHT_LOW, 5120);
  pieces(men[QUEEN_INDEX + Us], QUEEN_LOW, 8192);
  pieces(men[BISHOP_INDEX + Us] & own, BISHOP_LOW, 5120);
  pieces(men[ROOK_INDEX + Us] & own, ROOK_LOW, 6656);
  const int king = int(position.kingSquare[Us]);
  return QuietsOf(list, king, node->moveTargets[king], KING_LOW, [&](Move w) { return order(w, 2048u); });
}

inline Move* ListEnd(Move* list) {
  while (*list) ++list;
  return list;
}

}  // namespace producer_detail

// ---------------------------------------------------------------------------
// Check evasions, computed from the board. `targets` limits king moves,
// blocks and captures; `allUnder` allows every underpromotion, otherwise a
// promotion gives the queen and the knight only where the knight checks.
// Pins are handled by leaving out every man on a line from our king to an
// enemy slider with at most one man between: a pinned man can never resolve
// a check. En passant against a pin along the rank is not examined.
template <int Us>
Move* GenerateEvasions(Move* list, Bitboard targets, bool allUnder) {
  using namespace producer_detail;
  constexpr int Them = Us ^ 1;
  const Position& p = position;
  const Bitboard* men = p.pieceBits;
  const int k = int(p.kingSquare[Us]);
  const int theirKing = int(p.kingSquare[Them]);
  const Bitboard occ = p.occupied;
  const Bitboard ours = p.colourBits[Us], theirs = p.colourBits[Them];
  const Bitboard diagonalSliders = men[BISHOP_INDEX + Them] | men[QUEEN_INDEX + Them];
  const Bitboard lineSliders = men[ROOK_INDEX + Them] | men[QUEEN_INDEX + Them];

  Bitboard pinLines = 0;
  for (Bitboard s = (BISHOP_RAYS[k] & diagonalSliders) | (ROOK_RAYS[k] & lineSliders); s; s &= s - 1) {
    const Bitboard line = LINE_PAIR[lowest_square(s) * 64 + k].between ^ bit(k);
    if (!(line & ((occ & line) - 1) & occ)) pinLines |= line;
  }

  // Their attacks with our king lifted, looked up only from where they can
  // reach the king's neighbourhood.
  const Bitboard view = occ ^ bit(k);
  Bitboard attacked = Them == WHITE ? WhitePawnAttacks(men[PAWN_INDEX + Them]) : BlackPawnAttacks(men[PAWN_INDEX + Them]);
  for (Bitboard b = men[KNIGHT_INDEX + Them] & KING_ZONE_KNIGHTS[k]; b; b &= b - 1) attacked |= KNIGHT_ATTACKS[lowest_square(b)];
  for (Bitboard b = men[BISHOP_INDEX + Them] & KING_ZONE_BISHOPS[k]; b; b &= b - 1) attacked |= BishopAttacks(lowest_square(b), view);
  for (Bitboard b = men[ROOK_INDEX + Them] & KING_ZONE_ROOKS[k]; b; b &= b - 1) attacked |= RookAttacks(lowest_square(b), view);
  for (Bitboard b = men[QUEEN_INDEX + Them]; b; b &= b - 1) attacked |= QueenAttacks(lowest_square(b), view);

  const Move kingFrom = Move(k) << 10;
  for (Bitboard b = KING_ATTACKS[k] & ~ours & ~bit(theirKing) & ~attacked & ~KING_ATTACKS[theirKing] & targets; b; b &= b - 1) {
    const int to = lowest_square(b);
    const Move word = (kingFrom | Move(to)) ^ KING_TEMPLATE ^ (p.board[to] & KING_CAPTURE_MASK);
    list = Emit(list, word | Move(HistoryEntry(0, word) >> 4) << ORDER_SHIFT);
  }

  const Bitboard checkers = (RookAttacks(k, occ) & lineSliders) | (BishopAttacks(k, occ) & diagonalSliders) |
                            (KNIGHT_ATTACKS[k] & men[KNIGHT_INDEX + Them]) | (PawnSources<Them>(k) & men[PAWN_INDEX + Them]);
  Bitboard blockers = 0;
  if (checkers && !(checkers & (checkers - 1))) {
    const int c = lowest_square(checkers);
    blockers = LINE_PAIR[k * 64 + c].between & targets;
    const Bitboard free = ~pinLines;
    const Bitboard ourPawns = men[PAWN_INDEX + Us] & free;
    const auto promoting = [&](int to, Move word) {
      return Promotions(list, word, allUnder || (KNIGHT_ATTACKS[to] >> theirKing & 1), allUnder);
    };

    // Pawn captures of the checker, from the lower file first.
    if (blockers & checkers) {
      const Bitboard sources = PawnSources<Us>(c) & ourPawns;
      for (Bitboard b = sources; b; b &= b - 1) {
        const int from = lowest_square(b);
        const Move word = (Move(from) << 10 | Move(c)) ^ PAWN_CAPTURE_TEMPLATE ^ (p.board[c] & PAWN_CAPTURE_MASK);
        list = (LAST_RANK<Us> >> c & 1) ? promoting(c, word) : Emit(list, word);
      }
      const int ep = int(p.state.epSquare);
      if (ep && (checkers & men[PAWN_INDEX + Them])) {
        for (Bitboard b = PawnSources<Us>(ep) & ourPawns; b; b &= b - 1)
          list = Emit(list, (Move(lowest_square(b)) << 10 | Move(ep)) ^ EN_PASSANT_TEMPLATE);
      }
    }

    // Pawn blocks, single then double steps.
    const Bitboard empty = blockers & ~theirs;
    for (Bitboard b = empty & PawnStep<Us>(ourPawns); b; b &= b - 1) {
      const int to = lowest_square(b);
      const int from = Us == WHITE ? to - 8 : to + 8;
      const Move word = (Move(from) << 10 | Move(to)) ^ PAWN_PUSH_TEMPLATE;
      list = (LAST_RANK<Us> >> to & 1) ? promoting(to, word) : Emit(list, word);
    }
    const Bitboard doubleEnds = empty & DOUBLE_STEP_END<Us> & PawnStep<Us>(PawnStep<Us>(ourPawns & (Us == WHITE ? 0xff00ull : 0xff000000000000ull)) & ~occ);
    for (Bitboard b = doubleEnds; b; b &= b - 1) {
      const int to = lowest_square(b);
      const int from = Us == WHITE ? to - 16 : to + 16;
      list = Emit(list, (Move(from) << 10 | Move(to)) ^ PAWN_PUSH_TEMPLATE);
    }

    const auto pieces = [&](Bitboard set, Move tmpl, Move mask, auto attacksOf) {
      for (; set; set &= set - 1) {
        const int from = lowest_square(set);
        for (Bitboard t = attacksOf(from) & blockers; t; t &= t - 1) {
          const int to = lowest_square(t);
          list = Emit(list, (Move(from) << 10 | Move(to)) ^ tmpl ^ (p.board[to] & mask));
        }
      }
    };
    pieces(men[KNIGHT_INDEX + Us] & free, KNIGHT_TEMPLATE, MINOR_CAPTURE_MASK, [](int s) { return KNIGHT_ATTACKS[s]; });
    pieces(men[BISHOP_INDEX + Us] & free, BISHOP_TEMPLATE, MINOR_CAPTURE_MASK, [&](int s) { return BishopAttacks(s, occ); });
    pieces(men[ROOK_INDEX + Us] & free, ROOK_TEMPLATE, ROOK_CAPTURE_MASK, [&](int s) { return RookAttacks(s, occ); });
    pieces(men[QUEEN_INDEX + Us] & free, QUEEN_TEMPLATE, QUEEN_CAPTURE_MASK, [&](int s) { return QueenAttacks(s, occ); });
  }
  *list = 0;
  return list;
}

// ---------------------------------------------------------------------------
// Quiet moves from the record's maps, with the order value of history plus
// the class's bonus for a man on a threatened square, killers and counter
// moves marked, the whole list (from `list` on) sorted largest first.
template <int Us>
Move* GenerateQuiets(Move* list, NodeRecord* node, int row) {
  using namespace producer_detail;
  Move* end = ListEnd(list);
  end = AllQuiets<Us>(end, node, [&](Move word, uint32_t bonus) { return HistoryEntry(row, word) + bonus; });
  *end = 0;
  MarkReplies(list, end, node, true);
  SortDescending(list, end);
  return end;
}

// The same moves in a random order, so that the processes of a pool walk the
// same tree differently: the order values, also of the moves already in the
// list, are 15-bit numbers of the runtime's generator; only killers mark.
template <int Us>
Move* GenerateQuietsShuffled(Move* list, NodeRecord* node) {
  using namespace producer_detail;
  Move* end = ListEnd(list);
  for (Move* p = list; p < end; ++p) *p = (*p & ~Move(0xffff00000000)) | Move(std::rand() & 0x7fff) << ORDER_SHIFT;
  end = AllQuiets<Us>(end, node, [](Move, uint32_t) { return uint32_t(std::rand() & 0x7fff); });
  *end = 0;
  MarkReplies(list, end, node, false);
  SortDescending(list, end);
  return end;
}

// Knight and rook promotions of our pawns one step from the last rank. The
// queen and the checking knight came with the capture list; bishops are never
// made.
template <int Us>
Move* GenerateUnderpromotions(Move* list, NodeRecord* node) {
  using namespace producer_detail;
  constexpr int Them = Us ^ 1;
  const Position& p = position;
  list = ListEnd(list);
  const Bitboard theirs = p.colourBits[Them];
  const Bitboard kingKnights = KNIGHT_ATTACKS[p.kingSquare[Them]];
  for (Bitboard b = p.pieceBits[PAWN_INDEX + Us] & node->ownMen & PROMOTING_RANK<Us>; b; b &= b - 1) {
    const int from = lowest_square(b);
    const Bitboard pawn = bit(from);
    const auto promote = [&](Bitboard square, Move knight, Move rook, Move victim) {
      const int to = lowest_square(square);
      const Move base = (Move(from) << 10 | Move(to)) ^ victim;
      if (!(kingKnights & square)) list = Emit(list, base ^ knight);
      list = Emit(list, base ^ rook);
    };
    const Bitboard ahead = PawnStep<Us>(pawn);
    if (!(ahead & p.occupied)) promote(ahead, UNDER_KNIGHT_PUSH, UNDER_ROOK_PUSH, 0);
    for (const Bitboard side : {PawnTakesLower<Us>(pawn) & theirs, PawnTakesUpper<Us>(pawn) & theirs})
      if (side) promote(side, UNDER_KNIGHT_CAPTURE, UNDER_ROOK_CAPTURE, p.board[lowest_square(side)] & UNDER_CAPTURE_MASK);
  }
  *list = 0;
  return list;
}

// Quiet moves whose expected positional gain reaches `minGain`, the gain in
// bits 40 and up (sign-extended, as the table holds it), sorted. No castling:
// the gain stage makes its moves with the quiet make.
template <int Us>
Move* GenerateGainQuiets(Move* list, NodeRecord* node, int minGain, Bitboard excluded) {
  using namespace producer_detail;
  const Position& p = position;
  const Bitboard* men = p.pieceBits;
  const QuietMasks& masks = quiet_masks[Us];
  Move* const first = ListEnd(list);
  Move* end = first;
  const auto add = [&](int from, Bitboard targets, Move low) {
    for (; targets; targets &= targets - 1) {
      const Move word = (Move(from) << 10 | Move(lowest_square(targets))) ^ low;
      const int gain = GainTable[Us][word & 0xfcff];
      if (gain >= minGain) end = Emit(end, word | Move(int64_t(gain)) << 40);
    }
  };
  const Bitboard own = node->ownMen;
  for (Bitboard b = men[KNIGHT_INDEX + Us] & own; b; b &= b - 1) {
    const int from = lowest_square(b);
    add(from, node->moveTargets[from] & masks.gainKnightTargets[from], KNIGHT_LOW);
  }
  for (Bitboard b = node->pawnPushes & PawnStep<Us>(men[PAWN_INDEX + Us]); b; b &= b - 1) {
    const int to = lowest_square(b);
    add(Us == WHITE ? to - 8 : to + 8, bit(to), PAWN_LOW);
  }
  const int king = int(p.kingSquare[Us]);
  add(king, node->moveTargets[king] & KING_ATTACKS[king], KING_LOW);
  for (Bitboard b = men[BISHOP_INDEX + Us] & own; b; b &= b - 1) add(lowest_square(b), node->moveTargets[lowest_square(b)], BISHOP_LOW);
  for (Bitboard b = men[QUEEN_INDEX + Us]; b; b &= b - 1) add(lowest_square(b), node->moveTargets[lowest_square(b)] & ~excluded, QUEEN_LOW);
  for (Bitboard b = men[ROOK_INDEX + Us] & own; b; b &= b - 1) add(lowest_square(b), node->moveTargets[lowest_square(b)], ROOK_LOW);
  *end = 0;
  SortDescending(first, end);
  return end;
}

// The selective form: knights from the stage's origins to the stage's
// destinations, single pawn steps from the stage's origins, and the king to
// the stage's squares; no order value and no sort.
template <int Us>
Move* GenerateGainLimited(Move* list, NodeRecord* node, int minGain) {
  using namespace producer_detail;
  const Position& p = position;
  const Bitboard* men = p.pieceBits;
  const QuietMasks& masks = quiet_masks[Us];
  list = ListEnd(list);
  const auto add = [&](int from, Bitboard targets, Move low) {
    for (; targets; targets &= targets - 1) {
      const Move word = (Move(from) << 10 | Move(lowest_square(targets))) ^ low;
      if (GainTable[Us][word & 0xfcff] >= minGain) list = Emit(list, word);
    }
  };
  for (Bitboard b = men[KNIGHT_INDEX + Us] & node->ownMen & masks.knightOrigins; b; b &= b - 1) {
    const int from = lowest_square(b);
    add(from, node->moveTargets[from] & masks.knightTargets[from], KNIGHT_LOW);
  }
  for (Bitboard b = node->pawnPushes & PawnStep<Us>(men[PAWN_INDEX + Us] & masks.pawnOrigins); b; b &= b - 1) {
    const int to = lowest_square(b);
    add(Us == WHITE ? to - 8 : to + 8, bit(to), PAWN_LOW);
  }
  const int king = int(p.kingSquare[Us]);
  add(king, node->moveTargets[king] & KING_ATTACKS[king] & masks.kingTargets[king], KING_LOW);
  *list = 0;
  return list;
}

// ---------------------------------------------------------------------------
// The complete move of a hash-form word (from and to only) on the board as it
// stands, or 0 when the word cannot be one of our moves here. The test is
// deliberately incomplete (no path test for sliders, no test that the man
// moves as its kind moves, castling through attacked squares not examined):
// it guards against key collisions, the search's king test does the rest. A
// promotion always comes back as a queen.
template <int Us>
Move HashMoveToMove(Move word) {
  constexpr uint64_t ourColour = Us == WHITE ? WORD_WHITE : WORD_BLACK;
  const Position& p = position;
  const int from = move_from(word), to = move_to(word);
  const uint64_t a = p.board[from], b = p.board[to];
  if (!(a & ourColour) || (b & (ourColour | (1ull << 21)))) return 0;
  Move m = word | (((b ^ 0x20000) & KING_CAPTURE_MASK) ^ (a & 0x7e001c0));
  const int fromRank = from >> 3, toRank = to >> 3;
  if ((m & MOVE_MOVER) == 0xc0) {
    if ((from ^ to) == 16 && p.board[(from + to) / 2]) return 0;
    if constexpr (Us == WHITE) {
      if (toRank == 0 || fromRank >= toRank) return 0;
      if ((m & 0x3800e1ff) == (p.state.epSquare | 0x80c0) && (to - from == 7 || to - from == 9))
        return m | 0x410000018000000;
    } else {
      if (toRank == 7 || fromRank <= toRank) return 0;
      if ((m & 0x3800e1ff) == (p.state.epSquare | 0x60c0) && (from - to == 7 || from - to == 9))
        return m | 0x410000018000000;
    }
  }
  const bool castling = Us == WHITE ? is_white_castling(m) : is_black_castling(m);
  if (!castling) {
    if ((m & 0x1f8) == (Us == WHITE ? 0xf8u : 0xc0u)) return m | PROMOTION_QUEEN;
    return m;
  }
  const bool shortSide = m & 4;
  const uint32_t right = (Us == WHITE ? WHITE_SHORT : BLACK_SHORT) << (shortSide ? 0 : 1);
  const int passage = Us == WHITE ? (shortSide ? 5 : 3) : (shortSide ? 61 : 59);
  if (!(p.state.castling & right) || p.board[passage]) return 0;
  return m;
}
