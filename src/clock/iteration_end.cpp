#include "clock/iteration_end.h"

#include "clock/budget.h"
#include "clock/process_reports.h"
#include "pool/sync_area.h"
#include "report/search_lines.h"
#include "search/root_list.h"
#include "search/search_state.h"
#include "shell/dialogue.h"
#include "shell/identity.h"

bool IterationEndTest(int32_t iteration) {
  ponderhit_seen = false;
  poll_input();
  if (iteration >= depth_limit) return true;
  if (NodeFigure() > iter_node_limit) return true;
  const int64_t elapsed = int64_t(SearchTime() - 1);
  const int64_t timeFactor = IterationFactor(report_area, process_count, root_list[0].move);
  if (elapsed < timeFactor * target_time / 100 && elapsed < max_time / 4 && elapsed < move_time_limit)
    return iteration_time_out && !wait_for_gui;
  iteration_time_out = true;
  return !wait_for_gui;
}
