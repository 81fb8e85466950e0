// Pictures of the position for the logs: an ascii drawing in the uci log at
// every go, a board in a chess font in the html log at every search. Nothing
// reads them back; they make a log readable later.
#pragma once

#include <cstdint>
#include <cstdio>

extern bool big_log_diagrams;        // the drawn board; false: one letter a square
extern int32_t lines_per_log_page;   // above 56: each diagram starts a new page
extern bool diagram_every_position;  // shown in the settings report only

// Rows of one piece drawing and of one square: 5 drawn rows and the border.
constexpr int GLYPH_ROWS = 5;
constexpr int GLYPH_WIDTH = 9;

// Row `row` of the drawing of piece code `code` (0 for an empty square) on a
// light or a dark square; rows from 5 on are blank.
const char* square_glyph_row(int code, bool dark, int row);

// The piece code on a square of the game Position, 0 when it is empty.
int piece_code_at(int square);

// The ascii diagram of the game Position, with the clocks in seconds (0 draws
// none). `line_counter` counts the log's lines for the page fill.
void write_ascii_diagram(FILE* file, bool white_to_move, int32_t white_seconds, int32_t black_seconds,
                         int32_t* line_counter);
