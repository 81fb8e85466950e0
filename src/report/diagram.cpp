#include "report/diagram.h"

#include <cstring>

#include "board/position.h"
#include "report/html_log.h"
#include "report/output.h"
#include "shell/dialogue.h"

bool big_log_diagrams = true;
int32_t lines_per_log_page = 1;
bool diagram_every_position = true;

namespace {

// The pieces on a light square, White pawn to Black king in piece-code order.
constexpr const char* LIGHT_GLYPHS[12][GLYPH_ROWS] = {
    {"         ", "         ", "    o    ", "   ( )   ", "  (___)  "},
    {"         ", "         ", "    o    ", "   (#)   ", "  (###)  "},
    {"  v___   ", " /o _ \\  ", " \\_//  \\ ", "  _/   | ", " [_____] "},
    {"  v___   ", " /o ##\\  ", " \\_//##\\ ", "  _/###| ", " [#####] "},
    {"    o    ", "   ( )   ", "    X    ", "   / \\   ", "  (___)  "},
    {"    o    ", "   (#)   ", "    X    ", "   /#\\   ", "  (###)  "},
    {"  _   _  ", " [ ]_[ ] ", "  \\   /  ", "  /   \\  ", " [_____] "},
    {"  _   _  ", " [#]_[#] ", "  \\###/  ", "  /###\\  ", " [#####] "},
    {" \\\\\\V/// ", "  \\\\V//  ", "   \\V/   ", "  (   )  ", "  (___)  "},
    {" \\\\\\V/// ", "  \\\\V//  ", "   \\V/   ", "  (###)  ", "  (###)  "},
    {"    +    ", "    |    ", "  _/ \\_  ", " (     ) ", "  \\___/  "},
    {"    +    ", "    |    ", "  _/#\\_  ", " (#####) ", "  \\###/  "},
};
constexpr const char EMPTY_ROW[] = "         ";

// The dark-square form: every blank that the outside of the drawing reaches,
// walking from its edges through blanks, gets a dot where row + column is
// odd; blanks enclosed by the figure stay.
struct DarkGlyphs {
  char row[13][GLYPH_ROWS][GLYPH_WIDTH + 1];
  DarkGlyphs() {
    for (int code = 0; code < 13; ++code) {
      char cell[GLYPH_ROWS][GLYPH_WIDTH + 1];
      for (int r = 0; r < GLYPH_ROWS; ++r)
        std::memcpy(cell[r], code ? LIGHT_GLYPHS[code - 1][r] : EMPTY_ROW, GLYPH_WIDTH + 1);
      bool outside[GLYPH_ROWS][GLYPH_WIDTH] = {};
      int stack[GLYPH_ROWS * GLYPH_WIDTH], top = 0;
      const auto reach = [&](int r, int c) {
        if (r < 0 || r >= GLYPH_ROWS || c < 0 || c >= GLYPH_WIDTH) return;
        if (outside[r][c] || cell[r][c] != ' ') return;
        outside[r][c] = true;
        stack[top++] = r * GLYPH_WIDTH + c;
      };
      for (int r = 0; r < GLYPH_ROWS; ++r) reach(r, 0), reach(r, GLYPH_WIDTH - 1);
      for (int c = 0; c < GLYPH_WIDTH; ++c) reach(0, c), reach(GLYPH_ROWS - 1, c);
      while (top) {
        const int r = stack[--top] / GLYPH_WIDTH, c = stack[top] % GLYPH_WIDTH;
        reach(r - 1, c), reach(r + 1, c), reach(r, c - 1), reach(r, c + 1);
      }
      for (int r = 0; r < GLYPH_ROWS; ++r)
        for (int c = 0; c < GLYPH_WIDTH; ++c)
          if (outside[r][c] && (r + c) % 2) cell[r][c] = '.';
      std::memcpy(row[code], cell, sizeof(cell));
    }
  }
};
const DarkGlyphs DARK;

// Large letters for the clocks and the move title: 6 columns, the last of
// the 6 rows blank. Characters without a shape draw as a blank.
struct LargeLetter {
  char c;
  const char* row[5];
};
constexpr LargeLetter LARGE_LETTERS[] = {
    {'0', {"  __  ", " /  \\ ", " |  | ", " |  | ", " \\__/ "}},
    {'1', {"      ", "  /|  ", " / |  ", "   |  ", "   |  "}},
    {'2', {"  __  ", " /  \\ ", "   _/ ", "  /   ", " /___ "}},
    {'3', {" ___  ", "    \\ ", "  __/ ", "    \\ ", " ___/ "}},
    {'4', {"      ", "   /| ", "  / | ", " /__|_", "    | "}},
    {'5', {" ____ ", " |    ", " |__  ", "    \\ ", " ___/ "}},
    {'6', {"  __  ", " /    ", " |__  ", " |  \\ ", " \\__/ "}},
    {'7', {" ____ ", "    / ", "   /  ", "  /   ", " /    "}},
    {'8', {"  __  ", " /  \\ ", " >--< ", " |  | ", " \\__/ "}},
    {'9', {"  __  ", " /  \\ ", " \\__| ", "    | ", "  __/ "}},
    {'a', {"      ", "      ", "  __  ", " /  | ", " \\__| "}},
    {'b', {"      ", " |    ", " |__  ", " |  \\ ", " |__/ "}},
    {'c', {"      ", "      ", "  __  ", " /    ", " \\__  "}},
    {'d', {"      ", "    | ", "  __| ", " /  | ", " \\__| "}},
    {'e', {"      ", "      ", "  __  ", " /__\\ ", " \\__  "}},
    {'f', {"   _  ", "  /   ", " _|_  ", "  |   ", "  |   "}},
    {'g', {"      ", "  __  ", " /  | ", " \\__| ", "  __/ "}},
    {'h', {"      ", " |    ", " |__  ", " |  \\ ", " |  | "}},
    {':', {"      ", "      ", "  o   ", "      ", "  o   "}},
    {'.', {"      ", "      ", "      ", "      ", "  o   "}},
    {'x', {"      ", " \\  / ", "  \\/  ", "  /\\  ", " /  \\ "}},
    {'-', {"      ", "      ", "      ", " ---- ", "      "}},
    {'(', {"   /  ", "  |   ", "  |   ", "  |   ", "   \\  "}},
    {')', {"  \\   ", "   |  ", "   |  ", "   |  ", "  /   "}},
};
constexpr const char LARGE_BLANK[] = "      ";
constexpr const char PIECE_LETTERS[] = "PNBRQK";

// The signs of the side to move beside the board: filled for Black, hollow
// for White.
constexpr const char* BLACK_SIGN[GLYPH_ROWS] = {"  .::.  ", " :::::: ", "::::::::", " :::::: ", "  '::'  "};
constexpr const char* WHITE_SIGN[GLYPH_ROWS] = {"  .::.  ", " :'  ': ", "::    ::", " :.  .: ", "  '::'  "};
constexpr const char NO_SIGN[] = "        ";


// Row `row` of a text in large letters; piece letters draw the pieces of
// `colour`.
void large_text_row(FILE* file, const char* text, int row, int colour) {
  for (const char* p = text; *p; ++p) {
    if (row >= GLYPH_ROWS) {
      std::fputs(std::strchr(PIECE_LETTERS, *p) ? EMPTY_ROW : LARGE_BLANK, file);
      continue;
    }
    if (const char* piece = std::strchr(PIECE_LETTERS, *p)) {
      std::fputs(LIGHT_GLYPHS[2 * (piece - PIECE_LETTERS) + colour][row], file);
      continue;
    }
    const char* shape = LARGE_BLANK;
    for (const LargeLetter& letter : LARGE_LETTERS)
      if (letter.c == *p) shape = letter.row[row];
    std::fputs(shape, file);
  }
}

void clock_text(int32_t seconds, char* buffer, size_t size) {
  if (seconds >= 3600)
    std::snprintf(buffer, size, "%2d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60);
  else if (seconds >= 60)
    std::snprintf(buffer, size, "   %2d:%02d", seconds / 60, seconds % 60);
  else
    std::snprintf(buffer, size, "     :%02d", seconds);
}

// Anything that is no square reads as a1, as does an empty last move.
int square_of(const char* text) {
  const int square = square_named(text);
  return square < 0 ? 0 : square;
}

struct LastMove {
  int from, to;
  char title[64];
  int colour;  // of the moved piece, for its drawing in the title
};

LastMove read_last_move() {
  LastMove last;
  const char* text = last_move_text[0] == ' ' ? last_move_text + 1 : last_move_text;
  last.from = square_of(text);
  last.to = square_of(std::strlen(text) >= 2 ? text + 2 : "");
  const int code = piece_code_at(last.to);
  const char piece = code ? PIECE_LETTERS[(code - 2) / 2] : ' ';
  last.colour = code & 1;
  const char separator = last_position_move_captured ? 'x' : '-';
  const char from[3] = {char('a' + last.from % 8), char('1' + last.from / 8), 0};
  const char to[3] = {char('a' + last.to % 8), char('1' + last.to / 8), 0};
  const int n = position_move_count;
  std::snprintf(last.title, sizeof(last.title), ponder_search ? "%d. %s(%c%s%c%s)" : "%d. %s%c%s%c%s", (n + 1) / 2,
                n % 2 ? "" : ".. ", piece, from, separator, to);
  return last;
}

void write_small_board(FILE* file) {
  static const char CELLS[] = "DpNnBbRrQqKk";
  for (int rank = 7; rank >= 0; --rank) {
    std::fputs("\n            ", file);
    for (int file_index = 0; file_index < 8; ++file_index) {
      const int code = piece_code_at(rank * 8 + file_index);
      std::fputc(code ? CELLS[code - 2] : '.', file);
      std::fputc(' ', file);
    }
  }
  std::fputs("\n\n", file);
}

// Row `row` of rank `rank` of the board's side panel.
void write_panel_row(FILE* file, int rank, int row, bool white_to_move, int32_t white_seconds,
                     int32_t black_seconds, const LastMove& last) {
  const int glyph_row = row < GLYPH_ROWS ? row : -1;
  char clock[16];
  if (rank == 7 || rank == 0) {
    const bool mine = rank == 7 ? !white_to_move : white_to_move;
    const char* const* sign = rank == 7 ? BLACK_SIGN : WHITE_SIGN;
    std::fprintf(file, "     %s", mine && glyph_row >= 0 ? sign[glyph_row] : NO_SIGN);
    const int32_t seconds = rank == 7 ? black_seconds : white_seconds;
    if (seconds > 0) {
      clock_text(seconds, clock, sizeof(clock));
      std::fputs("          ", file);
      large_text_row(file, clock, row, WHITE);
    }
  } else if (rank == 5) {
    std::fputs("              ", file);
    large_text_row(file, last.title, row, last.colour);
  } else if (rank == 2) {
    std::fputs("                         ", file);
    for (int colour = WHITE; colour <= BLACK; ++colour)
      for (int kind = 0; kind < 5; ++kind) {
        const int own = popcount(position.pieceBits[2 * kind + colour]);
        const int other = popcount(position.pieceBits[2 * kind + (colour ^ 1)]);
        for (int missing = own; missing < other; ++missing)
          std::fputs(glyph_row >= 0 ? LIGHT_GLYPHS[2 * kind + colour][glyph_row] : EMPTY_ROW, file);
      }
  }
}

void write_big_board(FILE* file, bool white_to_move, int32_t white_seconds, int32_t black_seconds,
                     const LastMove& last) {
  const auto marked = [&](int rank, int file_index) {
    if (rank < 0 || rank > 7 || file_index < 0 || file_index > 7) return false;
    const int square = rank * 8 + file_index;
    return square == last.from || square == last.to;
  };
  // An edge between two squares of a rank is drawn solid when it borders one
  // of the last move's squares.
  const auto edge = [&](int rank, int file_index) {
    return marked(rank, file_index - 1) || marked(rank, file_index) ? '|' : ':';
  };
  std::fputs("\n        .", file);
  for (int f = 0; f < 8; ++f) std::fputs(marked(7, f) ? "_________." : "..........", file);
  std::fputc('\n', file);
  for (int rank = 7; rank >= 0; --rank) {
    for (int row = 0; row <= GLYPH_ROWS; ++row) {
      std::fputs("        ", file);
      for (int f = 0; f < 8; ++f) {
        std::fputc(edge(rank, f), file);
        if (row == GLYPH_ROWS) {
          // The border row under a square closes the box of a marked square
          // and opens the one of a marked square below it.
          std::fputs(marked(rank, f) || marked(rank - 1, f) ? "_________" : ".........", file);
        } else {
          std::fputs(square_glyph_row(piece_code_at(rank * 8 + f), (rank + f) % 2 == 0, row), file);
        }
      }
      std::fputc(edge(rank, 8), file);
      if (row == 2) std::fprintf(file, "  %d", rank + 1);
      else std::fputs("   ", file);
      write_panel_row(file, rank, row, white_to_move, white_seconds, black_seconds, last);
      std::fputc('\n', file);
    }
  }
  std::fputs("             a         b         c         d         e         f         g         h     \n", file);
}

}  // namespace

int piece_code_at(int square) {
  for (int index = 0; index < 12; ++index)
    if (position.pieceBits[index] & bit(square)) return index + 2;
  return NO_PIECE;
}

const char* square_glyph_row(int code, bool dark, int row) {
  if (row < 0 || row >= GLYPH_ROWS) return EMPTY_ROW;
  const int slot = code >= WHITE_PAWN && code <= BLACK_KING ? code - 1 : 0;
  if (dark) return DARK.row[slot][row];
  return slot ? LIGHT_GLYPHS[slot - 1][row] : EMPTY_ROW;
}

void write_ascii_diagram(FILE* file, bool white_to_move, int32_t white_seconds, int32_t black_seconds,
                         int32_t* line_counter) {
  if (!file) return;
  if (lines_per_log_page > 56) {
    for (int32_t fill = lines_per_log_page - *line_counter % lines_per_log_page; fill > 0; --fill)
      std::fputc('\n', file);
    *line_counter = 56;
  }
  std::fputc('\n', file);
  char fen[128];
  WriteFen(fen);
  const LastMove last = read_last_move();
  std::fprintf(file, "                     %s\n", fen);
  if (!big_log_diagrams) write_small_board(file);
  else write_big_board(file, white_to_move, white_seconds, black_seconds, last);
  std::fflush(file);
}
