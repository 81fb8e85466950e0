#include "eval/evaluate.h"

#include "board/position.h"
#include "eval/attack_maps.h"
#include "eval/eval_masks.h"
#include "eval/eval_settings.h"
#include "eval/key_squares.h"
#include "eval/king_tables.h"
#include "eval/material.h"
#include "eval/pawn_cache.h"
#include "eval/pawn_terms.h"

namespace {

constexpr int32_t PHASE_SHIFT = 25;
constexpr uint64_t PHASE_MASK = 0x1ff;
constexpr int32_t FULL_PHASE = 256;
constexpr uint32_t HALF_BIAS = 0x8000;

constexpr int32_t KING_COUNTER_START = 32;
constexpr Bitboard RANKS_1_TO_5 = 0x000000ffffffffffull, RANKS_4_TO_8 = 0xffffffffff000000ull;

// Pair times a count: one 32-bit multiplication on the whole word.
[[gnu::always_inline]] inline PackedScore Times(int32_t n, PackedScore pair) { return uint32_t(n) * pair; }

// What the piece terms of both colours share, by colour.
struct Frame {
  const Position& p;
  Bitboard kingZone[2];
  Bitboard pawnAtt[2];
  Bitboard target[2];      // a man's mobility squares
  Bitboard safe[2];        // target squares the enemy does not attack at all
  Bitboard fixed[2];       // the pawns a rook's second mobility treats as walls
  Bitboard attackSpan[2];  // from the pawn record
  Bitboard holdSquares[2];
  int32_t attackOn[2];     // the counter against the king of that colour
};

// Colour views; every term is told for Us and scored from Us's side.
template <int Us>
struct Side {
  static constexpr int32_t Them = 1 - Us;
  static constexpr int32_t Up = Us == WHITE ? 8 : -8;
  static constexpr Bitboard LAST_TWO_RANKS = Us == WHITE ? 0xffff000000000000ull : 0xffffull;
  static constexpr Bitboard PASSER_RANKS = Us == WHITE ? 0x00ffffffff000000ull : 0x000000ffffffff00ull;
  static int32_t RelRank(int32_t sq) { return Us == WHITE ? square_rank(sq) : 7 - square_rank(sq); }
  static Bitboard FileAhead(int32_t sq) { return Us == WHITE ? FILE_AHEAD_WHITE[sq] : FILE_AHEAD_BLACK[sq]; }
  static Bitboard Men(const Position& p, int32_t index) { return p.pieceBits[index + Us]; }
  static Bitboard EnemyMen(const Position& p, int32_t index) { return p.pieceBits[index + Them]; }
};

template <int Us>
PackedScore BishopTerms(Frame& f, int32_t sq, Bitboard attacks) {
  using S = Side<Us>;
  if (attacks & f.kingZone[S::Them]) f.attackOn[S::Them] += 17;
  PackedScore s = 0;
  // An outpost: no enemy pawn can ever drive it away.
  if (!(f.attackSpan[S::Them] & bit(sq))) s += PackPair(45, 30);
  const Bitboard mobility = attacks & f.target[Us];
  s += Times(popcount(mobility), PackPair(27, 27));
  s += BISHOP_KEY_TABLE[Us][sq][KeyPattern(mobility, BISHOP_KEY_MULTIPLIER[Us][sq])];
  return s;
}

template <int Us>
PackedScore RookTerms(Frame& f, int32_t sq, Bitboard attacks) {
  using S = Side<Us>;
  constexpr int32_t Them = S::Them;
  const Position& p = f.p;
  if (attacks & f.kingZone[Them]) f.attackOn[Them] += 19;
  if (attacks & f.kingZone[Us]) f.attackOn[Us] -= 3;
  const Bitboard enemyQueens = S::EnemyMen(p, QUEEN_INDEX);
  const Bitboard ownPawns = S::Men(p, PAWN_INDEX), enemyPawns = S::EnemyMen(p, PAWN_INDEX);
  PackedScore s = 0;
  if ((attacks & S::Men(p, ROOK_INDEX)) && enemyQueens) s += PackPair(24, 42);
  s += Times(popcount(attacks & (f.target[Us] | enemyQueens)), PackPair(17, 23));
  s += Times(popcount(RookAttacks(sq, f.fixed[Us])), PackPair(8, 9));

  const Bitboard ahead = S::FileAhead(sq);
  if (ownPawns & ~f.pawnAtt[Them] & ahead) return s;  // an own secure pawn closes the file
  const Bitboard minors = S::EnemyMen(p, KNIGHT_INDEX) | S::EnemyMen(p, BISHOP_INDEX);
  // Only the minors and pawns on the rook's file can block it from a hold square.
  if (!((minors | enemyPawns) & ahead & f.holdSquares[Them])) {
    if (enemyPawns & ahead) {
      s += (enemyPawns & ahead & f.attackSpan[Them]) ? PackPair(10, 70) : PackPair(47, 131);
    } else if (const Bitboard guarded = minors & ahead & f.pawnAtt[Them]) {
      s += (guarded & f.attackSpan[Us]) ? PackPair(163, 119) : PackPair(113, 82);
    } else {
      s += PackPair(183, 136);
    }
  }
  const int32_t enemyKing = int32_t(p.kingSquare[Them]);
  if (ahead & bit(enemyKing)) s += PackPair(150, 0);
  if (S::RelRank(sq) == 6 && ((enemyPawns | bit(enemyKing)) & S::LAST_TWO_RANKS)) s += PackPair(77, 247);
  return s;
}

// Reads the enemy accumulator from before either colour's queens.
template <int Us>
PackedScore QueenTerms(Frame& f, const Bitboard (&attacksSoFar)[2], int32_t sq, Bitboard attacks) {
  using S = Side<Us>;
  constexpr int32_t Them = S::Them;
  const Position& p = f.p;
  if (attacks & f.kingZone[Them]) f.attackOn[Them] += 17;
  const Bitboard enemyPawns = S::EnemyMen(p, PAWN_INDEX);
  // The enemy's men other than pawns, the king among them, count wherever they stand.
  const Bitboard squares =
      attacks & ((p.colourBits[Them] & ~enemyPawns) | ~attacksSoFar[Them]) & ~(p.colourBits[Us] | f.pawnAtt[Them]);
  PackedScore s = Times(popcount(squares), PackPair(27, 29));
  if (S::RelRank(sq) == 6 && ((enemyPawns | bit(p.kingSquare[Them])) & S::LAST_TWO_RANKS)) s += PackPair(0, 300);
  return s;
}

template <int Us>
PackedScore KnightTerms(Frame& f) {
  using S = Side<Us>;
  constexpr int32_t Them = S::Them;
  const Position& p = f.p;
  const int32_t ownKing = int32_t(p.kingSquare[Us]), enemyKing = int32_t(p.kingSquare[Them]);
  PackedScore s = 0;
  for (Bitboard b = S::Men(p, KNIGHT_INDEX); b; b &= b - 1) {
    const int32_t sq = lowest_square(b);
    f.attackOn[Them] += KNIGHT_KING_ATTACK[enemyKing][sq];
    f.attackOn[Us] -= KNIGHT_KING_COVER[ownKing][sq];
    if (!(f.attackSpan[Them] & bit(sq))) s += PackPair(69, 46);
    const Bitboard attacks = KNIGHT_ATTACKS[sq];
    const uint64_t multiplier = KNIGHT_KEY_MULTIPLIER[Us][sq];
    s += KNIGHT_KEY_TABLE[Us][KNIGHT_TARGET_TABLE][sq][KeyPattern(attacks & f.target[Us], multiplier)];
    s += KNIGHT_KEY_TABLE[Us][KNIGHT_SAFE_TABLE][sq][KeyPattern(attacks & f.safe[Us], multiplier)];
  }
  return s;
}

// The second threat score of one colour. `cheap[c]` holds the enemy men that
// colour c attacks with something cheaper, `loose[c]` the men of colour c
// that are attacked and undefended, `all[c]` the complete map of colour c.
template <int Us>
PackedScore SecondThreats(const Frame& f, const Bitboard (&all)[2], const Bitboard (&cheap)[2],
                          const Bitboard (&loose)[2]) {
  using S = Side<Us>;
  constexpr int32_t Them = S::Them;
  const Position& p = f.p;
  const Bitboard ownPawns = S::Men(p, PAWN_INDEX);
  const Bitboard ownMen = p.colourBits[Us], enemyMen = p.colourBits[Them];
  const Bitboard pushes = (Us == WHITE ? ownPawns << 8 : ownPawns >> 8) & ~p.occupied;
  const Bitboard guardedPieces =
      (S::Men(p, KNIGHT_INDEX) | S::Men(p, BISHOP_INDEX) | S::Men(p, ROOK_INDEX)) & f.pawnAtt[Us];
  return Times(popcount(pushes), PackPair(32, 144)) +
         Times(popcount(ownMen & ~cheap[Them] & all[Us]), PackPair(12, 12)) +
         Times(popcount(guardedPieces & ~cheap[Them]), PackPair(22, 22)) +
         Times(popcount(enemyMen & all[Us] & ~f.pawnAtt[Them]), PackPair(30, 60)) +
         Times(popcount(loose[Them] & ~cheap[Us]), PackPair(120, 180));
}

// Passed pawns on ranks 4 to 7 by what stands and what attacks in front of them.
template <int Us>
PackedScore PasserTerms(const Position& p, Bitboard passed, const Bitboard (&all)[2]) {
  using S = Side<Us>;
  constexpr int32_t Them = S::Them;
  PackedScore s = 0;
  for (Bitboard b = passed & S::Men(p, PAWN_INDEX) & S::PASSER_RANKS; b; b &= b - 1) {
    const int32_t sq = lowest_square(b);
    const Bitboard ahead = S::FileAhead(sq);
    const PasserRow& row = PASSER_ROW[S::RelRank(sq)];
    if (!(p.colourBits[Us] & ahead)) s += row.clearOfOwn;
    if (!(p.colourBits[Them] & ahead)) s += row.clearOfEnemy;
    if (!(p.occupied & bit(sq + S::Up))) s += row.nextEmpty;
    if (!(ahead & all[Them] & ~all[Us])) s += row.pathSafe;
  }
  return s;
}

// The rook beside its own king on the wing, walled in by an own pawn on its file.
template <int Us>
bool RookShutIn(const Position& p) {
  using S = Side<Us>;
  const Bitboard trapped = WING_TRAP[p.kingSquare[Us]] & S::Men(p, ROOK_INDEX);
  if (!trapped) return false;
  return S::Men(p, PAWN_INDEX) & S::FileAhead(lowest_square(trapped)) & (Us == WHITE ? RANKS_1_TO_5 : RANKS_4_TO_8);
}

// The best passed pawn of a pure pawn ending that no king stops: by how far
// it has come, one step less when the other side moves first.
template <int Us>
int32_t BestRunner(const Position& p, Bitboard passed, int32_t sideIndex) {
  using S = Side<Us>;
  const Bitboard ownKing = bit(p.kingSquare[Us]), enemyKing = bit(p.kingSquare[S::Them]);
  int32_t best = 0;
  for (Bitboard b = passed & S::Men(p, PAWN_INDEX); b; b &= b - 1) {
    const int32_t sq = lowest_square(b);
    if (!(ESCORT[Us][sq] & ownKing)) {
      if (p.colourBits[Us] & S::FileAhead(sq)) continue;
      if (PAWN_SQUARE_REACH[Us][sideIndex][sq] & enemyKing) continue;
    }
    const int32_t value = Us == WHITE ? square_rank(sq) - sideIndex : 6 + sideIndex - square_rank(sq);
    if (value > best) best = value;
  }
  return best;
}

// The curve is flat at 0 below 43, so a counter that cover pushes below 0
// reads the same as 0; a counter past the table's end cannot arise in a
// legal position and is held at its last entry.
[[gnu::always_inline]] inline PackedScore Curve(int32_t counter) {
  return KING_ATTACK_CURVE[counter < 0 ? 0 : counter > 511 ? 511 : counter];
}

}  // namespace

PackedScore EvaluationSum(NodeRecord* node, const PawnRecord*& pawnRecord) {
  const Position& p = position;
  AttackBook book;

  // 1. Pawn attacks, king neighbourhoods, pieces under enemy pawns. The pawn
  //    row is fetched now and probed only after the pawn attacks, to hide
  //    its latency.
  __builtin_prefetch(PawnCacheRow(p.state.pawnKey));
  book.StartWithPawns(p);
  const Bitboard whitePawns = p.pieceBits[PAWN_INDEX + WHITE], blackPawns = p.pieceBits[PAWN_INDEX + BLACK];
  Frame f{p, {book.kingZoneW, book.kingZoneB}, {book.pawnAttW, book.pawnAttB}, {}, {}, {}, {}, {},
          {KING_COUNTER_START, KING_COUNTER_START}};
  f.target[WHITE] = ~(p.colourBits[WHITE] | book.pawnAttB) | p.pieceBits[KNIGHT_INDEX + BLACK] |
                    p.pieceBits[BISHOP_INDEX + BLACK];
  f.target[BLACK] = ~(p.colourBits[BLACK] | book.pawnAttW) | p.pieceBits[KNIGHT_INDEX + WHITE] |
                    p.pieceBits[BISHOP_INDEX + WHITE];

  // 2. Knight attacks complete the accumulators before any slider is looked at.
  book.AddKnights(p);

  // 3. Tempo, pawn structure and the piece-square sum.
  const PawnRecord* pawns = ProbePawnCache();
  pawnRecord = pawns;
  f.attackSpan[WHITE] = pawns->whiteAttackSpan;
  f.attackSpan[BLACK] = pawns->blackAttackSpan;
  f.holdSquares[WHITE] = pawns->whiteHoldSquares;
  f.holdSquares[BLACK] = pawns->blackHoldSquares;
  PackedScore sum = uint32_t(node->sideSign) * TEMPO + pawns->pawnScore + uint32_t(p.state.pstSum);

  // 4. Bishops: attack on the king, outposts, mobility.
  book.AddBishops(
      p, [&](int32_t sq, Bitboard attacks) { sum += BishopTerms<WHITE>(f, sq, attacks); },
      [&](int32_t sq, Bitboard attacks) { sum -= BishopTerms<BLACK>(f, sq, attacks); });

  // 5. Rooks and queens that pawns and minors reach are attacked by something cheaper.
  book.NoteMajorsUnderMinors(p);

  // 6. Rooks: attacks on the king, pairs, mobility, files, seventh rank. The
  //    second mobility sees only the pawns that cannot move or be taken.
  f.fixed[WHITE] = (whitePawns & ~book.pawnAttB) | (blackPawns & book.pawnAttB & ~book.pawnAttW);
  f.fixed[BLACK] = (blackPawns & ~book.pawnAttW) | (whitePawns & book.pawnAttW & ~book.pawnAttB);
  book.AddRooks(
      p, [&](int32_t sq, Bitboard attacks) { sum += RookTerms<WHITE>(f, sq, attacks); },
      [&](int32_t sq, Bitboard attacks) { sum -= RookTerms<BLACK>(f, sq, attacks); });

  // 7. Queens under rooks, then the first threat score: a second man attacked
  //    by something cheaper is a fork and costs more than the first.
  book.NoteQueensUnderRooks(p);
  {
    const int32_t cW = popcount(book.cheapAttW), cB = popcount(book.cheapAttB);
    sum += Times(cW - cB, PackPair(180, 270));
    sum += Times((cW > 1 ? cW - 1 : 0) - (cB > 1 ? cB - 1 : 0), PackPair(440, 660));
  }

  // 8. Queens: attacks on the king, mobility, seventh rank.
  const Bitboard beforeQueens[2] = {book.attW, book.attB};
  book.AddQueens(
      p, [&](int32_t sq, Bitboard attacks) { sum += QueenTerms<WHITE>(f, beforeQueens, sq, attacks); },
      [&](int32_t sq, Bitboard attacks) { sum -= QueenTerms<BLACK>(f, beforeQueens, sq, attacks); });

  // 9. The complete maps and the safe target sets.
  book.CompleteMaps();
  f.safe[WHITE] = f.target[WHITE] & ~book.allB;
  f.safe[BLACK] = f.target[BLACK] & ~book.allW;

  // 10. Knights: attack on the king, cover of the own king, outposts, mobility.
  sum += KnightTerms<WHITE>(f);
  sum -= KnightTerms<BLACK>(f);

  // 11. Maps and threatened sets into the record; the second threat score
  //     with the pawn pushes.
  book.Store(p, node);
  const Bitboard all[2] = {book.allW, book.allB};
  {
    const Bitboard cheap[2] = {book.cheapAttW, book.cheapAttB};
    const Bitboard loose[2] = {book.looseW, book.looseB};
    sum += SecondThreats<WHITE>(f, all, cheap, loose);
    sum -= SecondThreats<BLACK>(f, all, cheap, loose);
  }

  // 12. King safety, with a queen of either colour on the board.
  if (p.pieceBits[QUEEN_INDEX + WHITE] | p.pieceBits[QUEEN_INDEX + BLACK])
    sum += Curve(f.attackOn[BLACK]) - Curve(f.attackOn[WHITE]) - pawns->whiteShelter + pawns->blackShelter;

  // 13. Passed pawns and what stands in front of them.
  sum += PasserTerms<WHITE>(p, pawns->passedPawns, all);
  sum -= PasserTerms<BLACK>(p, pawns->passedPawns, all);

  // 14. Shut-in rooks.
  if (RookShutIn<WHITE>(p)) sum -= PackPair(339, 0);
  if (RookShutIn<BLACK>(p)) sum += PackPair(339, 0);

  // 15. Pawn endings: the race of unstoppable passed pawns and the pawn count.
  if (!(p.state.materialSignature & PIECE_FIELDS_MASK)) {
    const int32_t race =
        BestRunner<WHITE>(p, pawns->passedPawns, node->sideIndex) - BestRunner<BLACK>(p, pawns->passedPawns, node->sideIndex);
    sum += uint32_t(race * 500);  // the endgame half only
    sum += Times(popcount(whitePawns) - popcount(blackPawns), PackPair(20, 90));
  }
  return sum;
}

int32_t Evaluate(NodeRecord* node) {
  const Position& p = position;
  const PawnRecord* pawns;
  const PackedScore sum = EvaluationSum(node, pawns);

  // Closing steps: split the biased halves, blend by phase, add material.
  const uint64_t signature = p.state.materialSignature;
  const int32_t endgame = int32_t(sum & 0xffff) - int32_t(HALF_BIAS);
  const int32_t opening = int32_t(sum >> 16) - int32_t(HALF_BIAS);
  const int32_t material = MaterialValue(signature, p.state.materialAdjust);
  // Not clamped: after promotions the phase passes 256 and the endgame weight
  // goes negative, which is wanted.
  const int32_t phase = int32_t(signature >> PHASE_SHIFT & PHASE_MASK);
  const int32_t blend = (endgame * (FULL_PHASE - phase) + opening * phase) / FULL_PHASE;
  int32_t score = (blend + material) / 10;
  score = ScaleScore(score, signature);

  // Noise that depends only on the position, so a position met twice scores
  // the same; it comes before the rook ending correction, which scales it.
  const int32_t noiseSeed = eval_settings.randomValue;
  if (noiseSeed != 0) score = score - 2 + int32_t(((uint64_t(int64_t(noiseSeed)) ^ p.state.key) & 0xfff) % 5);

  if ((signature & PIECE_FIELDS_MASK) == ROOK_EACH_ONLY) {
    const RookEndingMen men = {pawns->passedPawns,
                               p.pieceBits[PAWN_INDEX + WHITE],
                               p.pieceBits[PAWN_INDEX + BLACK],
                               p.pieceBits[ROOK_INDEX + WHITE],
                               p.pieceBits[ROOK_INDEX + BLACK],
                               p.occupied};
    score = RookEndingCorrection(score, signature, men, eval_settings.rookEndgameScaling,
                                 eval_settings.rookEndgamePenalty, play_mode_sign);
  }
  score = OppositeBishopsCorrection(score, signature, eval_settings.oppositeBishopsPenalty,
                                    eval_settings.oppositeBishopsEndgamePenalty, play_mode_sign);

  node->positionalScore = score - material / 10;
  node->approximate = 0;
  return score;
}
