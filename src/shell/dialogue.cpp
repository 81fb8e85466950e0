#include "shell/dialogue.h"

#include <strings.h>

#include <cstdio>
#include <cstring>

#include "board/move.h"
#include "board/position.h"
#include "board/make_move.h"
#include "clock/budget.h"
#include "clock/go_command.h"
#include "clock/search_end.h"
#include "eval/pawn_cache.h"
#include "hash/table.h"
#include "platform/input.h"
#include "report/output.h"
#include "search/ordering_tables.h"
#include "search/root_driver.h"
#include "search/root_list.h"
#include "shell/identity.h"

bool is_searching = false;
bool wait_for_gui = false;
bool ponder_search = false;
bool search_restart = false;
bool ponderhit_seen = false;
bool last_search_was_ponder_miss = false;
char position_line[POSITION_LINE_SIZE];
char last_move_text[8];

namespace {

bool starts_with(const char* line, const char* word, size_t n) {
  return strncasecmp(line, word, n) == 0;
}

bool is_idle() { return !is_searching && !wait_for_gui; }

void handle_uci() {
  send_line("id name %s", engine_name);
  send_line("id author Orlan Tesk");
  send_line("uciok");
}

void handle_stop() {
  wait_for_gui = false;
  log_line("  .. stop requested (is searching: %s)", is_searching ? "true" : "false");
  if (!is_searching) {
    end_of_search();
    return;
  }
  if (ponder_search) last_search_was_ponder_miss = true;
  search_restart = false;
  log_line("Jumping out of search - stop received.");
  if (InsideSearch()) JumpToStopMark();
  stop_pending = true;
}

void handle_ponderhit() {
  wait_for_gui = false;
  ponderhit_seen = true;
  // Without clock data a ponder search ends at once on a hit.
  if (target_time >= NO_BUDGET) max_time = 0;
  if (!is_searching) end_of_search();
}

void trim_line_end(char* line) {
  size_t length = std::strlen(line);
  while (length && (line[length - 1] == ' ' || line[length - 1] == '\n' || line[length - 1] == '\r'))
    line[--length] = 0;
}

void handle_position(char* line) {
  trim_line_end(line);
  std::snprintf(position_line, sizeof(position_line), "%s", line);
  parse_position_line(line);
  size_t length = std::strlen(line);
  std::snprintf(last_move_text, sizeof(last_move_text), "%s", line + (length > 5 ? length - 5 : 0));
}

// Plays one move on the game position. The move is kept in position_line so
// that the Position can be rebuilt from it; a line without a move list gets
// one, or the rebuild would not see the move.
void handle_play(const char* line) {
  const char* word = std::strlen(line) > 5 ? line + 5 : "";
  char text[8] = {};
  std::snprintf(text, sizeof(text), "%.5s", word);
  if (char* blank = std::strchr(text, ' ')) *blank = 0;
  const char* list_word = std::strstr(position_line, "moves ") ? "" : " moves";
  size_t used = std::strlen(position_line);
  if (used + std::strlen(list_word) + std::strlen(text) + 2 > sizeof(position_line)) return;
  std::snprintf(position_line + used, sizeof(position_line) - used, "%s %s", list_word, text);
  ApplyGameMove(TextToMove(text, true));
  RebuildDerived(&position);
}

}  // namespace

void parse_position_line(const char* line) {
  char text[POSITION_LINE_SIZE];
  std::snprintf(text, sizeof(text), "%s", line);
  char* fen = std::strstr(text, "fen");
  char* moves = std::strstr(text, "moves ");
  char* move_list = moves ? moves + 6 : nullptr;
  if (fen && moves) *moves = 0;
  SetPositionFromFen(START_FEN);
  if (fen) {
    // The FEN stands four characters behind the word; a line that ends
    // sooner holds none.
    const char* fen_text = std::strlen(fen) >= 4 ? fen + 4 : "";
    SetPositionFromFen(fen_text);
  }
  if (move_list) {
    const char* p = move_list;
    while (*p == ' ') ++p;
    while (*p) {
      ApplyGameMove(TextToMove(p, true));
      // Words are read five characters apart; a text that ends within them
      // ends the list.
      bool ended = false;
      for (int i = 0; i < 5 && !ended; ++i) ended = p[i] == 0;
      if (ended) break;
      p += 5;
      while (*p == ' ') ++p;
    }
  }
  RebuildDerived(&position);
}

void new_game_reset() {
  clear_root_list();
  largest_clock = 0;
  ResetOrderingTables();
  ClearPawnCache();  // private to each process, so every process clears its own
  // Only the table's owner empties it: a child or a process on a
  // controller's table would wipe what others are searching with. Every
  // process starts its dates over.
  if (OwnsHashTable()) ClearHashTable();
  else SetHashDate(0);
}

void dispatch_command(char* line) {
  if (starts_with(line, "quit", 4)) fatal_exit("Quit command received");
  if (starts_with(line, "stop", 4)) return handle_stop();
  if (starts_with(line, "ponderhit", 9)) return handle_ponderhit();
  if (starts_with(line, "ucinewgame", 10) && is_idle()) return new_game_reset();
  if (starts_with(line, "uci", 3)) return handle_uci();
  if (starts_with(line, "isready", 7)) return print_line("readyok");
  // Lines that touch the Position wait for idle; otherwise they go on down
  // the chain, where nothing takes them.
  if (starts_with(line, "position", 8) && is_idle()) return handle_position(line);
  if (starts_with(line, "play", 4) && is_idle()) return handle_play(line);
  if (starts_with(line, "go", 2) && is_idle()) return handle_go(line);
}

void read_and_dispatch_line() {
  char line[INPUT_LINE_SIZE];
  if (!input_read_line(line, sizeof(line))) fatal_exit("Input pipe corrupted or cut off");
  line[std::strcspn(line, "\n")] = 0;
  size_t length = std::strlen(line);
  if (length && line[length - 1] == '\r') line[length - 1] = 0;
  // "!" and "#" mark a controller's silent lines.
  if (line[0] != '!' && line[0] != '#') log_line("-->> %s", line);
  dispatch_command(line);
}

bool poll_input() {
  bool any = false;
  while (input_waiting()) {
    read_and_dispatch_line();
    any = true;
  }
  return any;
}
