#include "clock/node_count.h"

#include <cinttypes>

#include "board/move.h"
#include "clock/budget.h"
#include "clock/process_reports.h"
#include "pool/slave_dialogue.h"
#include "pool/sync_area.h"
#include "platform/clock.h"
#include "report/output.h"
#include "report/search_lines.h"
#include "report/visualizers.h"
#include "search/root_driver.h"
#include "search/root_list.h"
#include "search/search_state.h"
#include "shell/dialogue.h"
#include "shell/identity.h"

uint64_t node_blocks = 1;
int64_t node_countdown = NODE_BLOCK;

namespace {

uint64_t last_tick = 0;

// Tenths of the share of the target after which a search in progress stops:
// after a ponder hit, while the best move is being searched open, and
// otherwise.
constexpr int64_t SHARE_AFTER_PONDERHIT = 10, SHARE_ON_BEST = 24, SHARE_OTHERWISE = 42;

}  // namespace

void reset_node_count() {
  node_blocks = 1;
  node_countdown = NODE_BLOCK;
  last_tick = tick_ms();
}

void stretch_budget(int64_t elapsed) {
  const Move best = root_list[0].move;
  const bool onBest = root_pv_search && best && move_from(best) == move_from(current_root_move) &&
                      move_to(best) == move_to(current_root_move);
  // While another process holds a better move the search must not be cut
  // short: the soft limit waits.
  const ProcessVerdict verdict = CompareProcesses(report_area, process_count, best, ponderhit_seen);
  if (verdict.keep && !wait_for_gui) {
    int32_t score = root_list[0].score;
    if (onBest && pv_note_ply < 256 && pv_estimate < score) score = pv_estimate;
    const int64_t factor = CheckFactor(report_area, score, verdict.boost);
    const int64_t share = ponderhit_seen ? SHARE_AFTER_PONDERHIT : onBest ? SHARE_ON_BEST : SHARE_OTHERWISE;
    const int64_t limit = factor * target_time / 100 * share / 10;
    if (elapsed >= limit) max_time = 0;
  }
  // Past half the hard limit only a new move that is proving itself better
  // keeps the search alive.
  if (elapsed >= max_time / 2 && (!root_pv_search || onBest)) max_time = 0;
}

bool time_is_up(int64_t elapsed) {
  if (!wait_for_gui && (elapsed >= max_time || elapsed >= move_time_limit)) return true;
  return NodeFigure() > node_limit;
}

void periodic_check(const NodeRecord* node) {
  if (node_countdown > 0) return;
  ++node_blocks;
  node_countdown += NODE_BLOCK;
  poll_input();
  const uint64_t now = tick_ms();
  const int64_t elapsed = int64_t(now - search_start);
  if (!is_child && !slave_lines) stretch_budget(elapsed);
  if (now > last_tick + 1000) {
    last_tick = now;
    if (!slave_lines) send_line_quiet("info time %" PRIu64 " nodes %" PRIu64, uint64_t(elapsed), NodeFigure());
    send_microsample(node);
  }
  if (InsideSearch() && time_is_up(elapsed)) {
    log_line("Jumping out of search - allotted time is up.");
    search_restart = false;
    JumpToStopMark();
  }
  if (InsideSearch()) take_own_choice(elapsed);
  if (cpu_usage < 100) sleep_ms(100 - cpu_usage);
}
