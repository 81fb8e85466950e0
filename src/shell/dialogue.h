// The command loop: one reader and one chain of tests that serve the top
// level, the poll inside the search, and a child's pipe alike.
#pragma once

#include <cstddef>
#include <cstdint>

extern bool is_searching;    // set by the search launch, cleared when the root driver returns
extern bool wait_for_gui;    // ponder or infinite: the result waits for stop or ponderhit
extern bool ponder_search;   // the running search was started with the word ponder
extern bool search_restart;  // after the long jump: false ends the search, true iterates again
extern bool ponderhit_seen;  // cleared by the root driver at the end of each iteration
extern bool last_search_was_ponder_miss;
extern bool uci3_invoked;  // the flavours asked for by the front end
extern bool qvn3_invoked;
extern bool dwx3_invoked;  // each pass over the root moves lists them
extern int32_t slave_mode; // a controller's level for its slave searches

// Room for the longest input line, with the moves that play appends.
constexpr size_t POSITION_LINE_SIZE = 32768;
extern char position_line[POSITION_LINE_SIZE];  // source of the Position after a long jump
extern char last_move_text[8];
extern int32_t position_move_count;        // moves in the last position line
extern bool last_position_move_captured;  // its last move took a man

constexpr size_t INPUT_LINE_SIZE = 8192;

// Blocks until one line is read, then logs and dispatches it.
void read_and_dispatch_line();
// The chain of tests, in its fixed order.
void dispatch_command(char* line);
// Consumes every line that waits; false when none waited.
bool poll_input();

// Sets up the Position from a position line: a FEN if the line holds "fen",
// else the start position, then the moves behind "moves ".
void parse_position_line(const char* line);
// Keeps a move played on the game Position in position_line, so that the
// Position can be rebuilt from it; a line without a move list gets one, or
// the rebuild would not see the move. False when the line has no room.
bool append_to_position_line(const char* move_text);
void new_game_reset();
