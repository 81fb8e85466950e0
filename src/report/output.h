// Every text that leaves the program goes through this family. Members differ
// in whether the line reaches the front end, how the uci log gets it and which
// modes silence them, so callers never ask which process they run in.
#pragma once

#include <cstdint>
#include <cstdio>

#define QUORL_PRINTF(f, a) __attribute__((format(printf, f, a)))

// Flags that gate the family.
extern bool is_child;           // a ChildProcess: nothing reaches standard output
extern bool goe_mode;           // self-play output form
extern int32_t slave_lines;     // lines of a slave search, 0 for none: the controller gets its own line forms
extern bool send_text_reports;  // "info string" reports of the report kind go out

// The uci log; null while closed.
extern FILE* uci_log;
extern uint64_t uci_log_start_tick;
extern FILE* html_log;                 // the game record; null while closed
extern bool log_skip_fluff;            // the per-iteration progress lines stay out of the uci log

constexpr size_t LOG_PATH_SIZE = 1024;
extern char log_directory[LOG_PATH_SIZE];  // empty: the working directory; else ends in a separator
extern char uci_log_name[LOG_PATH_SIZE + 512];   // the name the uci log was opened under, or tried
extern int32_t uci_log_lines;                     // lines written since it opened, for the page fill

// Open the logs under the first free name in the log directory. False when
// the file could not be created.
bool open_uci_log();
bool open_html_log();
// Closes the uci log, and ends and closes the html log.
void close_logs();

void log_line(const char* format, ...) QUORL_PRINTF(1, 2);
void log_note(const char* format, ...) QUORL_PRINTF(1, 2);
void report_text(const char* format, ...) QUORL_PRINTF(1, 2);
void report_query(const char* format, ...) QUORL_PRINTF(1, 2);
void print_line(const char* format, ...) QUORL_PRINTF(1, 2);
void print_silent(const char* format, ...) QUORL_PRINTF(1, 2);
void print_slave(const char* format, ...) QUORL_PRINTF(1, 2);
void send_line(const char* format, ...) QUORL_PRINTF(1, 2);
void send_line_quiet(const char* format, ...) QUORL_PRINTF(1, 2);
void send_line_unlogged(const char* format, ...) QUORL_PRINTF(1, 2);
// The progress lines of a search: in the uci log only when it keeps them.
void send_progress_line(const char* format, ...) QUORL_PRINTF(1, 2);

// The only way out of the process: logs the reason, closes what is open and
// exits with status 0.
[[noreturn]] void fatal_exit(const char* format, ...) QUORL_PRINTF(1, 2);
