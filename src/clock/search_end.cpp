#include "clock/search_end.h"

#include "board/move.h"
#include "board/position.h"
#include "clock/go_command.h"
#include "report/output.h"
#include "report/search_lines.h"
#include "search/root_list.h"
#include "search/root_moves.h"

bool bestmove_open = false;

namespace {

// The key of the position after `best` and `reply`, taken back at once.
template <int Us>
uint64_t KeyAfter(Move best, Move reply) {
  static NodeRecord scratch[3];
  SavedState first, second;
  const PeriodicCheckHold hold;
  MakeMove<Us>(best, &first, &scratch[1]);
  MakeMove<Us ^ 1>(reply, &second, &scratch[2]);
  const uint64_t key = position.state.key;
  UnmakeMove<Us ^ 1>(reply, &second);
  UnmakeMove<Us>(best, &first);
  return key;
}

}  // namespace

void end_of_search() {
  const Move best = root_list[0].move;
  if (!best) {
    send_line("bestmove 0000");
    return;
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
  bestmove_open = false;
}
