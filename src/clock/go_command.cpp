#include "clock/go_command.h"

#include <algorithm>
#include <cinttypes>
#include <cstdlib>
#include <cstring>

#include "board/move.h"
#include "board/position.h"
#include "board/quiet_masks.h"
#include "clock/budget.h"
#include "clock/node_count.h"
#include "clock/search_end.h"
#include "eval/pawn_cache.h"
#include "hash/table.h"
#include "platform/clock.h"
#include "pool/children.h"
#include "pool/slave_dialogue.h"
#include "pool/sync_area.h"
#include "tablebase/probe.h"
#include "report/diagram.h"
#include "report/html_log.h"
#include "report/output.h"
#include "report/search_lines.h"
#include "report/visualizers.h"
#include "search/root_driver.h"
#include "search/root_list.h"
#include "search/search_common.h"
#include "search/samples.h"
#include "search/search_margins.h"
#include "search/search_state.h"
#include "shell/dialogue.h"
#include "shell/identity.h"

bool play_mode = false;
uint64_t largest_clock = 0;
uint64_t expected_key = 0;
int32_t mate_limit = 0;
int32_t contempt = 0;
bool ponder_option = false;
bool limit_strength = false;
int32_t uci_elo = 1200;

namespace {

// The fixed tuning values of the budget.
constexpr int64_t SURPRISE_FACTOR = 18, INCREMENT_WEIGHT = 10, PONDER_FACTOR = 16;
// A far-off score keeps its budget: the factor pair is a tuning point.
constexpr uint64_t FAR_SCORE_NUMERATOR = 3, FAR_SCORE_DENOMINATOR = 3;

int32_t number(const char* word) { return word ? int32_t(std::strtol(word, nullptr, 10)) : 0; }

void reset_limits() {
  wait_for_gui = false;
  play_mode = false;
  ponder_search = false;
  min_score = -64000;
  depth_limit = 0x7ffffffe;
  iter_node_limit = node_limit = 0x7fffffffffffffffull;
  mate_limit = 0;
  max_time = NO_BUDGET;
  move_time_limit = NO_BUDGET;
  search_moves[0] = 0;
  contempt = 0;
  slave_lines = 0;
}

// The children search the same position without a clock of their own: they
// always run infinite, and the MainProcess ends their search.
void send_go_to_children() {
  if (child_pipe_count == 0) return;
  char moves[257 * 6 + 1] = "";
  size_t used = 0;
  for (const Move* m = search_moves; *m; ++m) used = AppendMoveWord(*m, moves, sizeof(moves), used);
  const char* play = play_mode ? "playmode " : "";
  const char* listed = search_moves[0] ? " searchmoves" : "";
  const char* miss = last_search_was_ponder_miss ? " lastsearchwaspmiss" : "";
  const unsigned date = unsigned(HashDate >> HashEntry::DATE_SHIFT);
  if (slave_lines)
    send_to_children("go slave %d contempt %d date %u %sinfinite%s%s%s", slave_lines, contempt, date, play, listed, miss,
                     moves);
  else
    send_to_children("go contempt %d date %u %sinfinite%s%s%s", contempt, date, play, listed, miss, moves);
}

// Child 3 of an ordinary search keeps two exact lines for the MainProcess's
// margin, and walks its quiet moves in the usual order.
void set_process_role() {
  const bool third = is_child && child_number == 3 && !slave_lines;
  if (third) {
    multi_pv = 2;
    multi_pv_cp = 20000;
  }
  shuffle_quiet_lists = is_child && !third;
}

// What this process publishes starts empty: the MainProcess clears the
// header and every slot, child 3 its lines of the header, each process
// its own slot.
void clear_own_reports() {
  if (child_number == 0) {
    for (int32_t i = 0; i < REPORT_CLEARED_WORDS; ++i) ReportWrite(i, 0);
    return;
  }
  if (child_number == 3)
    for (int32_t i = Report::THIRD_FIRST; i < Report::THIRD_SECOND + 3; ++i) ReportWrite(i, 0);
  for (int32_t i = 0; i < 4; ++i) ReportWrite(Report::Slot(child_number) + i, 0);
}

}  // namespace

void compute_budget(int64_t ownTime, int64_t increment, int64_t movesToGo) {
  const int64_t TC_BUFFER_S = time_settings.buffer_s;
  const int64_t TC_HARD_BUFFER = time_settings.hard_buffer_ms;
  const int64_t TC_HARD_MOVE_TIME = time_settings.hard_move_time_ms;
  const int64_t TC_NORMAL_MOVE_TIME = time_settings.normal_move_time;
  const int64_t TC_MAX_MOVE_TIME = time_settings.max_move_time;
  if (uint64_t(ownTime) > largest_clock) largest_clock = uint64_t(ownTime);
  target_time = NO_BUDGET;
  const int64_t A = largest_clock < 90000 ? 60 : largest_clock < 150000 ? 51 : 48;
  const int64_t B = largest_clock < 90000 ? 44 : 42;
  const int64_t C = largest_clock < 150000 ? 6 : 4;
  if (ownTime < 1 && increment < 1) return;
  play_mode = true;
  int64_t reserve = 0;
  if (!increment && !movesToGo) {
    const int32_t x = int32_t(ownTime - TC_HARD_BUFFER);
    reserve = x > TC_BUFFER_S * 2000 ? TC_BUFFER_S * 1000 : x / 2;
  }
  int64_t avail = ownTime - TC_HARD_BUFFER - reserve;
  if (avail < TC_HARD_MOVE_TIME) avail = TC_HARD_MOVE_TIME;
  int64_t target = avail / A * TC_NORMAL_MOVE_TIME / 100;
  int64_t maxt = avail / C * TC_MAX_MOVE_TIME / 100;
  const bool surprise = position.state.key != expected_key;
  if (movesToGo) {
    const int64_t share = avail / movesToGo * 5 / 10;
    const int64_t t2 = share * TC_NORMAL_MOVE_TIME / 100;
    int64_t m2 = share * TC_MAX_MOVE_TIME * 8 / 100;
    if (surprise) m2 = m2 * 15 / 10;
    const int64_t m3 = (movesToGo + 1) * avail / (2 * movesToGo);
    max_time = m3 < m2 ? m3 : m2;
    target = t2 > target ? t2 : target;
    maxt = max_time > maxt ? max_time : maxt;
  } else if (increment) {
    if (60 * increment < ownTime) {
      const int64_t k = ownTime / 60 > 1 ? ownTime / 60 : 1;
      target = avail / int32_t(((k - increment) * A + increment * B) / k) * TC_NORMAL_MOVE_TIME / 100;
      maxt = avail / int32_t(((k - increment) * C + 2 * increment) / k) * TC_MAX_MOVE_TIME / 100;
    } else {
      target = avail / B * TC_NORMAL_MOVE_TIME / 100;
      maxt = avail / 2 * TC_MAX_MOVE_TIME / 100;
    }
  } else if (ownTime < TC_HARD_BUFFER) {
    depth_limit = 2 * time_settings.hard_move_depth;
  }
  if (increment > 0) {
    target += INCREMENT_WEIGHT * increment / 10 * TC_NORMAL_MOVE_TIME / 100;
    maxt += 2 * TC_MAX_MOVE_TIME * increment / 100;
  }
  if (ponder_option) target = target * PONDER_FACTOR / 10;
  if (surprise) target = target * SURPRISE_FACTOR / 10;
  if (maxt > avail) maxt = avail;
  if (target > avail) target = avail;
  max_time = maxt;
  if (target > maxt) target = maxt;
  if (root_list[0].score < -200 || root_list[0].score > 200)
    target = int64_t(uint64_t(target) * FAR_SCORE_NUMERATOR / FAR_SCORE_DENOMINATOR);
  target_time = target > TC_HARD_MOVE_TIME ? target : TC_HARD_MOVE_TIME;
  if (max_time > ownTime) max_time = ownTime;
  if (max_time < TC_HARD_MOVE_TIME) max_time = TC_HARD_MOVE_TIME;
  log_line("                    target_time: %" PRIu64 "     max_time: %" PRIu64 "     %s", uint64_t(target_time),
           uint64_t(max_time), ponder_option ? "ponder mode" : "non-ponder mode");
}

void read_go_line(char* line) {
  reset_limits();
  char* save = nullptr;
  char* word = strtok_r(line, " \t", &save);
  goe_mode = word && std::strcmp(word, "goe") == 0;
  int64_t ownTime = 0, increment = 0, movesToGo = 0;
  int32_t clocks[2] = {0, 0};  // for the diagram, ms
  int searchMoves = 0;
  const bool white = sideToMove == WHITE;
  while ((word = strtok_r(nullptr, " \t", &save))) {
    const auto value = [&]() { return strtok_r(nullptr, " \t", &save); };
    if (white && !std::strcmp(word, "winc")) increment = number(value()), contempt = 15;
    else if (!white && !std::strcmp(word, "binc")) increment = number(value()), contempt = -15;
    else if (!std::strcmp(word, "wtime")) {
      const int32_t v = clocks[WHITE] = number(value());
      if (white) ownTime = v, contempt = 15;
    } else if (!std::strcmp(word, "btime")) {
      const int32_t v = clocks[BLACK] = number(value());
      if (!white) ownTime = v, contempt = -15;
    } else if (!std::strcmp(word, "minscore")) min_score = number(value());
    else if (!std::strcmp(word, "depth")) {
      const char* text = value();
      double v = text ? std::strtod(text, nullptr) : 0;
      if (text && std::strstr(text, ",5")) v += 0.5;
      depth_limit = int32_t(v * 2);
      if (goe_mode) node_limit = uint64_t(double(uint64_t(1) << std::clamp(depth_limit / 2, 0, 62)) * 300);
    } else if (!std::strcmp(word, "iternodes")) {
      const char* text = value();
      iter_node_limit = text ? std::strtoull(text, nullptr, 10) : 0;
    } else if (!std::strcmp(word, "calc_nodes")) {
      const char* text = value();
      const uint64_t v = text ? std::strtoull(text, nullptr, 10) : 0;
      node_limit = v >= 2101 ? v - 2000 : 100;
    } else if (!std::strcmp(word, "mate")) mate_limit = int32_t(std::llabs(number(value())));
    else if (!std::strcmp(word, "infinite")) wait_for_gui = true;
    else if (!std::strcmp(word, "ponder")) wait_for_gui = ponder_search = true;
    else if (!std::strcmp(word, "lastsearchwaspmiss")) last_search_was_ponder_miss = true;
    else if (!std::strcmp(word, "playmode")) play_mode = true;
    else if (!std::strcmp(word, "movestogo")) movesToGo = number(value());
    else if (!std::strcmp(word, "movetime")) {
      const int32_t v = number(value());
      move_time_limit = v < 31 ? 10 : v - 20;
    } else if (!std::strcmp(word, "id")) slave_id = number(value());
    else if (!std::strcmp(word, "slave")) {
      slave_lines = number(value());
      if (slave_lines > 0) multi_pv = std::min(slave_lines, int32_t(ROOT_LIST_SIZE));
    }
    else if (!std::strcmp(word, "goodmovedepth")) good_move_depth = number(value());
    else if (!std::strcmp(word, "contempt")) contempt = number(value());
    else if (!std::strcmp(word, "date")) SetHashDate(uint32_t(number(value())) & 3);
    else if (const Move m = TextToMove(word, true); m && searchMoves < 256) {
      search_moves[searchMoves++] = m;
      search_moves[searchMoves] = 0;
    }
  }
  write_ascii_diagram(uci_log, white, clocks[WHITE] / 1000, clocks[BLACK] / 1000, &uci_log_lines);
  compute_budget(ownTime, increment, movesToGo);
}

void handle_go(char* line) {
  read_go_line(line);
  start_search();
}

int32_t limited_strength_depth(int32_t elo) {
  // Half plies by Elo: each row is the lowest rating that still gets fewer.
  constexpr int32_t ELO_BELOW[] = {1420, 1620, 1800, 1960, 2100, 2220, 2320, 2410,
                                   2490, 2560, 2620, 2675, 2725, 2770, 2810};
  int32_t depth = 2;
  for (const int32_t bound : ELO_BELOW) {
    if (elo < bound) return depth;
    depth += 2;
  }
  return depth;
}

void prepare_search() {
  set_tablebase_probe_depth();
  if (limit_strength) depth_limit = limited_strength_depth(uci_elo);
  if (randomizer_table) MarkRandomizerPosition(position.state.key);
  send_go_to_children();
  ComputeSearchMargins();
  SelectQuietMasks(MaterialStage(position));
  set_process_role();
  AdvanceHashDate();
  AgePawnCache();
  last_search_was_ponder_miss = false;
  iteration_time_out = false;
  stop_pending = false;
  largest_printed_nodes = 0;
  tbhits = 0;
  root_pv_search = false;
  samples_on = false;
  is_searching = true;
  reset_node_count();
  std::memset(node_stack, 0, sizeof(NodeRecord) * NODE_STACK_SIZE);
  clear_own_reports();
  search_start = tick_ms();
  bestmove_open = true;
  ponderhit_seen = false;
}

void start_search() {
  if (!IsPositionConsistent()) {
    send_line("bestmove 0000");
    return;
  }
  prepare_search();
  if (sideToMove == WHITE) RootDriver<WHITE>();
  else RootDriver<BLACK>();

  send_to_visualizers("endsearch");
  is_searching = false;
  if (root_list[0].move && root_list[0].depth > 0 && root_list[0].score > min_score) SendRootLine(0, true);
  end_html_rows();
  if (wait_for_gui) log_line("ponder/infinite search finished, waiting for GUI");
  else end_of_search();
}
