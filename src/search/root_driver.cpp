#include "search/root_driver.h"

#include <algorithm>
#include <csetjmp>
#include <cinttypes>
#include <cstdlib>
#include <cstring>

#include "board/make_unmake.h"
#include "board/move.h"
#include "board/position.h"
#include "clock/budget.h"
#include "clock/go_command.h"
#include "clock/iteration_end.h"
#include "clock/node_count.h"
#include "eval/eval_settings.h"
#include "hash/table.h"
#include "pool/slave_dialogue.h"
#include "pool/sync_area.h"
#include "report/html_log.h"
#include "report/output.h"
#include "report/search_lines.h"
#include "report/visualizers.h"
#include "search/node_search.h"
#include "search/node_support.h"
#include "search/root_list.h"
#include "search/root_moves.h"
#include "search/samples.h"
#include "search/search_common.h"
#include "search/search_state.h"
#include "shell/dialogue.h"
#include "shell/identity.h"
#include "tablebase/probe.h"

Move search_moves[257];
Move current_root_move = 0;
int32_t current_root_number = 0;
int32_t current_depth = 0;
bool always_score_main_move = false;
bool display_upperbounds = false;
Move root_hash_move = 0;
bool stop_pending = false;

namespace {

std::jmp_buf stop_mark;
// The fail-low report's line from the table is kept short.
constexpr int FAIL_LOW_LINE_MOVES = 14;
// Above every row's depth: a report of the first row alone.
constexpr int32_t ROOT_LIST_DEPTH_NONE = 0x7fffffff;
bool stop_mark_set = false;
int32_t multi_pv_floor = -8190;

// Sides of the records, alternating from the root's.
void PrepareStack(int rootSide) {
  for (int i = 0; i < NODE_STACK_SIZE; ++i) {
    const int side = (i & 1) ? rootSide : rootSide ^ 1;
    node_stack[i].sideIndex = side;
    node_stack[i].sideSign = side == WHITE ? 1 : -1;
    node_stack[i].otherSign = -node_stack[i].sideSign;
  }
}

// How many entries of the go line's search moves name this move.
int SearchMoveMatches(Move m) {
  int matches = 0;
  for (const Move* s = search_moves; *s; ++s) matches += SameNamedMove(*s, m);
  return matches;
}

// Steps 1 to 10 of the set-up: the root record evaluated, every legal move
// numbered against the search moves, the list sorted by its words. Returns
// the number of root moves.
template <int Us>
int BuildRootList() {
  NodeRecord* root = &node_stack[1];
  PrepareStack(Us);
  node_stack[0].currentMove = 0;
  node_stack[0].moveNumber = 0;
  root->moveNumber = 0;
  FullScore<Us>(root);
  clear_root_list();

  Move list[256], kept[256];
  const Move* end = CandidateMoves<Us>(list, root);
  clear_html_root_moves();
  const bool inCheck = KingInCheck<Us>();
  int count = 0;
  for (const Move* p = list; p < end; ++p) {
    const Move m = *p;
    SavedState saved;
    MakeMove<Us>(m, &saved, root);
    int number = KingInCheck<Us>() ? 0 : 31;
    if (number) FullScore<Us ^ 1>(root + 1);
    UnmakeMove<Us>(m, &saved);
    if (!search_moves[0]) ++number;
    if (inCheck && is_castling(m)) number = 0;
    number += SearchMoveMatches(m);
    if (number >= 32) kept[count++] = m;
    if (number >= 31) note_html_root_move(MoveToText(m), number >= 32);
  }
  // The table's move for the root, kept for the reports; the order stays
  // that of the words.
  const uint64_t key = position.state.key;
  const Move form = BucketMove(LoadBucket(key), key);
  root_hash_move = form ? HashMoveToMove<Us>(form) : 0;
  // Largest word first; ties cannot occur between different moves.
  for (int i = 1; i < count; ++i)
    for (int j = i; j > 0 && kept[j] > kept[j - 1]; --j) std::swap(kept[j], kept[j - 1]);
  if (count == 1) target_time = max_time = 50;
  for (int i = 0; i < count; ++i) root_list[i].move = kept[i];
  if (!count) root_list[0].score = inCheck ? -KING_CAPTURE_SCORE : 0;
  return count;
}

// Shows the first row as an upper bound of `score` at depth d, with the
// figures of this moment, and puts the row back. `walk` rebuilds its line
// from the table; `minDepth` picks the other rows shown with it (none when
// above every row's depth).
void ShowFirstRowUpperBound(Move m, int32_t d, int32_t score, bool walk, int32_t minDepth) {
  static RootRecord saved;
  saved = root_list[0];
  RootRecord& row = root_list[0];
  row.move = m;
  row.depth = d;
  row.score = score;
  row.lower = 0;
  row.upper = 1;
  row.time = SearchTime();
  row.nodes = NodeFigure();
  row.tbhits = tbhits;
  if (walk) WalkLine(m, FAIL_LOW_LINE_MOVES, row.pv, sizeof(row.pv));
  SendRootLine(0, false);
  for (int i = 1; i < multi_pv && i < ROOT_LIST_SIZE && root_list[i].move; ++i)
    if (root_list[i].depth >= minDepth) SendRootLine(i, false);
  root_list[0] = saved;
}

// The root moves in their present order, for a front end that asked for
// them; shallow iterations give an empty list.
void SendRootMoveOrder(int32_t d) {
  static char text[ROOT_LIST_SIZE * 6 + 1];
  size_t used = 0;
  text[0] = 0;
  for (int i = 0; d >= 14 && i < ROOT_LIST_SIZE && root_list[i].move; ++i)
    used = AppendMoveWord(root_list[i].move, text, sizeof(text), used);
  send_line("info allmoves%s", text);
}

// The root move this process searches with the open window, for the other
// processes' time decisions; 0 when none.
void PublishCurrentMove(Move m) { ReportWrite(Report::Slot(child_number) + Report::CURRENT, int64_t(m)); }

void PublishLine(int32_t index, const RootRecord& row) {
  ReportWrite(index, row.score);
  ReportWrite(index + 1, int64_t(row.move));
  ReportWrite(index + 2, row.depth);
}

// After a row has moved: the MainProcess's best line and child 3's two
// lines go to the header once they are deep enough to steer time; every
// process keeps its own best in its slot.
void PublishRootRows() {
  const RootRecord& best = root_list[0];
  if (best.depth >= 8) {
    if (child_number == 0) PublishLine(Report::MAIN_SCORE, best);
    if (child_number == 3 && multi_pv > 1) {
      PublishLine(Report::THIRD_FIRST, best);
      PublishLine(Report::THIRD_SECOND, root_list[1]);
    }
  }
  const int32_t slot = Report::Slot(child_number);
  ReportWrite(slot + Report::MOVE, int64_t(best.move));
  ReportWrite(slot + Report::SCORE, best.score);
  ReportWrite(slot + Report::DEPTH, best.depth);
  PublishCurrentMove(0);
}

// A child walks the later root moves in an order of its own at every
// iteration: rows behind the kept lines drift by random neighbour swaps.
void ShuffleLaterRows() {
  for (int round = 0; round < 20 && is_child; ++round)
    for (int k = multi_pv + 2; k < ROOT_LIST_SIZE && root_list[k].move; ++k)
      if (std::rand() & 1) std::swap(root_list[k], root_list[k - 1]);
}

template <int Us>
int32_t RootMoveLoop(int32_t alpha, int32_t beta, int32_t d) {
  constexpr int Them = Us ^ 1;
  NodeRecord* root = &node_stack[1];
  multi_pv_floor = -8190;
  // The root's own probe only counts its hit for the lines shown.
  int32_t table;
  if (TablebaseGate(d)) ProbeTablebase(&table, Us);
  if (dwx3_invoked) SendRootMoveOrder(d);
  for (int i = 0; i < ROOT_LIST_SIZE && root_list[i].move && alpha < beta; ++i) {
    const Move m = root_list[i].move;
    current_root_move = m;
    current_root_number = i + 1;
    // SearchTime counts one more than the milliseconds that have passed.
    if (!slave_lines && d >= 28 && SearchTime() - 1 > 1000)
      send_progress_line("info currmove %s currmovenumber %d", MoveToText(m), i + 1);
    SavedState saved;
    MakeMove<Us>(m, &saved, root);
    // A move back into a position of an earlier game must beat alpha by the
    // threshold, which spreads the openings of a series of games.
    const int32_t t = RandomizerMarked(position.state.key) ? randomizer_threshold : 0;
    const bool check = KingInCheck<Them>();
    root->currentMove = check ? m | MOVE_CHECK : m & ~MOVE_CHECK;
    root->moveNumber = uint32_t(i + 1);
    const int32_t childDepth = d - 2 + (check ? 1 : 0);
    const RootRecord& row = root_list[i];
    const bool first = i == 0 && multi_pv == 1;
    const int32_t cut = i == 0 && SlaveCutsFirstMove() ? 2 : 0;
    int32_t score;
    const bool principal = d < 4 || (row.depth >= d - 2 && alpha < row.score && i < multi_pv);
    const bool tableHit = TablebaseGate(d) && ProbeTablebase(&table, Them);
    if (tableHit) {
      score = -table;
    } else if (principal) {
      if (samples_on) SendSample("info sample %s issearching", MoveToText(m));
      PublishCurrentMove(m);
      // Each full-window search keeps its own note of the shallowest fail low.
      pv_note_ply = 256;
      root_pv_search = true;
      score = -(t + PvSearch<Them>(-(beta + t), -(alpha + t), childDepth - cut, check, root + 1, first ? 3 : 0, 0));
      root_pv_search = false;
      if (display_upperbounds && i == 0 && score <= alpha && d >= 8) ShowFirstRowUpperBound(m, d, score, false, d - 2);
      // The first move's exact value, whatever the window made of it.
      if (always_score_main_move && i == 0)
        score = -(t + PvSearch<Them>(-(beta + t), 30000, childDepth - cut, check, root + 1, first ? 3 : 0, 0));
    } else {
      if (samples_on) SendSample("info sample isworse %s %s", root_list[0].pv, MoveToText(m));
      score = -(t + NullWindowSearch<Them>(-(alpha + t), childDepth, check, root + 1, 0, ROOT_LATE_MOVE_FLAGS,
                                           d - childDepth, 0));
      if (score > alpha) {
        root_pv_search = true;
        PublishCurrentMove(m);
        if (samples_on) SendSample("info sample %s isunclear", MoveToText(m));
        score = -(t + ScoutSearch<Them>(-(alpha + t), childDepth, check, root + 1, 0));
        if (score > alpha && samples_on) SendSample("info sample %s isbetter", MoveToText(m));
        if (score > alpha) {
          pv_note_ply = 256;
          score = -(t + PvSearch<Them>(-(beta + t), -(alpha + t), childDepth, check, root + 1, first ? 1 : 0, 0));
        }
        root_pv_search = false;
      }
    }
    UnmakeMove<Us>(m, &saved);

    // A deny during the search may have moved the rows up: the move's row
    // is found again, and the next unsearched row follows it.
    while (i > 0 && !SameNamedMove(m, root_list[i].move)) --i;
    if (!SameNamedMove(m, root_list[i].move)) break;
    const RootRecord& found = root_list[i];
    // A fail low of the open-window search; a table value is no search.
    if (principal && !tableHit && d >= SLAVE_REPORT_DEPTH && score <= alpha && SlaveReportsRow(i, score))
      SlaveReport('<', m, score, found.pv);
    if (found.depth >= d - 2 && found.score > alpha && score <= alpha) {
      // The move that looked best has failed low: the front end hears of it.
      if (i == 0 && d >= 8) ShowFirstRowUpperBound(m, d, score, true, ROOT_LIST_DEPTH_NONE);
      PublishCurrentMove(0);
      continue;
    }
    if (score <= alpha) {
      PublishCurrentMove(0);
      continue;
    }
    // The row climbs over every row not yet known as good at this depth.
    static RootRecord moved;
    moved = found;
    int p = i;
    while (p > 0 && (root_list[p - 1].depth < d || root_list[p - 1].score < score)) {
      root_list[p] = root_list[p - 1];
      --p;
    }
    moved.depth = d;
    moved.score = score;
    moved.upper = 0;
    moved.lower = score >= beta;
    moved.time = SearchTime();
    moved.nodes = NodeFigure();
    moved.tbhits = tbhits;
    WalkLine(m, slave_lines ? 15 : 30, moved.pv, sizeof(moved.pv));
    root_list[p] = moved;
    PublishRootRows();
    if (d >= SLAVE_REPORT_DEPTH && SlaveReportsRow(p, score)) SlaveReport(moved.lower ? '>' : '=', m, score, moved.pv);
    if (d >= 8) SendRootLines(d - 2);
    const int32_t keep = root_list[0].score - multi_pv_cp;
    if (keep > alpha) alpha = keep;
    const RootRecord& last = root_list[multi_pv - 1];
    if (last.depth == d && last.score > alpha) alpha = multi_pv_floor = last.score;
  }
  current_root_move = 0;
  ShuffleLaterRows();
  if (!slave_lines && d >= 8) {
    const uint64_t time = SearchTime(), nodes = NodeFigure();
    char hits[40] = "";
    if (tbhits) std::snprintf(hits, sizeof(hits), "tbhits %" PRIu64, tbhits);
    send_line_quiet("info depth %d time %" PRIu64 " nodes %" PRIu64 " nps %" PRIu64 " %s", d / 2, time, nodes,
                    nodes * 1000 / time, hits);
  }
  return alpha;
}

template <int Us>
int32_t AspirationDriver(int32_t d) {
  pv_note_ply = 256;
  const int32_t last = root_list[0].score;
  // The controller's floor under the window, held within the scores a
  // search can give, so that no minscore of a go line wraps.
  const int32_t floor = std::clamp(min_score, 1 - KING_CAPTURE_SCORE, KING_CAPTURE_SCORE) - 1;
  if (d >= 6 && multi_pv == 1 && last >= -500 && last <= 500) {
    int32_t alpha = std::max(last - 15, floor), beta = alpha + 27, step = 20;
    bool first = true;
    for (;;) {
      NoteFirstTry(first);
      const int32_t r = RootMoveLoop<Us>(alpha, beta, d);
      if ((r > alpha && r < beta) || r < min_score) return r;
      const int32_t widen = first ? step - 5 : step;
      step *= 2;
      first = false;
      if (r > alpha) beta += widen;
      else alpha -= widen;
    }
  }
  return RootMoveLoop<Us>(floor, KING_CAPTURE_SCORE, d);
}

}  // namespace

template <int Us>
void RootDriver() {
  ApplyPieceAdjustments(play_mode);
  const int count = BuildRootList<Us>();
  write_html_diagram(html_root_moves_text());
  begin_html_rows();
  if (!count) return;
  if (setjmp(stop_mark)) {
    // Landed from a stop inside the search: the Position is wherever the
    // search was; the last position line is its source.
    log_line("restored position: %s", position_line);
    parse_position_line(position_line);
    ApplyPieceAdjustments(play_mode);
    PrepareStack(Us);
    if (!search_restart) {
      stop_mark_set = false;
      return;
    }
    search_restart = false;
  }
  if (stop_pending) return;  // a stop came while the table was being built
  stop_mark_set = true;
  int root_moves = 0;
  while (root_list[root_moves].move) ++root_moves;
  send_to_visualizers("newsearch %d moves %s", root_moves, Us == WHITE ? "wtm" : "btm");
  for (int32_t d = 2 + (depth_limit & 1); d < MAX_ITERATION; d += 2) {
    current_depth = d;
    StartSamplesAt(d);
    if (!slave_lines && d >= 8) send_progress_line("info depth %d", d / 2);
    AspirationDriver<Us>(d);
    if (IterationEndTest(d)) break;
  }
  stop_mark_set = false;
}

bool InsideSearch() { return stop_mark_set; }

void JumpToStopMark() {
  if (!stop_mark_set) fatal_exit("Stop outside of a search");
  std::longjmp(stop_mark, 1);
}

template void RootDriver<WHITE>();
template void RootDriver<BLACK>();
