#include "report/visualizers.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "board/move.h"
#include "eval/node_record.h"
#include "platform/system.h"
#include "search/search_common.h"
#include "shell/config_file.h"

namespace {

// The write end of each slot's input pipe; -1 while the slot is not running.
int visualizer_pipes[VISUALIZER_SLOTS] = {-1, -1, -1, -1, -1, -1, -1, -1};
// A line that went out only in part left the pipe mid-line: the next one
// starts with a line feed, so that the Visualizer's lines stay whole.
bool broken_line[VISUALIZER_SLOTS];
bool any_running = false;

// Room for a few seconds of a busy search; beyond that lines are dropped.
constexpr int PIPE_BYTES = 16384;
constexpr size_t LINE_SIZE = 8192;

// The line with exactly one line feed behind it, and a leading one when the
// pipe was left mid-line. Gives the length.
size_t compose(char* line, int slot, const char* format, va_list args) {
  size_t length = 0;
  if (broken_line[slot]) line[length++] = '\n';
  const int written = vsnprintf(line + length, LINE_SIZE - length - 1, format, args);
  if (written > 0) length += std::min(size_t(written), LINE_SIZE - length - 2);
  if (length && line[length - 1] == '\n') --length;
  line[length++] = '\n';
  return length;
}

// The pipe never blocks: a Visualizer that does not read loses the line.
void write_line(int slot, const char* line, size_t length) {
  const ssize_t written = write(visualizer_pipes[slot], line, length);
  if (written == ssize_t(length)) {
    broken_line[slot] = false;
    return;
  }
  if (written > 0) broken_line[slot] = true;
  log_line("Error: visualizer %d not accepting input.", slot);
}

void send_formatted(int slot, const char* format, va_list args) {
  if (visualizer_pipes[slot] < 0) return;
  char line[LINE_SIZE];
  const size_t length = compose(line, slot, format, args);
  write_line(slot, line, length);
}

// The program of a path: as it stands, or what lies between its quotes.
void program_of(const char* path, char* program, size_t size) {
  if (path[0] != '"') {
    std::snprintf(program, size, "%s", path);
    return;
  }
  std::snprintf(program, size, "%s", path + 1);
  char* close = std::strchr(program, '"');
  if (close) *close = 0;
}

// Its input on a pipe whose write end only we hold, its output and errors
// to /dev/null: nothing is ever read from a Visualizer, and a pipe nobody
// drains would only stall it.
void start_slot(int slot) {
  const int number = slot + 1;
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) fatal_exit("Could not create write pipe for visualizer #%d", number);
  fcntl(fds[1], F_SETPIPE_SZ, PIPE_BYTES);
  fcntl(fds[1], F_SETFL, fcntl(fds[1], F_GETFL) | O_NONBLOCK);

  char program[CONFIG_TEXT_SIZE];
  program_of(visualizer_path[slot], program, sizeof(program));
  char* argv[] = {program, nullptr};
  int pid = 0;
  const int error = spawn_listener(program, argv, fds[0], &pid);
  close(fds[0]);
  if (error != 0) {
    close(fds[1]);
    fatal_exit("Visualizer process #%d (%s) could not be started", number, visualizer_path[slot]);
  }
  visualizer_pipes[slot] = fds[1];
  any_running = true;
  log_line("Visualizer #%d started", number);
}

void send_init(int slot) {
  const int number = slot + 1;
  const char* text = visualizer_init[slot];
  char command[CONFIG_TEXT_SIZE];
  while (*text) {
    if (std::strchr(";\r\n ", *text)) {
      ++text;
      continue;
    }
    const size_t length = std::strcspn(text, ";\r\n");
    std::snprintf(command, sizeof(command), "%.*s", int(length), text);
    text += length;
    send_to_visualizer(slot, "%s", command);
    log_line("Initializing visualizer #%d: %s", number, command);
  }
  if (visualizer_log) {
    // An empty log directory is the working directory, named in full so
    // that the Visualizer need not share ours.
    char directory[LOG_PATH_SIZE + 1] = "./";
    if (log_directory[0]) std::snprintf(directory, sizeof(directory), "%s", log_directory);
    else if (getcwd(directory, LOG_PATH_SIZE - 1)) std::strcat(directory, "/");
    log_line("Initializing visualizer #%d: logdir %s", number, directory);
    send_to_visualizer(slot, "logdir %s", directory);
  }
  send_to_visualizer(slot, "Init Complete");
  log_line("Initializing visualizer #%d: Init Complete", number);
}

}  // namespace

void start_visualizers() {
  for (int slot = 0; slot < visualizer_count && slot < VISUALIZER_SLOTS && visualizer_path[slot][0]; ++slot) {
    start_slot(slot);
    send_init(slot);
  }
}

void send_to_visualizers(const char* format, ...) {
  if (!any_running) return;
  for (int slot = 0; slot < VISUALIZER_SLOTS; ++slot) {
    va_list args;
    va_start(args, format);
    send_formatted(slot, format, args);
    va_end(args);
  }
}

void send_to_visualizer(int slot, const char* format, ...) {
  va_list args;
  va_start(args, format);
  send_formatted(slot, format, args);
  va_end(args);
}

bool visualizer_attached() { return visualizer_pipes[0] >= 0 || visualizer_pipes[1] >= 0; }

void send_microsample(const NodeRecord* node) {
  if (!any_running) return;
  char text[LINE_SIZE];
  size_t length = 0;
  for (const NodeRecord* record = &node_stack[1]; record < node && length + 32 < sizeof(text); ++record) {
    // A node in its null-move search holds no move.
    const Move move = record->currentMove;
    length += size_t(MoveToText(move ? move : NULL_MOVE_WORD, text + length));
    if (move && record->moveNumber >= 2) length += size_t(std::snprintf(text + length, 16, "(%u)", record->moveNumber));
    text[length++] = ' ';
  }
  text[length] = 0;
  send_to_visualizers("info microsample %s", text);
}
