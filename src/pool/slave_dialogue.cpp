#include "pool/slave_dialogue.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "board/move.h"
#include "clock/budget.h"
#include "hash/table.h"
#include "pool/children.h"
#include "report/output.h"
#include "search/root_driver.h"
#include "search/search_state.h"
#include "report/search_lines.h"
#include "shell/dialogue.h"
#include "shell/options.h"

int32_t slave_id = 0;
int32_t good_move_depth = 100;

namespace {

// A controller's move word at `text`, read without the board: its squares
// and promotion are all that the comparisons need.
Move ControllerMove(const char* text) { return TextToMoveLenient(text, false); }

// A restart lands at the root driver's mark with the reduced list.
void RestartSearch(const char* why) {
  log_line("%s", why);
  if (!InsideSearch()) return;
  search_restart = true;
  JumpToStopMark();
}

void ClearRowsBehindFirst() {
  for (int i = 1; i < ROOT_LIST_SIZE && root_list[i].move; ++i) root_list[i].move = 0;
}

}  // namespace

bool SlaveReportsRow(int index, int32_t score) {
  if (index == 0 && multi_pv == 1) return true;
  return slave_mode == 2 && multi_pv == 2 && index == 1 && score < root_list[0].score - 100;
}

void SlaveReport(char bound, Move move, int32_t score, const char* pv) {
  const char* rest = std::strlen(pv) > 5 ? pv + 5 : "";
  print_slave("%c%d %s %d %s", bound, slave_id, MoveToText(move), score, rest);
}

char RowBound(const RootRecord& row) { return row.lower ? '>' : row.upper ? '<' : '='; }

bool SlaveCutsFirstMove() {
  return slave_mode == 2 && multi_pv == 2 && root_list[1].move && root_list[1].score + 120 < root_list[0].score;
}

bool handle_deny(const char* line) {
  if (!is_searching || !root_list[1].move || multi_pv < 2) return false;
  if (debug_mode) log_line("deny received at %" PRIu64, NodeFigure());
  send_to_children("%s", line);
  const Move denied = ControllerMove(std::strlen(line) > 5 ? line + 5 : "");
  --multi_pv;
  int kept = 0;
  for (int i = 0; i < ROOT_LIST_SIZE && root_list[i].move; ++i)
    if (!SameNamedMove(denied, root_list[i].move)) {
      if (kept != i) root_list[kept] = root_list[i];
      ++kept;
    }
  for (int i = kept; i < ROOT_LIST_SIZE && root_list[i].move; ++i) root_list[i].move = 0;
  const RootRecord& first = root_list[0];
  if (slave_lines && !is_child && multi_pv == 1 && first.move && first.depth >= SLAVE_REPORT_DEPTH)
    SlaveReport(RowBound(first), first.move, first.score, first.pv);
  if (current_root_move && SameNamedMove(denied, current_root_move))
    RestartSearch("Deny move is currently being searched, restarting.");
  return true;
}

void handle_take(const char* line) {
  send_to_children("%s", line);
  const Move taken = ControllerMove(std::strlen(line) > 5 ? line + 5 : "");
  const bool restart = !(SameNamedMove(taken, root_list[0].move) && current_root_move &&
                         SameNamedMove(taken, current_root_move));
  for (int i = 1; i < ROOT_LIST_SIZE && root_list[i].move; ++i)
    if (SameNamedMove(taken, root_list[i].move)) {
      root_list[0] = root_list[i];
      break;
    }
  ClearRowsBehindFirst();
  if (restart) RestartSearch("Jumping out of search - specified taken move not currently being searched.");
}

void handle_set_hash_move(const char* line) {
  uint64_t key = 0;
  char text[16] = {};
  if (std::sscanf(line + 1, "%" SCNx64 " %15s", &key, text) != 2 || !hash_words) return;
  const Move move = ControllerMove(text);
  const uint32_t index = HashIndex(key);
  for (uint32_t slot = 0; slot < 4; ++slot) {
    const uint64_t entry = HashRead(index ^ slot);
    if (!HashEntry::Matches(entry, key) || HashEntry::IsLower(entry) || !HashEntry::IsUpper(entry)) continue;
    const uint64_t moveBits = uint64_t(63) << HashEntry::TO_SHIFT | uint64_t(63) << HashEntry::FROM_SHIFT;
    const uint64_t placed = HashEntry::Make(0, move, 0, 0, 0, 0);
    HashWrite(index ^ slot, (entry & ~moveBits) | placed);
  }
}

void take_own_choice(int64_t elapsed) {
  if (!slave_lines || is_child || elapsed < move_time_limit || multi_pv != 1 || !root_list[1].move) return;
  const Move best = root_list[0].move;
  print_line("taking %d %s", slave_id, MoveToText(best));
  if (debug_mode) log_line("taking at %" PRIu64, NodeFigure());
  send_to_children("take %s", MoveToText(best));
  ClearRowsBehindFirst();
  if (!current_root_move || !SameNamedMove(best, current_root_move))
    RestartSearch("Jumping out of search - taken move of own choosing not currently being searched.");
}

void NoteGoodMove(uint64_t key, Move move) {
  static char text[48];
  std::snprintf(text, sizeof(text), "!%" PRIx64 " %s", key, MoveToText(move));
  if (slave_lines && !is_child) return;  // the controller reads its own reports instead
  log_line("%s", text);
}
