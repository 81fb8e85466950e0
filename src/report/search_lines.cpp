#include "report/search_lines.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "board/move.h"
#include "board/position.h"
#include "clock/node_count.h"
#include "hash/table.h"
#include "platform/clock.h"
#include "report/html_log.h"
#include "report/output.h"
#include "search/node_support.h"
#include "search/root_list.h"
#include "search/root_moves.h"
#include "search/search_state.h"
#include "shell/identity.h"

uint64_t search_start = 0;
uint64_t largest_printed_nodes = 0;

namespace {

// Scratch records for the walker's maps, apart from the search's stack.
NodeRecord walk_records[4];

template <int Us>
Move TableMove(NodeRecord* node) {
  const uint64_t key = position.state.key;
  return FindLegalMove<Us>(BucketMove(LoadBucket(key), key), node);
}

// Makes the line move by move on the Position, writing the texts, and takes
// it all back.
template <int Us>
void Walk(Move m, int left, char* out, size_t size, uint64_t* seen, int depth) {
  if (!m || left <= 0 || size < 7) return;
  const int written = MoveToText(m, out);
  out[written] = 0;
  SavedState saved;
  const PeriodicCheckHold hold;
  MakeMove<Us>(m, &saved, &walk_records[1]);
  seen[depth] = position.state.key;
  bool repeated = false;
  for (int i = 0; i < depth; ++i) repeated |= seen[i] == position.state.key;
  if (!repeated && left > 1) {
    const Move next = TableMove<Us ^ 1>(&walk_records[2]);
    if (next) {
      out[written] = ' ';
      Walk<Us ^ 1>(next, left - 1, out + written + 1, size - size_t(written) - 1, seen, depth + 1);
      if (!out[written + 1]) out[written] = 0;
    }
  }
  UnmakeMove<Us>(m, &saved);
}

}  // namespace

void ScoreText(int32_t v, char* buffer, size_t size) {
  if (v >= -8000 && v <= 8000) std::snprintf(buffer, size, "cp %d", v);
  else if (v == -8160) std::snprintf(buffer, size, "mate -1");
  else if (v > 8000) std::snprintf(buffer, size, "mate %d", (8160 - v) / 2 + 1);
  else {
    const int d = (-8160 - v) / 2;
    std::snprintf(buffer, size, "mate %d", d + 1 >= 1 ? d + 1 : d);
  }
}

void WalkLine(Move first, int length, char* buffer, size_t size) { WalkLineOf(sideToMove, first, length, buffer, size); }

void WalkLineOf(int side, Move first, int length, char* buffer, size_t size) {
  buffer[0] = 0;
  uint64_t seen[256];
  if (length > 250) length = 250;
  if (side == WHITE) Walk<WHITE>(first, length, buffer, size, seen, 0);
  else Walk<BLACK>(first, length, buffer, size, seen, 0);
}

void WalkTableLine(int side, int length, char* buffer, size_t size) {
  buffer[0] = 0;
  if (length <= 0) return;
  const Move first = side == WHITE ? TableMove<WHITE>(&walk_records[2]) : TableMove<BLACK>(&walk_records[2]);
  WalkLineOf(side, first, length, buffer, size);
}

Move ReplyFromTable(Move first) {
  SavedState saved;
  const PeriodicCheckHold hold;
  Move reply;
  if (sideToMove == WHITE) {
    MakeMove<WHITE>(first, &saved, &walk_records[1]);
    reply = TableMove<BLACK>(&walk_records[2]);
    UnmakeMove<WHITE>(first, &saved);
  } else {
    MakeMove<BLACK>(first, &saved, &walk_records[1]);
    reply = TableMove<WHITE>(&walk_records[2]);
    UnmakeMove<BLACK>(first, &saved);
  }
  return reply;
}

bool IsLegalHere(Move m) {
  NodeRecord* scratch = &walk_records[1];
  return (sideToMove == WHITE ? FindLegalMove<WHITE>(m, scratch) : FindLegalMove<BLACK>(m, scratch)) != 0;
}

uint64_t NodeFigure() {
  const int32_t processes = process_count > 1 ? process_count : 1;
  return uint64_t(double(counted_nodes()) * processes);
}

uint64_t SearchTime() { return tick_ms() - search_start + 1; }

void SendRootLine(int index, bool final) {
  const RootRecord& row = root_list[index];
  char multi[24] = "", score[24], hits[40] = "";
  if (multi_pv != 1) std::snprintf(multi, sizeof(multi), " multipv %d", index + 1);
  ScoreText(row.score, score, sizeof(score));
  const char* bound = row.lower ? " lowerbound" : row.upper ? " upperbound" : "";
  const uint64_t time = final ? SearchTime() : row.time;
  const uint64_t nodes = final ? NodeFigure() : row.nodes;
  if (row.tbhits) std::snprintf(hits, sizeof(hits), "tbhits %" PRIu64 " ", row.tbhits);
  const uint64_t nps = time ? nodes * 1000 / time : 0;
  const bool fresh = row.nodes > largest_printed_nodes;
  if (final || fresh) largest_printed_nodes = row.nodes > largest_printed_nodes ? row.nodes : largest_printed_nodes;
  const char* format = "info%s depth %d score %s%s time %" PRIu64 " nodes %" PRIu64 " nps %" PRIu64 " %spv %s";
  if (fresh) send_line(format, multi, row.depth / 2, score, bound, time, nodes, nps, hits, row.pv);
  else send_line_quiet(format, multi, row.depth / 2, score, bound, time, nodes, nps, hits, row.pv);
  if (!final) html_root_report(row, index == 0);
}

void SendRootLines(int32_t minDepth) {
  for (int i = 0; i < multi_pv && i < ROOT_LIST_SIZE && root_list[i].move; ++i)
    if (root_list[i].depth >= minDepth) SendRootLine(i, false);
}
