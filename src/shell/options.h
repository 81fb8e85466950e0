// The options: the fixed list the uci reply gives, and the chain of prefix
// tests behind setoption, each with its own reply.
#pragma once

#include <cstdint>

extern bool debug_mode;
extern int32_t child_process_priority;  // 0 Normal, 1 BelowNormal, 2 Low

// What the configuration file has fixed: such an option is left out of the
// list, and a setoption on it is refused politely.
struct ConfiguredOptions {
  bool hash_size = false;
  bool log_directory = false;
  bool log_uci = false;
  bool log_html = false;
  bool max_cpus = false;
  bool large_pages = false;
  bool nalimov_path = false;
  bool nalimov_cache = false;
  bool nalimov_probe_frequency = false;
  bool log_analysis = false;
};
extern ConfiguredOptions configured;
extern bool config_file_read;  // a configuration file was found and read
// The configuration file's word for the uci log, read only when configured.
extern bool configured_log_uci_value;
extern bool configured_log_html_value;
extern char hash_file[1024];  // Hash File

// Writes the option lines of the uci reply, in their order.
void print_option_list();

// The text behind "setoption name ": finds the option by the chain, sets it
// and replies. A text that no test takes is ignored.
void setoption_dispatch(const char* text);

// The one line that describes the machine and the engine's state.
void system_line(char* buffer, int size);

// The sixteen millipawn adjustments in listing order, each with the name the
// uci log's head gives it.
constexpr int MILLIPAWN_SETTINGS = 16;
struct MillipawnSetting {
  const char* logged;
  int32_t value;
};
MillipawnSetting millipawn_setting(int index);
