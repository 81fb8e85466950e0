#include "board/quiet_masks.h"

#include "board/position.h"

namespace {

constexpr QuietMasks MasksFor(int colour, int stage) {
  const int row = QuietStageRow(stage);
  const Bitboard knights = QUIET_KNIGHT_ORIGINS[row], pawns = QUIET_PAWN_ORIGINS[row];
  return {colour == WHITE ? knights : FlipRanks(knights), colour == WHITE ? pawns : FlipRanks(pawns),
          QUIET_KNIGHT_TARGETS[colour][row], QUIET_KING_TARGETS[colour][row],
          GAIN_KNIGHT_TARGETS[colour][GainKnightRow(stage)]};
}

// The start position's stage, so that the masks are sensible before any go.
constexpr int OPENING_STAGE = 24;

}  // namespace

// Only addresses and constants: set before any code runs.
constinit QuietMasks quiet_masks[2] = {MasksFor(WHITE, OPENING_STAGE), MasksFor(BLACK, OPENING_STAGE)};

int MaterialStage(const Position& p) {
  const Bitboard* pieces = p.pieceBits;
  const int minors = popcount(pieces[KNIGHT_INDEX] | pieces[KNIGHT_INDEX + 1] | pieces[BISHOP_INDEX] |
                              pieces[BISHOP_INDEX + 1]);
  const int rooks = popcount(pieces[ROOK_INDEX] | pieces[ROOK_INDEX + 1]);
  const int queens = popcount(pieces[QUEEN_INDEX] | pieces[QUEEN_INDEX + 1]);
  return minors + 2 * rooks + 4 * queens;
}

void SelectQuietMasks(int stage) {
  quiet_masks[WHITE] = MasksFor(WHITE, stage);
  quiet_masks[BLACK] = MasksFor(BLACK, stage);
}
