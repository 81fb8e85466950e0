#include "clock/search_end.h"

#include "report/output.h"
#include "search/root_list.h"

bool bestmove_open = false;

void end_of_search() {
  // Until a search has filled the root list there is no move to give; the
  // best move, ponder move and the filtering by bestmove_open come with the
  // search launch.
  if (root_list[0].move == 0) send_line("bestmove 0000");
}
