// The site's configuration file, quorl.config in the working directory: what
// it sets wins over the command line and over setoption. Read once by a
// MainProcess, never written; the uci log shows every key in a layout that
// can be copied into it.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr const char CONFIG_FILE_NAME[] = "quorl.config";
constexpr size_t CONFIG_TEXT_SIZE = 512;
constexpr int VISUALIZER_SLOTS = 8;

// Keys that only the configuration file sets.
extern uint32_t configured_hash_megabytes;  // used as it stands, never rounded
extern bool log_analysis;
extern int32_t visualizer_count;
extern bool visualizer_log;
extern char visualizer_path[VISUALIZER_SLOTS][CONFIG_TEXT_SIZE];
extern char visualizer_init[VISUALIZER_SLOTS][CONFIG_TEXT_SIZE];

// Reads quorl.config when this is a MainProcess and the file opens; a missing
// file is the normal case and changes nothing.
void read_config_file();

// Where the value of `key` begins in `line`, or null when the line does not
// hold the key. Loose on purpose: case, blanks, colons and unit words do not
// count, and the key may begin at any word that is not quoted.
const char* find_config_key(const char* line, const char* key);
// Tries every key on one line; the last line that sets a key wins.
void apply_config_line(const char* line);

// The boxed title of a log section.
void log_banner(const char* title);
// Every key with its value in force, in six boxed sections, for the uci log.
void log_settings_report();
