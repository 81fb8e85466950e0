// One list maker with its parts switched on or off by the variant; sixteen
// copies are instantiated at the end.
#include "eval/capture_lists.h"

#include "board/attacks.h"
#include "board/exchange.h"
#include "board/move.h"
#include "board/move_producers.h"
#include "board/pawn_steps.h"
#include "board/position.h"

namespace {

// The centre where a lone threat is worth a quiet try when the man comes
// from outside it.
constexpr Bitboard THREAT_CENTRE = 0x667e3c3c7e6600ull;

// What a man risks when it checks from a square: the swap value that the
// exchange test is given (a capture subtracts its victim).
constexpr int64_t CHECK_STAKE_QUEEN = 0x140000, CHECK_STAKE_ROOK = 0xc0000, CHECK_STAKE_MINOR = 0x80000;
constexpr int64_t CHECK_STAKE_PAWN_CAPTURE = 0x40000, CHECK_STAKE_PAWN_STEP = 0x20000;

constexpr Move PROMOTION_MARK = Move(1) << 50;

enum Mover : int { PAWN, KNIGHT, BISHOP, ROOK, QUEEN, KING };

template <int Kind>
[[gnu::always_inline]] inline Bitboard AttacksFrom(int square, Bitboard occupancy) {
  if constexpr (Kind == KNIGHT) return KNIGHT_ATTACKS[square];
  else if constexpr (Kind == BISHOP) return BishopAttacks(square, occupancy);
  else if constexpr (Kind == ROOK) return RookAttacks(square, occupancy);
  else if constexpr (Kind == QUEEN) return QueenAttacks(square, occupancy);
  else return KING_ATTACKS[square];
}

struct KindWords {
  Move tmpl, low, mask;
  int64_t checkStake;
};

template <int Kind>
constexpr KindWords KIND_WORDS =
    Kind == KNIGHT ? KindWords{KNIGHT_TEMPLATE, KNIGHT_LOW, MINOR_CAPTURE_MASK, CHECK_STAKE_MINOR}
    : Kind == BISHOP ? KindWords{BISHOP_TEMPLATE, BISHOP_LOW, MINOR_CAPTURE_MASK, CHECK_STAKE_MINOR}
    : Kind == ROOK ? KindWords{ROOK_TEMPLATE, ROOK_LOW, ROOK_CAPTURE_MASK, CHECK_STAKE_ROOK}
    : Kind == QUEEN ? KindWords{QUEEN_TEMPLATE, QUEEN_LOW, QUEEN_CAPTURE_MASK, CHECK_STAKE_QUEEN}
                    : KindWords{KING_TEMPLATE, KING_LOW, KING_CAPTURE_MASK, 0};

// Enemy men of more value than a man of Kind (kings never count).
template <int Kind>
[[gnu::always_inline]] inline Bitboard Richer(const Bitboard* men, int them) {
  const Bitboard queens = men[QUEEN_INDEX + them];
  const Bitboard rooks = men[ROOK_INDEX + them] | queens;
  if constexpr (Kind == PAWN) return men[KNIGHT_INDEX + them] | men[BISHOP_INDEX + them] | rooks;
  else if constexpr (Kind == KNIGHT || Kind == BISHOP) return rooks;
  else if constexpr (Kind == ROOK) return queens;
  else return 0;
}

template <int Us, int Variant>
class ListMaker {
 public:
  static constexpr int Them = Us ^ 1;
  static constexpr bool kKeepsQueenScreens = Variant >= QUIESCE_MIDDLE;
  static constexpr bool kCastlingChecks = Variant >= QUIESCE_WIDE;
  static constexpr bool kAllThreats = Variant == CAPTURES_WIDE || Variant == RESTRICTED_LOW;
  static constexpr bool kDoubleThreatsOnly = Variant == RESTRICTED_MIDDLE;

  ListMaker(Move* list, Bitboard targets, NodeRecord* node, Move hashMove, int row)
      : out_(list), node_(node), hash_(hashMove), row_(row), p_(position), men_(position.pieceBits) {
    occ_ = p_.occupied;
    ours_ = p_.colourBits[Us];
    theirs_ = p_.colourBits[Them];
    ok_ = int(p_.kingSquare[Us]);
    ek_ = int(p_.kingSquare[Them]);
    targets_ = targets & theirs_;
    theirAttacks_ = Attacks<Them>(node);
    // Their men that may answer: all but those that shield their king from
    // one of our sliders, plus the king itself.
    previousCaptured_ = node[-1].currentMove & MOVE_VICTIM;
  }

  Bitboard Run() {
    node_->ownMen = ours_;
    checkLines_[0] = BishopAttacks(ek_, occ_);
    checkLines_[1] = RookAttacks(ek_, occ_);
    FindPins();
    BuildAttacks();
    BuildLineMasks();
    loose_ = theirs_ & ~theirAttacks_;
    theirFree_ = (theirs_ & discover_) | bit(ek_);

    for (Bitboard b = men_[QUEEN_INDEX + Us]; b; b &= b - 1) Piece<QUEEN>(lowest_square(b));
    Pawns();
    for (Bitboard b = men_[ROOK_INDEX + Us]; b; b &= b - 1) Piece<ROOK>(lowest_square(b));
    for (Bitboard b = men_[BISHOP_INDEX + Us]; b; b &= b - 1) Piece<BISHOP>(lowest_square(b));
    for (Bitboard b = men_[KNIGHT_INDEX + Us]; b; b &= b - 1) Piece<KNIGHT>(lowest_square(b));
    King();
    if constexpr (kAllThreats || kDoubleThreatsOnly) Threats();
    node_->pawnPushes = pushes_;
    node_->discoverMask = discover_;
    node_->pieceRayMask = pieceRay_;
    node_->queenRayMask = queenRay_;
    *out_ = 0;
    return discover_;
  }

 private:
  // ---- Pins of our men against our king --------------------------------
  void FindPins() {
    const Bitboard diagonal = men_[BISHOP_INDEX + Them] | men_[QUEEN_INDEX + Them];
    const Bitboard straight = men_[ROOK_INDEX + Them] | men_[QUEEN_INDEX + Them];
    const Bitboard pawns = men_[PAWN_INDEX + Us];
    for (Bitboard s = (BISHOP_RAYS[ok_] & diagonal) | (ROOK_RAYS[ok_] & straight); s; s &= s - 1) {
      const int slider = lowest_square(s);
      const Bitboard line = LINE_PAIR[slider * 64 + ok_].between ^ bit(ok_);
      const Bitboard inside = line & occ_;
      if (!inside || (inside & (inside - 1)) || !(inside & ours_)) continue;
      pinned_ |= inside;
      // Men that cannot move along the line at all lose their quiet moves.
      Bitboard stuck;
      if (BISHOP_RAYS[ok_] >> slider & 1) {
        // A pawn pinned on a diagonal may still take its pinner, often its
        // only legal move, and no other list would produce that capture: the
        // captures below go along the pin. A pawn about to promote keeps its
        // place when it can take the pinner: that capture's underpromotions
        // come from the quiet side.
        const Bitboard takesPinner = PawnSources<Us>(slider) & PROMOTING_RANK<Us>;
        stuck = men_[ROOK_INDEX + Us] | men_[KNIGHT_INDEX + Us] | (pawns & ~takesPinner);
      } else {
        const Bitboard kingRank = Bitboard(0xff) << (ok_ & 56);
        stuck = men_[BISHOP_INDEX + Us] | men_[KNIGHT_INDEX + Us] | (pawns & (kingRank | PROMOTING_RANK<Us>));
      }
      node_->ownMen &= ~(inside & stuck);
    }
  }

  Bitboard Reach(int from, Bitboard attacks) const {
    return (pinned_ >> from & 1) ? attacks & LINE_PAIR[ok_ * 64 + from].ray : attacks;
  }

  // ---- Our attack map, with squares reached twice ------------------------
  void Note(int square, Bitboard attacks) {
    contribution_[square] = attacks;
    doubled_ |= ourAttacks_ & attacks;
    ourAttacks_ |= attacks;
  }

  void BuildAttacks() {
    const Bitboard pawns = men_[PAWN_INDEX + Us];
    const Bitboard lower = PawnTakesLower<Us>(pawns), upper = PawnTakesUpper<Us>(pawns);
    ourAttacks_ = lower | upper;
    doubled_ = lower & upper;
    for (Bitboard b = pawns; b; b &= b - 1) {
      const int s = lowest_square(b);
      contribution_[s] = PawnTakesLower<Us>(bit(s)) | PawnTakesUpper<Us>(bit(s));
    }
    const Bitboard view = occ_ & ~men_[QUEEN_INDEX + Us];  // bishops and rooks see through our queen
    for (Bitboard b = men_[KNIGHT_INDEX + Us]; b; b &= b - 1) Note(lowest_square(b), KNIGHT_ATTACKS[lowest_square(b)]);
    for (Bitboard b = men_[BISHOP_INDEX + Us]; b; b &= b - 1) Note(lowest_square(b), BishopAttacks(lowest_square(b), view));
    for (Bitboard b = men_[ROOK_INDEX + Us]; b; b &= b - 1) Note(lowest_square(b), RookAttacks(lowest_square(b), view));
    for (Bitboard b = men_[QUEEN_INDEX + Us]; b; b &= b - 1) Note(lowest_square(b), QueenAttacks(lowest_square(b), occ_));
  }

  // Our attacks once the man on `from` has left: what it alone reached is gone.
  Bitboard AttacksWithout(int from) const {
    const Bitboard own = contribution_[from];
    return (ourAttacks_ & ~own) | (doubled_ & own);
  }

  // ---- Lines to the enemy king and behind first blockers ------------------
  template <bool Diagonal>
  void SliderLines(int s) {
    const Bitboard attacks = Diagonal ? BishopAttacks(s, occ_) : RookAttacks(s, occ_);
    const Bitboard rays = Diagonal ? BISHOP_RAYS[ek_] : ROOK_RAYS[ek_];
    if (rays >> s & 1) discover_ ^= attacks & checkLines_[Diagonal ? 0 : 1];
    const Bitboard blockers = attacks & occ_;
    const Bitboard beyond = (Diagonal ? BishopAttacks(s, occ_ ^ blockers) : RookAttacks(s, occ_ ^ blockers)) & ~attacks & theirs_;
    for (Bitboard b = beyond; b; b &= b - 1) {
      const int t = lowest_square(b);
      const Bitboard between = LINE_PAIR[s * 64 + t].between ^ bit(t);
      if (men_[QUEEN_INDEX + Them] >> t & 1) queenRay_ &= ~between;
      behind_[behindCount_++] = {t, between};
    }
  }
  void BuildLineMasks() {
    const Bitboard queens = men_[QUEEN_INDEX + Us];
    for (Bitboard b = men_[BISHOP_INDEX + Us] | queens; b; b &= b - 1) SliderLines<true>(lowest_square(b));
    for (Bitboard b = men_[ROOK_INDEX + Us] | queens; b; b &= b - 1) SliderLines<false>(lowest_square(b));
    if constexpr (kKeepsQueenScreens) targets_ |= theirs_ & ~queenRay_ & ~men_[KING_INDEX + Them];
    for (int i = 0; i < behindCount_; ++i)
      if (targets_ >> behind_[i].target & 1) pieceRay_ &= ~behind_[i].between;
  }

  // ---- Emitting -----------------------------------------------------------
  bool IsHash(Move word) const { return !((word ^ hash_) & (MOVE_IDENTITY | (Move(1) << 48))); }

  void Emit(Move word) {
    if (!IsHash(word)) *out_++ = word;
  }

  // Classifies a check by a man of Us landing on `to` from `from`, with
  // `stake` at risk there and `attacksThere` its attacks from `to` on the
  // board after the move. 0 when the check is not safe; otherwise the
  // priority and exempt bits of the check.
  Move Classify(int from, int to, int64_t stake, Bitboard attacksThere, Bitboard newOcc) {
    const Bitboard afterOcc = occ_ & ~bit(from);  // the exchange test sees the board with the mover lifted
    // Also where only their king can take the checker: the test then asks
    // whether any man of ours covers the square, pinned ones included, as a
    // king may not step into the reach of a pinned man either.
    if (!ExchangeTest<Us>(to, afterOcc, theirFree_, stake)) return 0;
    const Bitboard guarded = AttacksWithout(from) | attacksThere;
    const Bitboard movers = theirs_ & discover_ & ~bit(ek_);
    const uint64_t answer = BlockScan<Us>(to, ek_, guarded, movers, theirs_ & ourAttacks_, newOcc,
                                          theirs_ & ourAttacks_ & loose_, ~theirAttacks_, theirAttacks_, guarded);
    if (answer == 0) {
      // A flight square is one next to their king that is free of their men,
      // not covered by us after the move, and off the checking line through
      // the king. A man of theirs that can take the checker at all, even at a
      // loss, or step into the line is an escape as well: the mark below
      // stands for a king capture, so it must never be given to a check that
      // can be answered.
      const Bitboard through = attacksThrough_;
      const Bitboard flights = KING_ATTACKS[ek_] & ~theirs_ & ~guarded & ~through;
      const Bitboard takers = Attackers(to, newOcc) & theirs_ & ~bit(ek_);
      if (!flights && !takers && !CanInterpose(to, newOcc)) return CHECK_NO_ESCAPE;
      return CHECK_UNBLOCKABLE;
    }
    if (answer < 4) return CHECK_POORLY_BLOCKED;
    if (answer < 128) return CHECK_BLOCKABLE;
    return CHECK_ANSWERED;
  }

  // Can a man of theirs other than the king step onto a square between the
  // checker on `to` and their king? Pins are not looked at.
  bool CanInterpose(int to, Bitboard occupancy) const {
    const Bitboard line = LINE_PAIR[ek_ * 64 + to].between & ~bit(to);
    if (!line) return false;
    const Bitboard pawns = men_[PAWN_INDEX + Them];
    const Bitboard single = PawnStep<Them>(pawns) & ~occupancy;
    const Bitboard pushes = single | (PawnStep<Them>(single & DOUBLE_STEP_MIDDLE<Them>) & ~occupancy);
    if (pushes & line) return true;
    for (Bitboard b = line; b; b &= b - 1)
      if (Attackers(lowest_square(b), occupancy) & theirs_ & ~pawns & ~bit(ek_)) return true;
    return false;
  }

  // Every man of either colour that attacks `square` on `occupancy`.
  Bitboard Attackers(int square, Bitboard occupancy) const {
    const Bitboard diagonal = men_[BISHOP_INDEX] | men_[BISHOP_INDEX + 1] | men_[QUEEN_INDEX] | men_[QUEEN_INDEX + 1];
    const Bitboard straight = men_[ROOK_INDEX] | men_[ROOK_INDEX + 1] | men_[QUEEN_INDEX] | men_[QUEEN_INDEX + 1];
    return ((BishopAttacks(square, occupancy) & diagonal) | (RookAttacks(square, occupancy) & straight) |
            (KNIGHT_ATTACKS[square] & (men_[KNIGHT_INDEX] | men_[KNIGHT_INDEX + 1])) |
            (WHITE_PAWN_SOURCES[square] & men_[PAWN_INDEX]) | (BLACK_PAWN_SOURCES[square] & men_[PAWN_INDEX + 1])) &
           occupancy;
  }

  // The check bits of a move of a man of Kind (or a pawn, Kind PAWN) from
  // `from` to `to`: 0 when the check is unsafe.
  template <int Kind>
  Move CheckBits(int from, int to, int64_t stake, bool quietMove) {
    const Bitboard newOcc = (occ_ & ~bit(from)) | bit(to);
    Bitboard there;
    if constexpr (Kind == PAWN) {
      there = PawnTakesLower<Us>(bit(to)) | PawnTakesUpper<Us>(bit(to));
      attacksThrough_ = 0;
    } else {
      there = AttacksFrom<Kind>(to, newOcc);
      attacksThrough_ = (Kind == KNIGHT) ? 0 : AttacksFrom<Kind>(to, newOcc & ~bit(ek_));
    }
    Move bits = Classify(from, to, stake, there, newOcc);
    if (bits && quietMove && previousCaptured_ && (there & men_[QUEEN_INDEX + Them] & loose_)) bits |= CHECK_CAPTURES;
    return bits;
  }

  // ---- Pieces -------------------------------------------------------------
  template <int Kind>
  void Piece(int from) {
    constexpr KindWords w = KIND_WORDS<Kind>;
    const Bitboard reach = Reach(from, AttacksFrom<Kind>(from, occ_));
    Bitboard checkSquares;
    if constexpr (Kind == KNIGHT) checkSquares = KNIGHT_ATTACKS[ek_];
    else if constexpr (Kind == BISHOP) checkSquares = checkLines_[0];
    else if constexpr (Kind == ROOK) checkSquares = checkLines_[1];
    else checkSquares = checkLines_[0] | checkLines_[1];
    const Move origin = Move(from) << 10;

    for (Bitboard b = reach & theirs_ & (targets_ | checkSquares); b; b &= b - 1) {
      const int to = lowest_square(b);
      Move word = (origin | Move(to)) ^ w.tmpl ^ (p_.board[to] & w.mask);
      if (checkSquares >> to & 1) word = CheckingCapture<Kind>(from, to, word, w.checkStake);
      if (word) Emit(word);
    }
    Bitboard quiet = reach & ~occ_;
    for (Bitboard b = quiet & checkSquares; b; b &= b - 1) {
      const int to = lowest_square(b);
      const Move word = (origin | Move(to)) ^ w.low;
      const Move bits = CheckBits<Kind>(from, to, w.checkStake, true);
      if (!bits) continue;  // an unsafe quiet check is left to the quiet list
      Emit(word | MOVE_CHECK | bits | Move(HistoryEntry(row_, word | MOVE_CHECK)) << ORDER_SHIFT);
      quiet &= ~bit(to);
    }
    node_->moveTargets[from] = WithoutHash(from, quiet);
  }

  // A capture that gives check: safe, it takes the check bits and bit 60, even
  // of a man the caller left out of the targets; not safe, it stays a plain
  // capture that the picker tests, or is dropped (0) when its man is no target.
  template <int Kind>
  Move CheckingCapture(int from, int to, Move word, int64_t stake) {
    const int64_t victim = int64_t((p_.board[to] >> 10) & 31) * 0x20000;
    const Move bits = CheckBits<Kind>(from, to, stake - victim, false);
    word |= MOVE_CHECK | CHECK_CAPTURES;
    if (bits) return word | bits;
    return (targets_ >> to & 1) ? word & ~MOVE_EXEMPT : 0;
  }

  Bitboard WithoutHash(int from, Bitboard quiet) const {
    if (move_from(hash_) == from && !(hash_ & MOVE_VICTIM)) quiet &= ~bit(move_to(hash_));
    return quiet;
  }

  // ---- Pawns --------------------------------------------------------------
  void PawnCapture(int from, int to, Move word, bool checks) {
    if (LAST_RANK<Us> >> to & 1) {
      if (targets_ >> to & 1) Promote(to, word);
      return;
    }
    if (checks) word = CheckingCapture<PAWN>(from, to, word, CHECK_STAKE_PAWN_CAPTURE);
    if (word) Emit(word);
  }

  // A promotion: the knight first where the knight checks, then the queen
  // (the other forms come with the underpromotions).
  void Promote(int to, Move base) {
    const Move cleared = base & ~PROMOTION_CLEAR;
    if (KNIGHT_ATTACKS[to] >> ek_ & 1) Emit(cleared | PROMOTION_KNIGHT | MOVE_CHECK | PROMOTION_MARK | MOVE_EXEMPT);
    Emit(cleared | PROMOTION_QUEEN);
  }

  void Pawns() {
    const Bitboard pawns = men_[PAWN_INDEX + Us];
    const Bitboard checkSquares = PawnSources<Us>(ek_);  // where our pawn attacks their king from
    const Bitboard freePawns = pawns & ~pinned_;

    // Captures, toward the lower file then the upper; pinned pawns one by one.
    const auto captures = [&](Bitboard lands, auto fromOf) {
      for (Bitboard b = lands & theirs_ & (targets_ | checkSquares); b; b &= b - 1) {
        const int to = lowest_square(b);
        const int from = fromOf(to);
        PawnCapture(from, to, (Move(from) << 10 | Move(to)) ^ PAWN_CAPTURE_TEMPLATE ^ (p_.board[to] & PAWN_CAPTURE_MASK),
                    checkSquares >> to & 1);
      }
    };
    captures(PawnTakesLower<Us>(freePawns), [](int to) { return lowest_square(PawnFromLower<Us>(bit(to))); });
    captures(PawnTakesUpper<Us>(freePawns), [](int to) { return lowest_square(PawnFromUpper<Us>(bit(to))); });
    for (Bitboard b = pawns & pinned_; b; b &= b - 1) {
      const int from = lowest_square(b);
      const Bitboard lands = Reach(from, PawnTakesLower<Us>(bit(from)) | PawnTakesUpper<Us>(bit(from)));
      captures(lands, [from](int) { return from; });
    }

    // En passant; a pin along the rank is left to the king test after make.
    const int ep = int(p_.state.epSquare);
    if (ep && (targets_ >> (Us == WHITE ? ep - 8 : ep + 8) & 1)) {
      for (Bitboard b = PawnSources<Us>(ep) & pawns; b; b &= b - 1) {
        const int from = lowest_square(b);
        if (Reach(from, bit(ep))) Emit((Move(from) << 10 | Move(ep)) ^ EN_PASSANT_TEMPLATE);
      }
    }

    // Steps: promotions here; checking steps here when safe; the rest stay
    // for the quiet list.
    Bitboard steppers = freePawns & node_->ownMen;
    for (Bitboard b = pawns & pinned_ & node_->ownMen; b; b &= b - 1) {
      const int from = lowest_square(b);
      if (Reach(from, PawnStep<Us>(bit(from)))) steppers |= bit(from);
    }
    const Bitboard single = PawnStep<Us>(steppers) & ~occ_;
    const Bitboard twice = PawnStep<Us>(single & DOUBLE_STEP_MIDDLE<Us>) & ~occ_;
    for (Bitboard b = single & LAST_RANK<Us>; b; b &= b - 1) {
      const int to = lowest_square(b);
      const int from = Us == WHITE ? to - 8 : to + 8;
      Promote(to, (Move(from) << 10 | Move(to)) ^ PAWN_PUSH_TEMPLATE);
    }
    pushes_ = (single & ~LAST_RANK<Us>) | twice;
    for (Bitboard b = pushes_ & checkSquares; b; b &= b - 1) {
      const int to = lowest_square(b);
      const int from = (single >> to & 1) ? (Us == WHITE ? to - 8 : to + 8) : (Us == WHITE ? to - 16 : to + 16);
      const Move word = (Move(from) << 10 | Move(to)) ^ PAWN_LOW;
      const Move bits = CheckBits<PAWN>(from, to, CHECK_STAKE_PAWN_STEP, true);
      if (!bits) continue;
      Emit(word | MOVE_CHECK | bits | Move(HistoryEntry(row_, word | MOVE_CHECK)) << ORDER_SHIFT);
      pushes_ &= ~bit(to);
    }
    if ((hash_ & MOVE_MOVER) == 0xc0 && !(hash_ & MOVE_VICTIM) && (steppers >> move_from(hash_) & 1))
      pushes_ &= ~bit(move_to(hash_));
  }

  // ---- King ---------------------------------------------------------------
  void King() {
    const Bitboard reach = KING_ATTACKS[ok_] & ~ours_ & ~theirAttacks_;
    const Move origin = Move(ok_) << 10;
    for (Bitboard b = reach & targets_; b; b &= b - 1) {
      const int to = lowest_square(b);
      Emit((origin | Move(to)) ^ KING_TEMPLATE ^ (p_.board[to] & KING_CAPTURE_MASK));
    }
    Bitboard quiet = reach & ~occ_;
    Castle<true>(quiet);
    Castle<false>(quiet);
    node_->moveTargets[ok_] = WithoutHash(ok_, quiet);
  }

  // Castling goes into the king's targets as a king move of two files when
  // the right is held, the squares between king and rook are empty and the
  // king neither passes nor lands on an attacked square (it is not in check
  // when this list is made).
  template <bool Short>
  void Castle(Bitboard& quiet) {
    constexpr int home = Us == WHITE ? 4 : 60;
    constexpr uint32_t right = Us == WHITE ? (Short ? WHITE_SHORT : WHITE_LONG) : (Short ? BLACK_SHORT : BLACK_LONG);
    constexpr int to = Short ? home + 2 : home - 2;
    constexpr int rookTo = Short ? home + 1 : home - 1;
    constexpr Bitboard empty = Short ? bit(home + 1) | bit(home + 2) : bit(home - 1) | bit(home - 2) | bit(home - 3);
    constexpr Bitboard safe = bit(rookTo) | bit(to);
    if (ok_ != home || !(p_.state.castling & right) || (occ_ & empty) || (theirAttacks_ & safe)) return;
    if constexpr (kCastlingChecks) {
      const Bitboard after = (occ_ & ~bit(home) & ~bit(Short ? home + 3 : home - 4)) | bit(to) | bit(rookTo);
      if (RookAttacks(rookTo, after) >> ek_ & 1) {
        const Move word = (Move(home) << 10 | Move(to)) ^ KING_LOW;
        if (!IsHash(word)) {
          Emit(word | MOVE_CHECK | CHECK_ANSWERED | Move(HistoryEntry(row_, word | MOVE_CHECK)) << ORDER_SHIFT);
          return;
        }
      }
    }
    quiet |= bit(to);
  }

  // ---- Quiet threats ------------------------------------------------------
  // A quiet move makes a threat when from its new square the man attacks
  // enemy men it did not attack before that are loose or worth more than it.
  // One such man is enough only if it is loose and out of its king's reach,
  // or stands in the centre while the mover comes from outside; two or more
  // always are. The man must be safe on the square by the exchange test.
  template <int Kind>
  bool Threat(int from, int to, Move low, int64_t stake) {
    const Bitboard newOcc = (occ_ & ~bit(from)) | bit(to);
    Bitboard before, after;
    if constexpr (Kind == PAWN) {
      before = PawnTakesLower<Us>(bit(from)) | PawnTakesUpper<Us>(bit(from));
      after = PawnTakesLower<Us>(bit(to)) | PawnTakesUpper<Us>(bit(to));
    } else {
      before = AttacksFrom<Kind>(from, occ_);
      after = AttacksFrom<Kind>(to, newOcc);
    }
    const Bitboard hit = after & ~before & theirs_ & ~bit(ek_) & (loose_ | Richer<Kind>(men_, Them));
    if (!hit) return false;
    const bool several = hit & (hit - 1);
    if constexpr (kDoubleThreatsOnly) {
      if (!several) return false;
    }
    if (!several && !(hit & loose_ & ~KING_ATTACKS[ek_]) && !((hit & THREAT_CENTRE) && !(THREAT_CENTRE >> from & 1)))
      return false;
    if constexpr (Kind != KING) {
      if (!ExchangeTest<Us>(to, occ_ & ~bit(from), theirFree_, stake)) return false;
    }
    const Move word = (Move(from) << 10 | Move(to)) ^ low;
    if (IsHash(word)) return false;
    const uint32_t order = (several ? DOUBLE_THREAT_ORDER : THREAT_ORDER) + (HistoryEntry(row_, word) >> 2);
    *out_++ = word | THREAT_MARK | (several ? DOUBLE_THREAT_MARK : 0) | Move(order) << ORDER_SHIFT;
    return true;
  }

  template <int Kind>
  void PieceThreats(Bitboard men) {
    constexpr KindWords w = KIND_WORDS<Kind>;
    for (; men; men &= men - 1) {
      const int from = lowest_square(men);
      Bitboard& targets = node_->moveTargets[from];
      for (Bitboard b = targets & (Kind == KING ? KING_ATTACKS[from] : ~Bitboard(0)); b; b &= b - 1) {
        const int to = lowest_square(b);
        if (Threat<Kind>(from, to, w.low, int64_t(w.low & MOVE_STAKE))) targets &= ~bit(to);
      }
    }
  }

  void Threats() {
    const Bitboard own = node_->ownMen;
    if constexpr (kAllThreats) {
      PieceThreats<QUEEN>(men_[QUEEN_INDEX + Us] & own);
      PieceThreats<KNIGHT>(men_[KNIGHT_INDEX + Us] & own);
      PieceThreats<KING>(bit(ok_));
    }
    PieceThreats<ROOK>(men_[ROOK_INDEX + Us] & own);
    PieceThreats<BISHOP>(men_[BISHOP_INDEX + Us] & own);
    for (Bitboard b = pushes_; b; b &= b - 1) {
      const int to = lowest_square(b);
      const int from = producer_detail::PushOrigin<Us>(to);
      if (Threat<PAWN>(from, to, PAWN_LOW, 0x20000)) pushes_ &= ~bit(to);
    }
  }

  struct Behind {
    int target;
    Bitboard between;
  };

  Move* out_;
  NodeRecord* node_;
  Move hash_;
  int row_;
  const Position& p_;
  const Bitboard* men_;
  Bitboard occ_ = 0, ours_ = 0, theirs_ = 0, targets_ = 0;
  int ok_ = 0, ek_ = 0;
  Bitboard theirAttacks_ = 0, theirFree_ = 0, loose_ = 0;
  Bitboard pinned_ = 0;
  Bitboard ourAttacks_ = 0, doubled_ = 0;
  Bitboard contribution_[64];
  Bitboard discover_ = ~Bitboard(0), pieceRay_ = ~Bitboard(0), queenRay_ = ~Bitboard(0);
  Behind behind_[128];  // at most four lines beyond each slider
  int behindCount_ = 0;
  Bitboard checkLines_[2] = {0, 0};
  Bitboard attacksThrough_ = 0;
  Bitboard pushes_ = 0;
  Move previousCaptured_ = 0;
};

}  // namespace

template <int Us, int Variant>
Bitboard CaptureList(Move* list, Bitboard targets, NodeRecord* node, Move hashMove, int historyRow) {
  ListMaker<Us, Variant> maker(list, targets, node, hashMove, historyRow);
  return maker.Run();
}

#define QUORL_CAPTURE_LIST(variant)                                                         \
  template Bitboard CaptureList<WHITE, variant>(Move*, Bitboard, NodeRecord*, Move, int); \
  template Bitboard CaptureList<BLACK, variant>(Move*, Bitboard, NodeRecord*, Move, int);
QUORL_CAPTURE_LIST(QUIESCE_NARROW)
QUORL_CAPTURE_LIST(QUIESCE_MIDDLE)
QUORL_CAPTURE_LIST(QUIESCE_WIDE)
QUORL_CAPTURE_LIST(CAPTURES_NARROW)
QUORL_CAPTURE_LIST(CAPTURES_WIDE)
QUORL_CAPTURE_LIST(RESTRICTED_HIGH)
QUORL_CAPTURE_LIST(RESTRICTED_MIDDLE)
QUORL_CAPTURE_LIST(RESTRICTED_LOW)
#undef QUORL_CAPTURE_LIST
