// The go command: its words, the time budget from the clocks, the launch of
// the root driver of the side to move, and the report when it returns.
#pragma once

#include <cstdint>

extern bool play_mode;            // a game: clocks were given, or playmode
extern uint64_t largest_clock;    // largest own clock since the new game
extern uint64_t expected_key;     // position after the last best move and its ponder reply
extern int32_t mate_limit;
extern int32_t contempt;
extern bool ponder_option;        // option Ponder: a pondering GUI gets more time per move
extern bool limit_strength;       // option UCI_LimitStrength: the depth comes from UCI_Elo
extern int32_t uci_elo;           // option UCI_Elo

// The handler of a go line while idle: reads it, then launches the search.
void handle_go(char* line);

// Reads a go line: resets the limits, takes the words in their fixed order
// and computes the budget from the clocks. Launches nothing.
void read_go_line(char* line);

// The depth limit, in half plies, of the limited strength mode at this Elo.
int32_t limited_strength_depth(int32_t elo);

// The budget from own time, increment and movestogo (0 for none): sets
// target_time and max_time, and may limit depth_limit on a tiny clock.
void compute_budget(int64_t ownTime, int64_t increment, int64_t movesToGo);

// The shared start of every search on the Position: margins and masks from
// its material, a new hash date, counters, the node stack and the clock.
void prepare_search();

// Launches the search on the Position with the limits already set, and
// reports when it ends.
void start_search();
