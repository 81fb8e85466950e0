#include "shell/options.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "clock/budget.h"
#include "clock/go_command.h"
#include "eval/eval_settings.h"
#include "hash/saved_table.h"
#include "hash/table.h"
#include "platform/machine.h"
#include "platform/system.h"
#include "pool/children.h"
#include "report/output.h"
#include "search/root_driver.h"
#include "search/search_state.h"
#include "shell/dialogue.h"
#include "shell/identity.h"
#include "tablebase/block_cache.h"
#include "tablebase/registry.h"
#include "tablebase/probe.h"
#include "tablebase/tablebase_settings.h"

bool debug_mode = false;
int32_t child_process_priority = 1;
ConfiguredOptions configured;
bool config_file_read = false;
bool configured_log_uci_value = false;
bool configured_log_html_value = false;
char hash_file[1024] = "";

namespace {

// The stem of the configuration file's name, as the refusals name it.
constexpr const char* CONFIG_STEM = "quorl";
constexpr int32_t MAX_PROCESSES = 2048;
constexpr int32_t MAX_VARIATIONS = 256;


// The sixteen adjustments in millipawns: the listed name, the test of the
// chain and the subject of the reply. The twelve piece options lead, in the
// order of PieceOption.
struct MillipawnOption {
  const char* listed;
  const char* test;
  const char* reply;
  int32_t* value;
};

const MillipawnOption MILLIPAWN_OPTIONS[] = {
    {"White Pawn", "white pawn millipawns value", "White pawn adjustment",
     &eval_settings.pieceMillipawns[WHITE_PAWN_OPTION]},
    {"Black Pawn", "black pawn millipawns value", "Black pawn adjustment",
     &eval_settings.pieceMillipawns[BLACK_PAWN_OPTION]},
    {"White Knight", "white knight millipawns value", "White knight adjustment",
     &eval_settings.pieceMillipawns[WHITE_KNIGHT_OPTION]},
    {"Black Knight", "black knight millipawns value", "Black knight adjustment",
     &eval_settings.pieceMillipawns[BLACK_KNIGHT_OPTION]},
    {"White Light Squared Bishop", "white light squared bishop millipawns value", "White light squared bishop adjustment",
     &eval_settings.pieceMillipawns[WHITE_LIGHT_BISHOP_OPTION]},
    {"White Dark Squared Bishop", "white dark squared bishop millipawns value", "White dark squared bishop adjustment",
     &eval_settings.pieceMillipawns[WHITE_DARK_BISHOP_OPTION]},
    {"Black Light Squared Bishop", "black light squared bishop millipawns value", "Black light squared bishop adjustment",
     &eval_settings.pieceMillipawns[BLACK_LIGHT_BISHOP_OPTION]},
    {"Black Dark Squared Bishop", "black dark squared bishop millipawns value", "Black dark squared bishop adjustment",
     &eval_settings.pieceMillipawns[BLACK_DARK_BISHOP_OPTION]},
    {"White Rook", "white rook millipawns value", "White rook adjustment", &eval_settings.pieceMillipawns[WHITE_ROOK_OPTION]},
    {"Black Rook", "black rook millipawns value", "Black rook adjustment", &eval_settings.pieceMillipawns[BLACK_ROOK_OPTION]},
    {"White Queen", "white queen millipawns value", "White queen adjustment",
     &eval_settings.pieceMillipawns[WHITE_QUEEN_OPTION]},
    {"Black Queen", "black queen millipawns value", "Black queen adjustment",
     &eval_settings.pieceMillipawns[BLACK_QUEEN_OPTION]},
    {"Score Offset", "score offset millipawns value", "Score offset", &eval_settings.scoreOffset},
    {"Rook Endgame Penalty", "rook endgame penalty millipawns value", "Rook endgame penalty",
     &eval_settings.rookEndgamePenalty},
    {"Bishops Are Opposite Colored Penalty", "bishops are opposite colored penalty millipawns value",
     "Bishops are opposite colored penalty", &eval_settings.oppositeBishopsPenalty},
    {"Opposite Colored Bishops Endgame Penalty", "opposite colored bishops endgame penalty millipawns value",
     "Opposite colored bishops endgame penalty", &eval_settings.oppositeBishopsEndgamePenalty},
};

bool starts_with(const char* text, const char* word) { return strncasecmp(text, word, std::strlen(word)) == 0; }

// The plain decimal reading at a character position; a position past the end
// of the text reads as 0.
int32_t number_at(const char* text, size_t position) {
  return position <= std::strlen(text) ? int32_t(std::atoi(text + position)) : 0;
}

// The number that stands behind a test text and its blank.
int32_t value_of(const char* text, const char* test) { return number_at(text, std::strlen(test) + 1); }

// The number of a spin option that the evaluation multiplies or adds up
// over the board, held to the option's listed range so that none of that
// arithmetic overflows.
int32_t listed_value_of(const char* text, const char* test, int32_t low, int32_t high) {
  return std::clamp(value_of(text, test), low, high);
}

const char* text_at(const char* text, size_t position) {
  return position <= std::strlen(text) ? text + position : "";
}

const char* enabled_word(bool on) { return on ? "enabled" : "disabled"; }

int32_t clamp(int32_t v, int32_t low, int32_t high) { return v < low ? low : v > high ? high : v; }

// Hash, Max CPUs and Large Pages rebuild the pool with a new table; a
// failure keeps the size that could be had and says why.
void rebuild_pool(uint32_t megabytes) {
  const HashBuildReport report = build_process_pool(megabytes);
  if (!overridden_parent_id) ReportHashBuild(report);
  if (report.megabytes) hash_megabytes = report.megabytes;
}

void set_hash(const char* text) {
  if (configured.hash_size) {
    report_text("Hash size already permanently set to %u Mb in %s.config.", hash_megabytes, CONFIG_STEM);
    return;
  }
  const int32_t wanted = value_of(text, "hash value");
  if (wanted >= 0 && uint32_t(wanted) == hash_megabytes) {
    report_text("Hash size already set to %u Mb.", hash_megabytes);
    return;
  }
  const uint32_t before = hash_megabytes;
  rebuild_pool(round_hash_size(wanted));
  report_text("Hash size changed from %u Mb to %u Mb.", before, hash_megabytes);
}

void set_log_directory(const char* text) {
  if (configured.log_directory) {
    report_text("Log directory already set to '%s' in %s.config.", log_directory, CONFIG_STEM);
    return;
  }
  const char* wanted = text_at(text, 14);
  if (strcasecmp(wanted, log_directory) == 0) {
    report_text("Log directory already set to '%s'.", log_directory);
    return;
  }
  char before[LOG_PATH_SIZE];
  std::snprintf(before, sizeof(before), "%s", log_directory);
  const size_t length = std::strlen(wanted);
  // An empty value is the working directory, and stays empty.
  std::snprintf(log_directory, sizeof(log_directory), "%s%s", wanted,
                !length || wanted[length - 1] == '/' ? "" : "/");
  report_text("Log directory set to '%s' (had been '%s').", log_directory, before[0] ? before : "<empty>");
}

void enable_uci_log() {
  if (configured.log_uci) {
    if (!configured_log_uci_value)
      report_text("UCI logging already disabled in %s.config.", CONFIG_STEM);
    else if (uci_log)
      report_text("UCI logging already enabled in %s.config, log file is at '%s'.", CONFIG_STEM, uci_log_name);
    else
      report_text("UCI logging already enabled in %s.config, but log file creation at '%s' failed.", CONFIG_STEM,
                  uci_log_name);
    return;
  }
  if (uci_log) {
    report_text("UCI logging already enabled, log file is at '%s'.", uci_log_name);
  } else if (open_uci_log()) {
    report_text("UCI logging enabled (had been disabled), log file is at '%s'.", uci_log_name);
  } else {
    report_text("UCI logging enabled (had been disabled), but log file creation at '%s' failed.", uci_log_name);
  }
}

void enable_html_log() {
  if (configured.log_html) {
    report_text("Html logging already %s in %s.config.", enabled_word(configured_log_html_value), CONFIG_STEM);
    return;
  }
  if (html_log) {
    report_text("Html logging already enabled.");
    return;
  }
  report_text("Html logging enabled (had been disabled).");
  open_html_log();
}

void set_max_cpus(const char* text) {
  if (configured.max_cpus) {
    report_text("Max CPUs already set to %d in %s.config.", max_cpus, CONFIG_STEM);
    return;
  }
  const int32_t wanted = value_of(text, "max cpus value");
  if (wanted == max_cpus) {
    report_text("Max CPUs already set to %d.", max_cpus);
    return;
  }
  const int32_t before = max_cpus;
  max_cpus = clamp(wanted, 1, MAX_PROCESSES);
  // Too many processes, or too few while processors are left idle.
  if (process_count > max_cpus || (process_count < max_cpus && cpu_count > process_count))
    rebuild_pool(hash_megabytes);
  report_text("Max CPUs set to %d (had been %d).", max_cpus, before);
}

void set_large_pages(const char* text) {
  const bool wanted = starts_with(text_at(text, std::strlen("use large pages value ")), "true");
  if (configured.large_pages) {
    report_text("Large page usage already %s in %s.config.", enabled_word(use_large_pages), CONFIG_STEM);
    return;
  }
  if (wanted == use_large_pages) {
    report_text("Large page usage already %s.", enabled_word(use_large_pages));
    return;
  }
  use_large_pages = wanted;
  rebuild_pool(hash_megabytes);
  report_text("Large page usage %s (had been %s).", enabled_word(wanted), enabled_word(!wanted));
}

// The outcome of a load, in the piece count and the reply.
void report_probe_library(bool loaded) {
  tablebase_pieces = loaded ? 7 : 0;
  report_text(loaded ? "EgtbGate dynamic library loaded" : "EgtbGate dynamic library failed to load");
}

void unload_and_report_probe_library() {
  UnbindEgtbGate();
  tablebase_pieces = 0;
  report_text("EgtbGate dynamic library unloaded");
}

// "egtbgate value <path>": an empty path unloads.
void set_probe_library(const char* text) {
  // Only blanks are cut from the end: a library path may be long.
  char line[4096];
  std::snprintf(line, sizeof(line), "%s", text);
  for (size_t length = std::strlen(line); length && line[length - 1] == ' ';) line[--length] = 0;
  const size_t length = std::strlen(line);
  if (length <= 16) return unload_and_report_probe_library();
  report_probe_library(BindEgtbGate(line + 15));
}

void set_tablebase_path(const char* text) {
  if (configured.nalimov_path) {
    report_text("Tablebase directory already set to '%s' in %s.config.", nalimov_path, CONFIG_STEM);
    return;
  }
  send_to_children("setoption name %s", text);
  char before[TABLEBASE_PATH_SIZE];
  std::snprintf(before, sizeof(before), "%s", nalimov_path);
  std::snprintf(nalimov_path, sizeof(nalimov_path), "%s", text_at(text, 18));
  TablebaseSummary();
  report_text("Tablebase directory set to '%s' (had been '%s').", nalimov_path, before[0] ? before : "<empty>");
}

void set_tablebase_cache(const char* text) {
  if (configured.nalimov_cache) {
    report_text("Tablebase cache size already set to %d Mb in %s.config.", nalimov_cache_mb, CONFIG_STEM);
    return;
  }
  send_to_children("setoption name %s", text);
  const int32_t before = nalimov_cache_mb;
  nalimov_cache_mb = number_at(text, 19);
  UseTablebaseCacheMb(nalimov_cache_mb);
  report_text("Tablebase cache size set to %d Mb (had been %d Mb).", nalimov_cache_mb, before);
}

void set_probe_frequency(const char* text) {
  if (configured.nalimov_probe_frequency) {
    report_text("Tablebase probe frequency already set to %d in %s.config.", nalimov_probe_frequency,
                CONFIG_STEM);
    return;
  }
  send_to_children("setoption name %s", text);
  const int32_t before = nalimov_probe_frequency;
  nalimov_probe_frequency = number_at(text, 28);
  report_text("Tablebase probe frequency set to %d (had been %d).", nalimov_probe_frequency, before);
}

// Main Process Priority: 0 Normal, 1 BelowNormal, 2 Low, 3 Inherit (no call).
void set_main_priority(int32_t setting, const char* name) {
  main_process_priority = setting;
  set_priority_choice(setting);
  report_text("Main process priority set to %s.", name);
}

void set_child_priority(int32_t setting, const char* name) {
  child_process_priority = setting;
  set_children_priority(setting);
  report_text("Child process priority set to %s.", name);
}

bool set_millipawns(const char* text) {
  for (const MillipawnOption& option : MILLIPAWN_OPTIONS) {
    if (!starts_with(text, option.test)) continue;
    send_to_children("setoption name %s", text);
    const int32_t before = *option.value;
    *option.value = listed_value_of(text, option.test, -10000, 10000);
    report_text("%s set to %d millipawns (had been %d millipawns).", option.reply, *option.value, before);
    return true;
  }
  return false;
}

void set_randomizer_mode(bool on) {
  if (on) {
    if (!randomizer_table) randomizer_table = new uint8_t[RANDOMIZER_BYTES];
    std::memset(randomizer_table, 0, RANDOMIZER_BYTES);
    report_text("Randomizer mode enabled.");
  } else {
    delete[] randomizer_table;
    randomizer_table = nullptr;
    report_text("Randomizer mode disabled.");
  }
}

// The time options reply in their own words; none goes to the children,
// which have no budget.
bool set_time_option(const char* text) {
  struct TimeOption {
    const char* test;
    int32_t* value;
    const char* reply;
    size_t position;  // where the number is read; 0: behind the test text
  };
  TimeSettings& t = time_settings;
  const TimeOption options[] = {
      {"tc buffer value", &t.buffer_s, "TC Buffer set to %d seconds", 0},
      {"tc hard buffer msec value", &t.hard_buffer_ms, "TC Hard Buffer set to %d milliseconds", 0},
      {"tc hard move time msec value", &t.hard_move_time_ms, "TC Hard Move Time set to %d milliseconds", 0},
      // Read where the longer names above have their numbers: a plain line
      // gives whatever stands there.
      {"tc hard move depth value", &t.hard_move_depth, "TC Hard Move Depth set to %d", 29},
      {"tc normal move time value", &t.normal_move_time, "TC Normal Move Time set to %d", 0},
      {"tc max move time value", &t.max_move_time, "TC Max Move Time set to %d", 0},
  };
  for (const TimeOption& option : options) {
    if (!starts_with(text, option.test)) continue;
    *option.value = option.position ? number_at(text, option.position) : value_of(text, option.test);
    report_text(option.reply, *option.value);
    return true;
  }
  return false;
}

void print_millipawn_lines() {
  for (const MillipawnOption& option : MILLIPAWN_OPTIONS)
    send_line("option name %s millipawns type spin default 0 min -10000 max 10000", option.listed);
}

}  // namespace

MillipawnSetting millipawn_setting(int index) {
  const MillipawnOption& option = MILLIPAWN_OPTIONS[index];
  // The pieces are "adjustments"; the other four keep their names, with the
  // word penalty in lower case.
  static char logged[80];
  std::snprintf(logged, sizeof(logged), "%s%s", option.listed, index < 12 ? " adjustment" : "");
  if (char* penalty = std::strstr(logged, "Penalty")) *penalty = 'p';
  return {logged, *option.value};
}

void system_line(char* buffer, int size) {
  MachineDescription machine;
  describe_machine(&machine);
  char hash[32];
  std::snprintf(hash, sizeof(hash), "%u Mb", hash_megabytes);
  static const char* const PIECES[] = {"None", "4-Man", "5-Man", "6-Man", "7-Man"};
  const int pieces = tablebase_pieces < 4 ? 0 : tablebase_pieces > 7 ? 4 : tablebase_pieces - 3;
  std::snprintf(buffer, size_t(size),
                "Cores: %-2d    Nominal Clock Speed: %5.3f GHz    Hash Size: %-8s    Page Size: %-6d    Large "
                "Pages: %-8s    Tablebases: %-5s    Config File: %-5s    Processor Type: %s ",
                process_count, double(float(machine.mhz * 0.001)), hash, int(sysconf(_SC_PAGESIZE)),
                large_page_status == 0 ? "Enabled" : "Disabled", PIECES[pieces], config_file_read ? "True" : "False",
                machine.processor_name);
}

void print_option_list() {
  send_line("option name UCI_Query type button");
  send_line("option name System Query type button");
  if (!configured.hash_size && !overridden_parent_id)
    send_line("option name Hash type spin min 2 max 4096 default 32");
  if (!configured.log_directory) send_line("option name Log Dir type string default <empty>");
  if (!configured.log_uci) send_line("option name Log type check default false");
  if (!configured.log_html) send_line("option name xLog type check default false");
  if (!overridden_parent_id)
    send_line("option name Max CPUs type spin min 1 max %d default %d", MAX_PROCESSES, MAX_PROCESSES);
  send_line("option name Random type spin min 0 max 4095 default 0");
  send_line("option name CPU Usage type spin min 1 max 100 default 100");
  // With the probing library at hand, its switch stands in place of the
  // table files' settings.
  if (!FindEgtbGate().empty()) {
    send_line("option name Use EgtbGate type check default false");
  } else {
    send_line("option name NalimovPath type string default <empty>");
    send_line("option name NalimovCache type spin min 1 max 256 default 1");
    send_line("option name NalimovProbeFrequency type spin min 0 max 256 default 36");
  }
  send_line("option name Main Process Priority type combo default Inherit var Normal var BelowNormal var Low var "
            "Inherit");
  send_line("option name Child Process Priority type combo default BelowNormal var Normal var BelowNormal var Low");
  send_line("option name Use Large Pages type check default %s", "false");
  send_line("option name Always Score Main Move type check default false");
  send_line("option name Display Upperbounds type check default false");
  send_line("option name Preserve Analysis type check default false");
  send_line("option name Clear Hash type button");
  send_line("option name Hash File type string default <empty>");
  send_line("option name Save Hash type button");
  send_line("option name Load Hash type button");
  send_line("option name Ponder type check default false");
  send_line("option name MultiPV type spin default 1 min 1 max %d", MAX_VARIATIONS);
  send_line("option name MultiPV_cp type spin default 20000 min 0 max 20000");
  send_line("option name TC Buffer type spin default %d min 0 max 120", time_settings.buffer_s);
  send_line("option name TC Normal Move Time type spin default %d min 1 max 10000", time_settings.normal_move_time);
  send_line("option name TC Max Move Time type spin default %d min 1 max 10000", time_settings.max_move_time);
  print_millipawn_lines();
  send_line("option name Rook Endgame Scaling type spin default 100 min 0 max 1000");
  send_line("option name UCI_LimitStrength type check default false");
  send_line("option name UCI_Elo type spin default %d min 1200 max 2400", 1200);
}

void setoption_dispatch(const char* text) {
  const auto is = [&](const char* test) { return starts_with(text, test); };
  const auto forward = [&]() { send_to_children("setoption name %s", text); };

  if (is("uci_query")) {
    report_query("uci3 supported");
    report_query("qvn3 supported");
    report_query("dwx3 supported");
    report_query("queryok");
  } else if (is("system query")) {
    char line[1024];
    system_line(line, sizeof(line));
    report_query("%s", line);
  } else if (is("slave mode query")) {
    report_query("Slave Mode Version 9, Tuesday January 4, 2011.");
  } else if (is("debug mode")) {
    const bool wanted = std::strncmp(text_at(text, 12), "true", 4) == 0;
    if (wanted == debug_mode) {
      report_text("Debug mode already %s.", enabled_word(debug_mode));
    } else {
      report_text("Debug mode %d (had been %d).", int(wanted), int(debug_mode));
      debug_mode = wanted;
    }
  } else if (is("hash value") && !overridden_parent_id) {
    set_hash(text);
  } else if (is("log dir value")) {
    set_log_directory(text);
  } else if (is("log value true")) {
    enable_uci_log();
  } else if (is("xlog value true")) {
    enable_html_log();
  } else if (is("max cpus value") && !overridden_parent_id) {
    set_max_cpus(text);
  } else if (is("random value")) {
    const int32_t wanted = value_of(text, "random value");
    if (wanted == eval_settings.randomValue) {
      report_text("Random value already set to %d.", wanted);
    } else {
      report_text("Random value set to %d (had been %d).", wanted, eval_settings.randomValue);
      eval_settings.randomValue = wanted;
    }
  } else if (is("use large pages value")) {
    set_large_pages(text);
  } else if (is("preserve analysis value true")) {
    forward();
    preserve_analysis = true;
    report_text("Preserve analysis enabled.");
  } else if (is("preserve analysis value false")) {
    send_to_children("setoption name preserve analysis value false");
    preserve_analysis = false;
    report_text("Preserve analysis disabled.");
  } else if (is("always score main move value true")) {
    always_score_main_move = true;
    report_text("Always score main move enabled.");
  } else if (is("always score main move value false")) {
    always_score_main_move = false;
    report_text("Always score main move disabled.");
  } else if (is("display upperbounds value true")) {
    display_upperbounds = true;
    report_text("Display upperbounds enabled.");
  } else if (is("display upperbounds value false")) {
    display_upperbounds = false;
    report_text("Display upperbounds disabled.");
  } else if (is("log value false")) {
    close_logs();
  } else if (set_millipawns(text)) {
  } else if (is("rook endgame scaling value")) {
    forward();
    eval_settings.rookEndgameScaling = listed_value_of(text, "rook endgame scaling value", 0, 1000);
    report_text("Rook endgame scaling set to %d percent.", eval_settings.rookEndgameScaling);
  } else if (is("ponder value true")) {
    ponder_option = true;
  } else if (is("ponder value false")) {
    ponder_option = false;
  } else if (is("cpu usage value")) {
    forward();
    cpu_usage = clamp(value_of(text, "cpu usage value"), 1, 100);
    report_text("CPU usage set to %d", cpu_usage);
  } else if (is("qvn3_randomizer_threshold value")) {
    randomizer_threshold = value_of(text, "qvn3_randomizer_threshold value");
    report_text("Randomizer threshold set to %d", randomizer_threshold);
  } else if (is("qvn3_randomizer_mode value true")) {
    set_randomizer_mode(true);
  } else if (is("qvn3_randomizer_mode value false")) {
    set_randomizer_mode(false);
  } else if (is("qvn3_randomizer_reset")) {
    if (randomizer_table) std::memset(randomizer_table, 0, RANDOMIZER_BYTES);
    report_text("Randomizer reset invoked.");
  } else if (is("use egtbgate value true")) {
    forward();
    report_probe_library(BindEgtbGate(FindEgtbGate().c_str()));
  } else if (is("use egtbgate value false")) {
    forward();
    unload_and_report_probe_library();
  } else if (is("egtbgate")) {
    forward();
    set_probe_library(text);
  } else if (is("nalimovpath value")) {
    set_tablebase_path(text);
  } else if (is("nalimovcache value")) {
    set_tablebase_cache(text);
  } else if (is("nalimovprobefrequency value")) {
    set_probe_frequency(text);
  } else if (is("main process priority value inherit")) {
    set_main_priority(3, "inherit");
  } else if (is("main process priority value normal")) {
    set_main_priority(0, "normal");
  } else if (is("main process priority value belownormal")) {
    set_main_priority(1, "below-normal");
  } else if (is("main process priority value low")) {
    set_main_priority(2, "low");
  } else if (is("child process priority value normal")) {
    set_child_priority(0, "normal");
  } else if (is("child process priority value belownormal")) {
    set_child_priority(1, "below-normal");
  } else if (is("child process priority value low")) {
    set_child_priority(2, "low");
  } else if (is("clear hash")) {
    if (!is_child) send_to_children("setoption name clear hash");
    new_game_reset();
    report_text("Hash clear invoked.");
  } else if (is("hash file value")) {
    std::snprintf(hash_file, sizeof(hash_file), "%s", text_at(text, 16));
    report_text("Hash file set to '%s'.", hash_file);
  } else if (is("save hash")) {
    save_hash_file(hash_file);
  } else if (is("load hash")) {
    load_hash_file(hash_file, configured.hash_size);
  } else if (is("multipv value")) {
    forward();
    multi_pv = clamp(value_of(text, "multipv value"), 1, MAX_VARIATIONS);
    report_text("Displaying %d variations.", multi_pv);
  } else if (is("multipv_cp value")) {
    forward();
    multi_pv_cp = clamp(value_of(text, "multipv_cp value"), 0, 20000);
    report_text("Displaying variations up to %d cp.", multi_pv_cp);
  } else if (set_time_option(text)) {
  } else if (is("uci_limitstrength value true")) {
    limit_strength = true;
    report_text("Limited strength mode enabled, will play at %d Elo.", uci_elo);
  } else if (is("uci_limitstrength value false")) {
    limit_strength = false;
    report_text("Limited strength mode disabled.");
  } else if (is("uci_elo value")) {
    uci_elo = value_of(text, "uci_elo value");
    report_text("Elo set to %d, currently %s", uci_elo, limit_strength ? "in use" : "ignored");
  }
}
