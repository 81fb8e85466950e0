#include "eval/evaluate.h"

#include "board/position.h"
#include "eval/attack_maps.h"
#include "eval/eval_settings.h"
#include "eval/material.h"
#include "eval/pawn_cache.h"

namespace {

constexpr int PHASE_SHIFT = 25;
constexpr uint64_t PHASE_MASK = 0x1ff;
constexpr int32_t FULL_PHASE = 256;
constexpr uint32_t HALF_BIAS = 0x8000;

}  // namespace

int32_t Evaluate(NodeRecord* node) {
  const Position& p = position;
  AttackBook book;

  // 1. Pawn attacks, king neighbourhoods, pieces under enemy pawns. The pawn
  //    row is fetched now and probed only after the pawn attacks, to hide
  //    its latency. The mobility target sets and the two king attack
  //    counters (32 each) belong here, with the terms that read them.
  __builtin_prefetch(PawnCacheRow(p.state.pawnKey));
  book.StartWithPawns(p);

  // 2. Knight attacks complete the accumulators before any slider is looked at.
  book.AddKnights(p);

  // 3. Tempo, pawn structure and the piece-square sum.
  const PawnRecord* pawns = ProbePawnCache();
  PackedScore sum = uint32_t(node->sideSign) * TEMPO + pawns->pawnScore + uint32_t(p.state.pstSum);

  // 4. Bishops. Their terms (attack on the king, outposts, mobility) go in
  //    the visitors, one call per bishop.
  book.AddBishops(p, IgnoreMan{}, IgnoreMan{});

  // 5. Rooks and queens that pawns and minors reach are attacked by something cheaper.
  book.NoteMajorsUnderMinors(p);

  // 6. Rooks. Their terms (attacks on the king, pairs, mobility, files,
  //    seventh rank) go in the visitors.
  book.AddRooks(p, IgnoreMan{}, IgnoreMan{});

  // 7. Queens under rooks. The first threat score goes after this.
  book.NoteQueensUnderRooks(p);

  // 8. Queens. Their terms (attacks on the king, mobility, seventh rank) go
  //    in the visitors.
  book.AddQueens(p, IgnoreMan{}, IgnoreMan{});

  // 9. The complete maps. The safe target sets go after this.
  book.CompleteMaps();

  // 10. Knights: attack on the king, cover of the own king, outposts and
  //     mobility go here, one loop per colour.

  // 11. Maps and threatened sets into the record. The second threat score and
  //     the pawn push count go after this.
  book.Store(p, node);

  // Still to come here, in this order:
  // 12. King safety and shelter, when a queen is on the board.
  // 13. Dynamic passed pawn terms.
  // 14. Shut-in rooks.
  // 15. Pawn ending terms, when no piece is on the board.

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
