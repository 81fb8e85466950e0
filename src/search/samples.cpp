#include "search/samples.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "board/move.h"
#include "board/position.h"
#include "pool/slave_dialogue.h"
#include "report/output.h"
#include "report/search_lines.h"
#include "report/visualizers.h"
#include "search/search_common.h"
#include "shell/dialogue.h"

bool samples_on = false;

namespace {

constexpr int PATH_MOVES = 128, SAMPLE_PATH_MOVES = 19, LINE_PLIES = 14;
constexpr int32_t SAMPLE_DEPTH = 22;

// Samples are composed one at a time in these buffers.
char path_text[PATH_MOVES * 7 + 1];
char score_text[32];
char line_text[LINE_PLIES * 6 + 1];

// The moves from the root down to `node`, with "*" behind a forced one in
// the qvn3 flavour.
const char* PathText(const NodeRecord* node, int limit) {
  size_t used = 0;
  path_text[0] = 0;
  int count = 0;
  for (const NodeRecord* r = &node_stack[1]; r < node && count < limit; ++r, ++count) {
    used = AppendMoveWord(r->currentMove & ~MOVE_CHECK, path_text, sizeof(path_text), used);
    if (qvn3_invoked && r[1].nodeKind == 4 && used + 1 < sizeof(path_text)) {
      path_text[used++] = '*';
      path_text[used] = 0;
    }
  }
  return path_text[0] ? path_text + 1 : path_text;
}

// The node's value from White's side, in the short form; `bound` equal to
// the value marks it.
const char* ScoreShort(const NodeRecord* node, int32_t v, int32_t bound) {
  const int ply = PlyIndex(node);
  const int32_t rootView = ply & 1 ? v : -v;
  const int32_t w = node_stack[1].sideIndex == WHITE ? rootView : -rootView;
  int length;
  if (w >= -8000 && w <= 8000) {
    const int32_t a = w < 0 ? -w : w;
    length = std::snprintf(score_text, sizeof(score_text), "%s%d.%02d", w < 0 ? "-" : "+", a / 100, a % 100);
  } else {
    length = std::snprintf(score_text, sizeof(score_text), "#%d", w > 8000 ? (8160 - w) / 2 : (-8160 - w) / 2);
  }
  if (v == bound && length > 0)
    std::snprintf(score_text + length, sizeof(score_text) - size_t(length), "%s", ply & 1 ? "`--" : "`!");
  return score_text;
}

// The hash-walked line from the node on, short near the root only.
const char* LineText(const NodeRecord* node, Move m) {
  const int moves = LINE_PLIES - PlyIndex(node);
  line_text[0] = 0;
  if (moves > 0 && m) WalkLineOf(node->sideIndex, m, moves, line_text, sizeof(line_text));
  return line_text;
}

}  // namespace

void StartSamplesAt(int32_t d) {
  if (d >= SAMPLE_DEPTH && (qvn3_invoked || visualizer_attached())) samples_on = true;
}

void SendSample(const char* format, ...) {
  char text[2048];
  va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof(text), format, args);
  va_end(args);
  // With qvn3 the front end reads them (and the Visualizers get the copy of
  // every printed line); without it they belong to the Visualizers alone.
  if (qvn3_invoked)
    print_silent("%s", text);
  else
    send_to_visualizers("%s", text);
}

void NodeSample(NodeSampleKind kind, const NodeRecord* node, int32_t mode, int32_t v, Move m) {
  const int ply = PlyIndex(node);
  const char* path = PathText(node, SAMPLE_PATH_MOVES);
  switch (kind) {
    // These two come while the move is made: the line behind it is left
    // out, since the walker starts at the node's own position.
    case SAMPLE_UNCLEAR:
      SendSample("info sample %s %s [ %s isunclear %s ]", path, ScoreShort(node, v, v), MoveToText(m), "");
      break;
    case SAMPLE_BETTER:
      SendSample("info sample %s%s %s [ isbetter %s %s ]", mode == 3 ? "" : "isbetter ", path, ScoreShort(node, v, v),
                 MoveToText(m), "");
      break;
    case SAMPLE_WORSE: {
      // At an even ply the root's opponent is doing better than the line
      // assumed: said after the first move of the path.
      const char* blank = std::strchr(path, ' ');
      const int head = !(ply & 1) && blank ? int(blank - path) : int(std::strlen(path));
      SendSample("info sample %s%.*s%s%s %s", mode != 3 && (ply & 1) ? "isworse " : "", head, path,
                 head < int(std::strlen(path)) ? " ismuchbetter" : "", path + head, ScoreShort(node, v, v));
      break;
    }
    case SAMPLE_INSIDE:
      SendSample("info sample %s%s %s %s", mode == 3 ? "" : "isbetter ", path, ScoreShort(node, v, v + 1),
                 LineText(node, m));
      break;
  }
}

void NodeReport(const NodeRecord* node, int32_t v, int32_t alpha, int32_t beta, Move m) {
  if (v < -499 || v > 499) return;
  const int ply = PlyIndex(node);
  const bool even = !(ply & 1);
  char bound = '=';
  if (v >= beta) bound = even ? '<' : '>';
  else if (v <= alpha) bound = even ? '>' : '<';
  const char* path = PathText(node, SAMPLE_PATH_MOVES);
  SendSample("%c%d %s %d %s", bound, slave_id, path, even ? -v : v, ply < 20 ? LineText(node, m) : "");
}

void SampleAfterMove(const NodeRecord* node, int32_t mode, int32_t depth, int32_t v, int32_t alpha, int32_t beta,
                     Move m, bool first, Move hashMove, Move bestMove) {
  if (first || v > alpha) NodeReport(node, v, alpha, beta, m);
  if (!NodeSamples(mode, depth) || !(hashMove || bestMove)) return;
  if (first && v <= alpha && !bestMove) NodeSample(SAMPLE_WORSE, node, mode, v, m);
  if (v > alpha && v < beta) NodeSample(SAMPLE_INSIDE, node, mode, v, m);
}
