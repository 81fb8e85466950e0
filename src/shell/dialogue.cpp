#include "shell/dialogue.h"

#include <strings.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
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
#include "pool/children.h"
#include "pool/slave_dialogue.h"
#include "report/html_log.h"
#include "report/search_lines.h"
#include "report/output.h"
#include "report/visualizers.h"
#include "search/ordering_tables.h"
#include "search/root_driver.h"
#include "search/root_list.h"
#include "shell/identity.h"
#include "shell/options.h"

bool is_searching = false;
bool wait_for_gui = false;
bool ponder_search = false;
bool search_restart = false;
bool ponderhit_seen = false;
bool last_search_was_ponder_miss = false;
bool uci3_invoked = false;
bool qvn3_invoked = false;
bool dwx3_invoked = false;
int32_t slave_mode = 0;
char position_line[POSITION_LINE_SIZE];
char last_move_text[8];
int32_t position_move_count = 0;
bool last_position_move_captured = false;

namespace {

bool starts_with(const char* line, const char* word, size_t n) {
  return strncasecmp(line, word, n) == 0;
}

bool is_idle() { return !is_searching && !wait_for_gui; }

void handle_uci() {
  send_line("id name %s", engine_name);
  send_line("id author Orlan Tesk");
  print_option_list();
  send_line("uciok");
}

void handle_uci3() {
  send_line("option name EgtbGate type path default <empty>");
  send_line("option name Hash File type file default *.vsh");
  send_line("uci3ok");
  uci3_invoked = true;
  log_line("Uci3 has been invoked.");
}

void handle_qvn3() {
  send_line("option name qvn3_randomizer_threshold type spin default 8 min 1 max 512");
  send_line("option name qvn3_randomizer_mode type check default false");
  send_line("option name qvn3_randomizer_reset type button");
  send_line("qvn3ok");
  qvn3_invoked = true;
  log_line("Qvn3 has been invoked.");
}

void handle_dwx3() {
  send_line("dwx3ok");
  dwx3_invoked = true;
  log_line("Dwx3 has been invoked.");
}

// The entries of a FEN's bucket in a scratch record, so that the game's
// Position stays as it is. The deepest entry of the position counts; false
// when the FEN is refused.
bool deepest_entry(const char* fen, uint64_t* entry, uint64_t* key) {
  static Position scratch;
  if (!SetRecordFromFen(&scratch, fen)) return false;
  *key = scratch.state.key;
  const HashBucket bucket = LoadBucket(*key);
  *entry = 0;
  int32_t best = 0;
  for (const uint64_t word : bucket.word)
    if (HashEntry::Matches(word, *key) && HashEntry::Depth(word) > best) {
      best = HashEntry::Depth(word);
      *entry = word;
    }
  return true;
}

void handle_probe(const char* line) {
  const char* fen = line + 6;
  uint64_t entry, key;
  if (!deepest_entry(fen, &entry, &key) || !entry) {
    report_text("Probed position not found.");
    return;
  }
  char text[1024], moveText[8];
  MoveToText(HashEntry::BestMove(entry), moveText);
  int length = std::snprintf(text, sizeof(text), "info probe position %s move %s depth %d", fen, moveText,
                             HashEntry::Depth(entry) / 2);
  const int32_t value = HashEntry::Value(entry);
  if (length > 0 && size_t(length) < sizeof(text)) {
    const char* bound = HashEntry::IsLower(entry) && HashEntry::IsUpper(entry) ? "ex"
                        : HashEntry::IsLower(entry)                            ? "lb"
                        : HashEntry::IsUpper(entry)                            ? "ub"
                                                                               : nullptr;
    if (bound) std::snprintf(text + length, sizeof(text) - size_t(length), " %s %d", bound, value);
  }
  send_line("%s", text);
}

// "write <score> <fen>": the score goes into the table as an exact entry of
// the greatest depth, keeping the move the table knows for the position.
void handle_write(const char* line) {
  const char* rest = line + 6;
  const int32_t score = std::atoi(rest);
  const char* blank = std::strchr(rest, ' ');
  if (!blank) return;
  uint64_t entry, key;
  if (!deepest_entry(blank + 1, &entry, &key)) return;
  // Any number is taken; the entry keeps what fits its score field.
  StoreForced(key, HashEntry::BestMove(entry), int32_t(uint32_t(score) + HashEntry::VALUE_BIAS));
}

void handle_slave_mode(const char* line) {
  send_to_children("%s", line);
  const int32_t before = slave_mode;
  slave_mode = std::strlen(line) >= 11 ? std::atoi(line + 11) : 0;
  report_text("Slave mode set to %d (had been %d).", slave_mode, before);
}

void handle_stop();

// A test run asked for during a search, waiting for that search to end.
char pending_test_run[INPUT_LINE_SIZE];

// "tt [n]": three searches to a fixed depth, the first on the present
// position. The other two texts hold no "fen", so they set up the start
// position, as the position parser does with any such line.
void run_test_run(const char* line) {
  if (!configured.max_cpus) {
    max_cpus = 1;
    report_text("Max CPUs set to 1");
  }
  const int32_t depth = std::strlen(line) > 3 ? std::atoi(line + 3) + 2 : 10;
  static const char* const LINES[] = {
      nullptr,
      "4r3/1b2rp1k/1p1q1bpp/pP1p3P/P1pP4/4PB2/2Q2PP1/2R1RNK1 w - - 0 1",
      "2k5/pb1r1pr1/8/1qNp4/1ppB4/6P1/1P3PBP/R4RK1 b - - 0 1",
  };
  for (const char* text : LINES) {
    if (text) {
      std::snprintf(position_line, sizeof(position_line), "%s", text);
      parse_position_line(position_line);
    }
    char go[32];
    std::snprintf(go, sizeof(go), "go depth %d", depth);
    read_go_line(go);
    start_search();
    // A test run asked for meanwhile has stopped this one and comes next.
    if (pending_test_run[0]) return;
  }
}

void run_pending_test_runs() {
  while (pending_test_run[0]) {
    char line[INPUT_LINE_SIZE];
    std::snprintf(line, sizeof(line), "%s", pending_test_run);
    pending_test_run[0] = 0;
    run_test_run(line);
  }
}

// A search cannot run inside another, whose tree the Position stands in:
// the running one ends as on stop, with its best move, and the test run
// follows it.
void handle_test_run(const char* line) {
  if (is_searching) {
    std::snprintf(pending_test_run, sizeof(pending_test_run), "%s", line);
    return handle_stop();
  }
  run_test_run(line);
  run_pending_test_runs();
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

// Plays one move on the game position.
void handle_play(const char* line) {
  const char* word = std::strlen(line) > 5 ? line + 5 : "";
  char text[8] = {};
  std::snprintf(text, sizeof(text), "%.5s", word);
  if (char* blank = std::strchr(text, ' ')) *blank = 0;
  if (!append_to_position_line(text)) return;
  ApplyGameMove(TextToMove(text, true));
  RebuildDerived(&position);
}

}  // namespace

bool append_to_position_line(const char* move_text) {
  const char* list_word = std::strstr(position_line, "moves ") ? "" : " moves";
  const size_t used = std::strlen(position_line), words = std::strlen(list_word), move = std::strlen(move_text);
  if (used + words + move + 2 > sizeof(position_line)) return false;
  char* end = position_line + used;
  std::memcpy(end, list_word, words);
  end[words] = ' ';
  std::memcpy(end + words + 1, move_text, move + 1);
  return true;
}

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
  position_move_count = 0;
  last_position_move_captured = false;
  reset_notation_lines();
  if (move_list) {
    const char* p = move_list;
    while (*p == ' ') ++p;
    while (*p) {
      const Move move = TextToMove(p, true);
      last_position_move_captured = move && position.board[move_to(move)];
      note_position_move(p, std::strlen(p), position_move_count++);
      ApplyGameMove(move);
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
  // The root list holds the rows of a running search, or a result the front
  // end is still owed: a Clear Hash in the middle of either leaves it alone.
  if (is_idle()) clear_root_list();
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
  if (starts_with(line, "ucinewgame", 10) && is_idle()) {
    send_to_children("%s", line);
    return new_game_reset();
  }
  if (starts_with(line, "uci3", 4)) return handle_uci3();
  if (starts_with(line, "qvn3", 4)) return handle_qvn3();
  if (starts_with(line, "dwx3", 4)) return handle_dwx3();
  if (starts_with(line, "probe ", 6)) return handle_probe(line);
  if (starts_with(line, "write ", 6)) return handle_write(line);
  if (starts_with(line, "uci", 3)) return handle_uci();
  if (starts_with(line, "isready", 7)) return print_line("readyok");
  if (starts_with(line, "slave mode", 10)) return handle_slave_mode(line);
  // Lines that touch the Position wait for idle; otherwise they go on down
  // the chain, where nothing takes them.
  if (starts_with(line, "position", 8) && is_idle()) {
    send_to_children("%s", line);
    return handle_position(line);
  }
  if (starts_with(line, "play", 4) && is_idle()) return handle_play(line);
  if (starts_with(line, "deny", 4) && handle_deny(line)) return;
  if (line[0] == '!') return handle_set_hash_move(line);
  if (starts_with(line, "take", 4) && is_searching) return handle_take(line);
  if (starts_with(line, "tt", 2)) return handle_test_run(line);
  if (starts_with(line, "go", 2) && is_idle()) {
    handle_go(line);
    return run_pending_test_runs();
  }
  if (starts_with(line, "setoption name", 14)) return setoption_dispatch(std::strlen(line) > 15 ? line + 15 : "");
  if (line[0] == '#') return print_silent("#%" PRIu64, NodeFigure());
}

void read_and_dispatch_line() {
  char line[INPUT_LINE_SIZE];
  if (!input_read_line(line, sizeof(line))) fatal_exit("Input pipe corrupted or cut off");
  line[std::strcspn(line, "\n")] = 0;
  size_t length = std::strlen(line);
  if (length && line[length - 1] == '\r') line[length - 1] = 0;
  // "!" and "#" mark a controller's silent lines.
  if (line[0] != '!' && line[0] != '#') {
    log_line("-->> %s", line);
    send_to_visualizers("Echo Input: %s", line);
  }
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
