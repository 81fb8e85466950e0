// The html log: a game record set in a chess font, with a board at every
// search and the analysis of each move in chess notation.
#pragma once

#include <cstddef>
#include <cstdint>

#include "board/types.h"

struct RootRecord;

// The title, the font note and the machine line; written when the log opens.
void write_html_head();
// The closing tags, once, as the log ends.
void write_html_tail();

// A side board for chess notation, kept apart from the Position so that the
// search may stand anywhere in its tree while a line is notated.
struct NotationBoard {
  uint8_t code[64];  // piece codes, 0 when empty
  int side;          // to move
  bool letters;      // men as the letters of plain short algebraic, not figurines
};
void load_notation_board(NotationBoard* board);  // from the game Position, in figurines
// The square of a name such as "e4"; -1 when the text names none.
int square_named(const char* text);
// Appends the short algebraic text of a move given in coordinates and plays
// it on the board. False, and nothing appended, when no piece of the side to move
// stands on its from square.
bool notate_move(NotationBoard* board, const char* word, char* text, size_t size);
// Appends the figurine texts of the blank-separated coordinate moves in
// `words`, each after a blank where `text` is not empty, playing them on the
// board; stops at the first move that does not fit the board.
void notate_line(NotationBoard* board, const char* words, char* text, size_t size);

// A score from White's side in pawns as the html log shows it: "+0.25",
// "-1.50", "#3"; returns the length written.
int pawn_score_text(int32_t v, char* text, size_t size);

// The last four full moves of the position line beside the html board.
void reset_notation_lines();
// A move of the position line, before it is made; `remaining` counts the
// characters from this move to the end of the list, `index` the moves before
// it in the list.
void note_position_move(const char* word, size_t remaining, int index);

// The root moves beside the html board, noted one by one while the root list
// is made: `kept` for the search, or legal but left out by the go line's
// search moves. Nothing is noted while the html log is closed.
void clear_html_root_moves();
void note_html_root_move(const char* word, bool kept);
// The longer of the two lists, each closed with its tag; empty when none.
const char* html_root_moves_text();

// The html board of the position before a search, with the text of the root
// moves beside it (may be null).
void write_html_diagram(const char* root_text);

// The analysis rows of one search: begun before the root driver runs, fed
// with every root report, and ended when the driver returns.
void begin_html_rows();
void html_root_report(const RootRecord& row, bool first_row);
void end_html_rows();
// A deep alternative of the main line, kept for the rows: it is written
// before the next row, or as the rows end.
void note_html_alternative(const char* text);
