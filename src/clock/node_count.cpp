#include "clock/node_count.h"

#include <cinttypes>

#include "clock/budget.h"
#include "platform/clock.h"
#include "report/output.h"
#include "report/search_lines.h"
#include "search/root_driver.h"
#include "search/search_state.h"
#include "shell/dialogue.h"

uint64_t node_blocks = 1;
int64_t node_countdown = NODE_BLOCK;

namespace {
uint64_t last_tick = 0;
}

void reset_node_count() {
  node_blocks = 1;
  node_countdown = NODE_BLOCK;
  last_tick = tick_ms();
}

void periodic_check() {
  if (node_countdown > 0) return;
  ++node_blocks;
  node_countdown += NODE_BLOCK;
  poll_input();
  const uint64_t now = tick_ms();
  const int64_t elapsed = int64_t(now - search_start);
  // Once half the hard limit is gone, only a new move that is being proved
  // better keeps the search alive.
  if (!is_child && !slave_lines && elapsed >= max_time / 2 && !root_pv_search) max_time = 0;
  if (now > last_tick + 1000) {
    last_tick = now;
    if (!slave_lines) send_line_quiet("info time %" PRIu64 " nodes %" PRIu64, uint64_t(elapsed), NodeFigure());
  }
  if (!InsideSearch()) return;
  if ((!wait_for_gui && (elapsed >= max_time || elapsed >= move_time_limit)) || NodeFigure() > node_limit) {
    log_line("Jumping out of search - allotted time is up.");
    search_restart = false;
    JumpToStopMark();
  }
}
