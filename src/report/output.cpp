#include "report/output.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <ctime>

#include "hash/table.h"
#include "platform/clock.h"
#include "pool/children.h"
#include "report/html_log.h"
#include "report/uci_log.h"
#include "report/visualizers.h"
#include "shell/identity.h"
#include "tablebase/probe.h"

bool is_child = false;
bool goe_mode = false;
int32_t slave_lines = 0;
bool send_text_reports = true;

FILE* uci_log = nullptr;
uint64_t uci_log_start_tick = 0;
FILE* html_log = nullptr;
bool log_skip_fluff = true;
char log_directory[LOG_PATH_SIZE] = "";
char uci_log_name[LOG_PATH_SIZE + 512] = "";
int32_t uci_log_lines = 0;

namespace {

// The seconds of the log's last line; -1 before its first, so that every log
// opens with its seconds column at 0.
int64_t last_log_seconds = -1;

// Long enough for a full principal variation with its info fields.
constexpr size_t LINE_SIZE = 8192;

void format_text(char* buffer, const char* format, va_list args) {
  int length = vsnprintf(buffer, LINE_SIZE, format, args);
  if (length < 0) buffer[0] = 0;
}

// One line to standard output in a single write, so that a reader never sees
// a line in pieces. Write errors are not checked: a gone reader shows up as
// the end of our input.
void write_stdout(const char* text, const char* prefix = "") {
  send_to_visualizers("%s%s", prefix, text);
  char line[LINE_SIZE + 32];
  int length = snprintf(line, sizeof(line) - 1, "%s%s", prefix, text);
  if (length < 0) return;
  if (size_t(length) > sizeof(line) - 2) length = int(sizeof(line) - 2);
  line[length++] = '\n';
  const char* rest = line;
  while (length > 0) {
    ssize_t written = write(1, rest, size_t(length));
    if (written <= 0) return;
    rest += written;
    length -= int(written);
  }
}

void write_log(const char* text) {
  if (!uci_log) return;
  char line[LINE_SIZE];
  std::snprintf(line, sizeof(line), "%s", text);
  size_t length = std::strlen(line);
  if (length >= 2 && (line[length - 1] == '\n' || line[length - 1] == '\r')) line[--length] = 0;
  // The seconds column shows only when it changes.
  int64_t seconds = int64_t((tick_ms() - uci_log_start_tick) / 1000);
  if (seconds == last_log_seconds)
    std::fprintf(uci_log, "        %s\n", line);
  else
    std::fprintf(uci_log, "%6d  %s\n", int(seconds), line);
  last_log_seconds = seconds;
  ++uci_log_lines;
  std::fflush(uci_log);
}

void write_log_note(const char* text) {
  if (!uci_log) return;
  char line[LINE_SIZE + 16];
  std::snprintf(line, sizeof(line), "        %s", text);
  write_log(line);
}

void write_log_sent(const char* text) {
  if (!uci_log) return;
  char line[LINE_SIZE + 16];
  std::snprintf(line, sizeof(line), "<<-- %s", text);
  write_log(line);
}

}  // namespace

namespace {

bool name_is_free(const char* name) {
  FILE* probe = std::fopen(name, "r");
  if (!probe) return true;
  std::fclose(probe);
  return false;
}

// The day in the file names, as "Nov_14".
void date_text(char* buffer, size_t size) {
  const time_t now = time(nullptr);
  tm local;
  localtime_r(&now, &local);
  std::strftime(buffer, size, "%b_%d", &local);
}

}  // namespace

bool open_uci_log() {
  if (uci_log) return true;
  char date[32];
  date_text(date, sizeof(date));
  const int pid = int(getpid());
  for (int n = 1;; ++n) {
    if (is_child)
      std::snprintf(uci_log_name, sizeof(uci_log_name), "%suci_child.%s.%d.%d.txt", log_directory, date, n, pid);
    else if (n == 1)
      std::snprintf(uci_log_name, sizeof(uci_log_name), "%suci log %s%s%d.txt", log_directory, engine_short_name,
                    engine_short_name[0] ? " " : "", pid);
    else
      std::snprintf(uci_log_name, sizeof(uci_log_name), "%suci log %s%s%d %d.txt", log_directory,
                    engine_short_name, engine_short_name[0] ? " " : "", pid, n);
    if (name_is_free(uci_log_name)) break;
  }
  uci_log = std::fopen(uci_log_name, "we");
  uci_log_start_tick = tick_ms();
  uci_log_lines = 0;
  last_log_seconds = -1;
  write_uci_log_head();
  return uci_log != nullptr;
}

bool open_html_log() {
  if (html_log) return true;
  char date[32], name[LOG_PATH_SIZE + 512];
  date_text(date, sizeof(date));
  for (int n = 1;; ++n) {
    std::snprintf(name, sizeof(name), "%s%slog.%s.%s.%d.html", "", log_directory, engine_short_name, date, n);
    if (name_is_free(name)) break;
  }
  html_log = std::fopen(name, "we");
  write_html_head();
  return html_log != nullptr;
}

namespace {

void close_html_log() {
  if (!html_log) return;
  write_html_tail();
  std::fclose(html_log);
  html_log = nullptr;
}

}  // namespace

void close_logs() {
  if (uci_log) std::fclose(uci_log);
  uci_log = nullptr;
  close_html_log();
}

#define FORMAT_ARGS(buffer)            \
  char buffer[LINE_SIZE];              \
  do {                                 \
    va_list args;                      \
    va_start(args, format);            \
    format_text(buffer, format, args); \
    va_end(args);                      \
  } while (0)

void log_line(const char* format, ...) {
  if (!uci_log) return;
  FORMAT_ARGS(text);
  write_log(text);
}

void log_note(const char* format, ...) {
  if (!uci_log) return;
  FORMAT_ARGS(text);
  write_log_note(text);
}

void report_text(const char* format, ...) {
  FORMAT_ARGS(text);
  write_log_note(text);
  if (goe_mode || is_child || !send_text_reports) return;
  write_stdout(text, "info string ");
}

void report_query(const char* format, ...) {
  FORMAT_ARGS(text);
  write_log_note(text);
  if (goe_mode || slave_lines || is_child) return;
  write_stdout(text, "info string ");
}

void print_line(const char* format, ...) {
  FORMAT_ARGS(text);
  write_log_note(text);
  if (is_child) return;
  write_stdout(text);
}

void print_silent(const char* format, ...) {
  if (is_child) return;
  FORMAT_ARGS(text);
  write_stdout(text);
}

void print_slave(const char* format, ...) {
  if (!slave_lines || is_child) return;
  FORMAT_ARGS(text);
  static char last[LINE_SIZE];
  if (std::strcmp(text, last) == 0) return;
  std::memcpy(last, text, sizeof(last));
  write_log_note(text);
  write_stdout(text);
}

void send_line(const char* format, ...) {
  FORMAT_ARGS(text);
  write_log_sent(text);
  if (goe_mode || slave_lines || is_child) return;
  write_stdout(text);
}

void send_line_quiet(const char* format, ...) {
  if (goe_mode || slave_lines || is_child) return;
  FORMAT_ARGS(text);
  write_log_sent(text);
  write_stdout(text);
}

void send_line_unlogged(const char* format, ...) {
  if (goe_mode || slave_lines || is_child) return;
  FORMAT_ARGS(text);
  write_stdout(text);
}

void send_progress_line(const char* format, ...) {
  if (goe_mode || slave_lines || is_child) return;
  FORMAT_ARGS(text);
  if (!log_skip_fluff) write_log_sent(text);
  write_stdout(text);
}

// Quit, a broken input and every fatal start-up failure all leave here, in
// this order, and with status 0.
void fatal_exit(const char* format, ...) {
  FORMAT_ARGS(reason);
  log_line("Exiting Quorl, reason : %s.", reason);
  UnbindEgtbGate();
  // The exit note stays empty, so no last word goes to exit.log.
  // The Visualizers are told, never awaited.
  send_to_visualizers("quit");
  close_html_log();
  release_process_pool();
  // The uci log closes with the runtime at exit.
  std::exit(0);
}
