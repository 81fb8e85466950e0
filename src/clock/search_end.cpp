#include "clock/search_end.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "board/make_move.h"
#include "board/move.h"
#include "board/position.h"
#include "clock/go_command.h"
#include "pool/children.h"
#include "report/output.h"
#include "report/search_lines.h"
#include "search/root_list.h"
#include "search/root_moves.h"
#include "search/search_state.h"
#include "shell/dialogue.h"
#include "tablebase/probe.h"

bool bestmove_open = false;

namespace {

// Makes `best` and `reply` (if any) on the Position and takes them back,
// holding the periodic check off meanwhile.
template <int Us>
uint64_t KeyAfter(Move best, Move reply) {
  static NodeRecord scratch[3];
  SavedState first, second;
  const PeriodicCheckHold hold;
  MakeMove<Us>(best, &first, &scratch[1]);
  if (reply) MakeMove<Us ^ 1>(reply, &second, &scratch[2]);
  const uint64_t key = position.state.key;
  if (reply) UnmakeMove<Us ^ 1>(reply, &second);
  UnmakeMove<Us>(best, &first);
  return key;
}

// The randomizer learns the position the best move leads to. A position that
// was already marked means the series is running in circles: the marks of all
// positions one root move away are taken off, so that the next game can
// choose freely among them again.
template <int Us>
void MarkBestMovePosition(Move best) {
  static NodeRecord scratch[2];
  const uint64_t key = KeyAfter<Us>(best, 0);
  if (RandomizerMarked(key)) {
    log_line("best move re-visits position");
    const PeriodicCheckHold hold;
    for (int i = 0; i < ROOT_LIST_SIZE && root_list[i].move; ++i) {
      SavedState saved;
      MakeMove<Us>(root_list[i].move, &saved, &scratch[1]);
      RandomizerByte(position.state.key) &= uint8_t(~RandomizerBit(position.state.key));
      UnmakeMove<Us>(root_list[i].move, &saved);
    }
  }
  MarkRandomizerPosition(key);
}

// How many times the position stood there before, looking back over the
// reversible moves at every second position.
int EarlierOccurrences() {
  const StateBlock& s = position.state;
  int seen = 0;
  for (uint32_t back = 2; back <= s.fiftyCount && back <= s.historyCount; back += 2)
    seen += position.keyHistory[s.historyCount - back] == s.key;
  return seen;
}

// The self-play form: the move is played on our own Position and a line for
// the script tells move, nodes, depth, score and the material left, with
// "00" for a game the script should score as drawn.
void end_of_goe_search() {
  // The move is played once: a later stray stop finds nothing owed.
  if (!bestmove_open) return log_line("goe result already given");
  bestmove_open = false;
  const RootRecord& first = root_list[0];
  char moveText[8] = "0000";
  if (first.move) {
    MoveToText(first.move, moveText);
    append_to_position_line(moveText);
    ApplyGameMove(first.move);
    RebuildDerived(&position);
  }
  const Bitboard* men = position.pieceBits;
  const auto both = [&](int piece) { return popcount(men[piece + WHITE] | men[piece + BLACK]); };
  const int material = 9 * both(QUEEN_INDEX) + 3 * (both(KNIGHT_INDEX) + both(BISHOP_INDEX)) + 5 * both(ROOK_INDEX);
  char score[16];
  std::snprintf(score, sizeof(score), "%d", first.score);
  bool drawn = !first.move;
  if (first.score == 0 && (position.state.fiftyCount >= 40 || EarlierOccurrences() >= 2)) drawn = true;
  int32_t table;
  if (first.score == 0 && TablebaseGate(INT32_MAX) && ProbeTablebase(&table, sideToMove) && !table) drawn = true;
  const int whiteMinors = popcount(men[KNIGHT_INDEX + WHITE] | men[BISHOP_INDEX + WHITE]);
  const int blackMinors = popcount(men[KNIGHT_INDEX + BLACK] | men[BISHOP_INDEX + BLACK]);
  const int minorGap = whiteMinors > blackMinors ? whiteMinors - blackMinors : blackMinors - whiteMinors;
  if (material <= 9 && first.score > -250 && first.score < 250 && !both(PAWN_INDEX) && !both(QUEEN_INDEX) &&
      !both(ROOK_INDEX) && minorGap < 2)
    drawn = true;
  if (drawn) std::snprintf(score, sizeof(score), "00");
  const uint64_t nodes = NodeFigure();
  const int depth = first.depth / 2 > 1 ? first.depth / 2 : 1;
  if (depth_limit < 200 && (depth_limit & 1))
    print_line("%s %" PRIu64 " %1.1lf %s %d", moveText, nodes, depth + 0.5, score, material);
  else
    print_line("%s %" PRIu64 " %d %s %d", moveText, nodes, depth, score, material);
  log_line("best move: 0x%" PRIx64, uint64_t(first.move));
}

}  // namespace

void end_of_search() {
  if (goe_mode) return end_of_goe_search();
  const Move best = root_list[0].move;
  if (!best) {
    send_line("bestmove 0000");
    return;
  }
  // A stray stop or ponderhit after a new position finds the last search's
  // move, which belongs to another board: nothing is owed, and it is not
  // played on this one.
  if (!bestmove_open && !IsLegalHere(best)) {
    log_line("bestmove %s (filtered out)", MoveToText(best));
    return;
  }
  if (randomizer_table) {
    if (sideToMove == WHITE) MarkBestMovePosition<WHITE>(best);
    else MarkBestMovePosition<BLACK>(best);
  }
  const Move reply = ReplyFromTable(best);
  if (reply) expected_key = sideToMove == WHITE ? KeyAfter<WHITE>(best, reply) : KeyAfter<BLACK>(best, reply);
  char bestText[8], replyText[8];
  MoveToText(best, bestText);
  if (reply) MoveToText(reply, replyText);
  if (bestmove_open) {
    if (reply) send_line("bestmove %s ponder %s", bestText, replyText);
    else send_line("bestmove %s", bestText);
  } else if (reply) {
    log_line("bestmove %s ponder %s (filtered out)", bestText, replyText);
  } else {
    log_line("bestmove %s (filtered out)", bestText);
  }
  send_to_children("stop");
  bestmove_open = false;
}
