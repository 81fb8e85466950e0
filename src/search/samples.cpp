#include "search/samples.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "board/move.h"
#include "board/position.h"
#include "pool/slave_dialogue.h"
#include "report/html_log.h"
#include "report/output.h"
#include "report/search_lines.h"
#include "report/visualizers.h"
#include "search/node_support.h"
#include "search/root_driver.h"
#include "search/root_list.h"
#include "search/search_common.h"
#include "shell/dialogue.h"

bool samples_on = false;
bool html_first_try = false;

namespace {

constexpr int PATH_MOVES = 128, SAMPLE_PATH_MOVES = 19, LINE_PLIES = 14;
constexpr int32_t SAMPLE_DEPTH = 22;
constexpr uint64_t ALTERNATIVE_MS = 250;

// Samples are composed one at a time in these buffers.
char path_text[PATH_MOVES * 12 + 1];
char score_text[32];
char line_text[LINE_PLIES * 6 + 1];

// The root as the paths are notated from it, taken before each iteration.
NotationBoard root_board;

// The html note: the shallowest ply of this iteration's alternatives, and
// the last one noted, by its move and the node's key.
int html_note_ply = 256;
char noted_move[8];
uint64_t noted_key;

// The moves from the root down to `node` in short algebraic (figurines for
// the html log), with "*" behind a forced one in the qvn3 flavour; `at`
// gets the board of the node.
const char* PathText(const NodeRecord* node, int limit, bool figurines, NotationBoard* at = nullptr) {
  NotationBoard board = root_board;
  board.letters = !figurines;
  path_text[0] = 0;
  int count = 0;
  for (const NodeRecord* r = &node_stack[1]; r < node && count < limit; ++r, ++count) {
    char word[8];
    word[MoveToText(r->currentMove & ~MOVE_CHECK, word)] = 0;
    const size_t used = std::strlen(path_text);
    notate_line(&board, word, path_text, sizeof(path_text));
    if (std::strlen(path_text) == used) break;
    if (qvn3_invoked && r->nodeKind == 4 && std::strlen(path_text) + 1 < sizeof(path_text))
      std::strcat(path_text, "*");
  }
  if (at) *at = board;
  return path_text;
}

// A node's value from White's side.
int32_t WhiteView(const NodeRecord* node, int32_t v) {
  const int32_t rootView = PlyIndex(node) & 1 ? v : -v;
  return node_stack[1].sideIndex == WHITE ? rootView : -rootView;
}

// The node's value from White's side in the short form of the html log;
// `bound` equal to the value marks it.
const char* ScoreShort(const NodeRecord* node, int32_t v, int32_t bound) {
  const int length = pawn_score_text(WhiteView(node, v), score_text, sizeof(score_text));
  if (v == bound && length > 0)
    std::snprintf(score_text + length, sizeof(score_text) - size_t(length), "%s", PlyIndex(node) & 1 ? "`--" : "`!");
  return score_text;
}

// The node's value from White's side in the form the node samples carry: a
// value equal to `bound` is marked "++" at an even ply and stands alone as
// "--" at an odd one.
const char* ScoreIcp(const NodeRecord* node, int32_t v, int32_t bound) {
  const bool even = !(PlyIndex(node) & 1);
  if (v == bound && !even) return "icp --";
  std::snprintf(score_text, sizeof(score_text), "icp %d%s", WhiteView(node, v), v == bound ? " ++" : "");
  return score_text;
}

// The hash-walked line from the node on, beginning with `m`, short near the
// root only.
const char* LineText(const NodeRecord* node, Move m) {
  const int moves = LINE_PLIES - PlyIndex(node);
  line_text[0] = 0;
  if (moves > 0 && m) WalkLineOf(node->sideIndex, m, moves, line_text, sizeof(line_text));
  return line_text;
}

// While `m` is made: the line that follows it, which with the move itself
// keeps to the same length.
const char* LineAfterMove(const NodeRecord* node) {
  line_text[0] = 0;
  WalkTableLine(node->sideIndex ^ 1, LINE_PLIES - 1 - PlyIndex(node), line_text, sizeof(line_text));
  return line_text;
}

}  // namespace

void StartSamplesAt(int32_t d) {
  if (d >= SAMPLE_DEPTH && (qvn3_invoked || visualizer_attached())) samples_on = true;
  load_notation_board(&root_board);
  html_first_try = false;
  html_note_ply = 256;
  noted_move[0] = 0;
}

void NoteFirstTry(bool first) { html_first_try = first && html_log; }

void HtmlAlternative(const NodeRecord* node, int32_t alpha, int32_t v, int32_t windowAlpha, int32_t beta,
                     Move hashMove, Move m, uint64_t key) {
  const int ply = PlyIndex(node);
  if (v <= alpha || !hashMove || ply <= 1 || ply > html_note_ply || ply >= LINE_PLIES) return;
  if (!SameMove(current_root_move, root_list[0].move) || SearchTime() <= ALTERNATIVE_MS) return;
  // The line in coordinates: the new move must differ from the hash move
  // and from the last one noted at this node.
  char line[LINE_PLIES * 6 + 1], first[8] = "";
  if (m) WalkLineOf(node->sideIndex, m, LINE_PLIES - ply, line, sizeof(line));
  else WalkTableLine(node->sideIndex, LINE_PLIES - ply, line, sizeof(line));
  if (std::sscanf(line, "%7s", first) != 1 || std::strcmp(first, MoveToText(hashMove & ~MOVE_CHECK)) == 0) return;
  if (key == noted_key && std::strcmp(first, noted_move) == 0) return;
  std::strcpy(noted_move, first);
  noted_key = key;
  html_note_ply = ply;

  NotationBoard board;
  PathText(node, PATH_MOVES, true, &board);
  char before[32], after[32], notated[LINE_PLIES * 12 + 2] = " ";
  std::snprintf(before, sizeof(before), "%s", ScoreShort(node, alpha, windowAlpha));
  std::snprintf(after, sizeof(after), "%s", ScoreShort(node, v, beta));
  notate_line(&board, line, notated + 1, sizeof(notated) - 1);
  char text[sizeof(path_text) + sizeof(notated) + 128];
  std::snprintf(text, sizeof(text), "<font style=\"width:207px\"></font>%s`(`%s`)%s%s<br>\n", path_text, before, after,
                notated);
  note_html_alternative(text);
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

void NodeSample(NodeSampleKind kind, const NodeRecord* node, int32_t mode, int32_t v, int32_t bound, Move m) {
  const int ply = PlyIndex(node);
  const char* path = PathText(node, SAMPLE_PATH_MOVES, false);
  const char* score = ScoreIcp(node, v, bound);
  switch (kind) {
    // These two come while the move is made.
    case SAMPLE_UNCLEAR:
      SendSample("info sample %s %s [ %s isunclear %s ]", path, score, MoveToText(m), LineAfterMove(node));
      break;
    case SAMPLE_BETTER:
      SendSample("info sample %s%s %s [ isbetter %s %s ]", mode == 3 ? "" : "isbetter ", path, score, MoveToText(m),
                 LineAfterMove(node));
      break;
    case SAMPLE_WORSE: {
      // At an even ply the root's opponent is doing better than the line
      // assumed: said after the first move of the path.
      const char* blank = std::strchr(path, ' ');
      const int head = !(ply & 1) && blank ? int(blank - path) : int(std::strlen(path));
      SendSample("info sample %s%.*s%s%s %s", mode != 3 && (ply & 1) ? "isworse " : "", head, path,
                 head < int(std::strlen(path)) ? " ismuchbetter" : "", path + head, score);
      break;
    }
    case SAMPLE_INSIDE:
      SendSample("info sample %s%s %s %s", mode == 3 ? "" : "isbetter ", path, score, LineText(node, m));
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
  const char* path = PathText(node, SAMPLE_PATH_MOVES, false);
  SendSample("%c%d %s %d %s", bound, slave_id, path, even ? -v : v, ply < 20 ? LineText(node, m) : "");
}

void SampleAfterMove(const NodeRecord* node, int32_t mode, int32_t depth, int32_t v, int32_t alpha, int32_t beta,
                     Move m, bool first, Move hashMove, Move bestMove) {
  if (first || v > alpha) NodeReport(node, v, alpha, beta, m);
  if (!NodeSamples(mode, depth) || !(hashMove || bestMove)) return;
  if (first && v <= alpha && !bestMove) NodeSample(SAMPLE_WORSE, node, mode, v, alpha, m);
  if (v > alpha && v < beta) NodeSample(SAMPLE_INSIDE, node, mode, v, beta, m);
}
