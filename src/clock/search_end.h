// What happens when a search is over and its result is due.
#pragma once

// True from the launch of a search until its bestmove went out: at most one
// bestmove is sent for a go.
extern bool bestmove_open;

// Replies with the best move of the root list, or "bestmove 0000" when the
// list holds none (after a new game, or a position without moves).
void end_of_search();
