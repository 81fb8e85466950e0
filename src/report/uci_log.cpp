#include "report/uci_log.h"

#include <cstdio>
#include <cstring>
#include <ctime>

#include "clock/budget.h"
#include "clock/go_command.h"
#include "eval/eval_settings.h"
#include "hash/saved_table.h"
#include "hash/table.h"
#include "platform/machine.h"
#include "platform/system.h"
#include "report/output.h"
#include "search/root_driver.h"
#include "search/search_state.h"
#include "shell/config_file.h"
#include "shell/dialogue.h"
#include "shell/identity.h"
#include "shell/options.h"
#include "tablebase/tablebase_settings.h"

namespace {

// "label : value" with the colons of the head under each other.
void log_field(const char* label, const char* value) { log_note("%45s : %s", label, value); }

void log_number_field(const char* label, int64_t value) {
  char text[32];
  std::snprintf(text, sizeof(text), "%lld", static_cast<long long>(value));
  log_field(label, text);
}

void log_machine() {
  MachineDescription machine;
  describe_machine(&machine);
  const time_t now = time(nullptr);
  char date[64];
  ctime_r(&now, date);
  date[std::strcspn(date, "\n")] = 0;
  char command_line[4096];
  command_line_text(command_line, sizeof(command_line));

  log_banner("        System");
  log_note("%s", "");
  log_note("%49s : %s", "Date_old", date);
  log_note("%35s%s Path : %s", "", "Quorl", command_line);
  log_note("%35s%s Name : %s", "", "Quorl", engine_name);
  log_number_field("# of Processors", machine.processors);
  log_field("Processor Name", machine.processor_name);
  log_field("Processor Architecture", machine.architecture);
  log_note("%45s : %5.3f GHz", "Processor Clock Speed", machine.mhz * 0.001);
  log_field("Processor Identifier", machine.identifier);
  log_field("Processor Vendor Identifier", machine.vendor);
  log_number_field("Processor Level", machine.level);
  log_number_field("Processor Revision", machine.revision);
  log_number_field("Total RAM", machine.total_ram_mb);
  log_number_field("Available RAM", machine.available_ram_mb);
  log_number_field("RAM Page Size", machine.page_size);
  log_field("Operating System", machine.operating_system);
  log_field("Process Priority", machine.priority_class);
}

const char* priority_name(int32_t setting) {
  static const char* const NAMES[] = {"Normal", "BelowNormal", "Low", "Inherit"};
  return setting >= 0 && setting < 4 ? NAMES[setting] : "";
}

// One line for each setting that differs from its default, in a fixed order.
void log_changed_settings() {
  const auto when = [](bool differs, const char* text) {
    if (differs) log_line("%s", text);
  };
  when(uci3_invoked, "Uci3 has been invoked.");
  when(qvn3_invoked, "Qvn3 has been invoked.");
  when(dwx3_invoked, "Dwx3 has been invoked.");
  when(ponder_option, "Ponder mode has been enabled.");
  if (hash_megabytes != 32) log_line("Hash size set to %u Mb.", hash_megabytes);
  if (max_cpus != 2048) log_line("Max CPUs set to %d.", max_cpus);
  when(preserve_analysis, "Preserve analysis enabled.");
  if (cpu_usage != 100) log_line("CPU usage set to %d.", cpu_usage);
  if (randomizer_threshold != 8) log_line("Randomizer threshold set to %d.", randomizer_threshold);
  when(randomizer_table != nullptr, "Randomizer mode enabled.");
  if (nalimov_path[0]) {
    static const char* const PIECES[] = {"No", "4-Man", "5-Man", "6-Man", "7-Man"};
    const int pieces = tablebase_pieces < 4 ? 0 : tablebase_pieces > 7 ? 4 : tablebase_pieces - 3;
    log_line("Tablebase directory set to '%s'.", nalimov_path);
    log_line("Tablebase cache size set to %d Mb.", nalimov_cache_mb);
    log_line("Tablebase probe frequency set to %d.", nalimov_probe_frequency);
    log_line("%s tablebases in use.", PIECES[pieces]);
  }
  if (log_directory[0]) log_line("Log directory set to '%s'.", log_directory);
  if (main_process_priority != 3) log_line("Main Process Priority set to %s.", priority_name(main_process_priority));
  if (child_process_priority != 1)
    log_line("Child Process Priority set to %s.", priority_name(child_process_priority));
  if (name_is_set(hash_file)) log_line("Hash path set to '%s'.", hash_file);
  if (multi_pv != 1) log_line("Multipv set to %d variations.", multi_pv);
  if (multi_pv_cp != 20000) log_line("Multipv_cp set to %d centipawns.", multi_pv_cp);
  when(limit_strength, "Limit strength mode enabled.");
  if (uci_elo != 1200) log_line("Elo set to %d.", uci_elo);
  if (slave_mode) log_line("Slave mode set to %d.", slave_mode);
  const TimeSettings& t = time_settings;
  const TimeSettings defaults;
  if (t.buffer_s != defaults.buffer_s) log_line("TC Buffer set to %d.", t.buffer_s);
  if (t.hard_buffer_ms != defaults.hard_buffer_ms) log_line("TC Hard Buffer set to %d.", t.hard_buffer_ms);
  if (t.hard_move_time_ms != defaults.hard_move_time_ms) log_line("TC Hard Move Time set to %d.", t.hard_move_time_ms);
  if (t.hard_move_depth != defaults.hard_move_depth) log_line("TC Hard Move Depth set to %d.", t.hard_move_depth);
  if (t.normal_move_time != defaults.normal_move_time)
    log_line("TC Normal Move Time set to %d.", t.normal_move_time);
  if (t.max_move_time != defaults.max_move_time) log_line("TC Max Move Time set to %d.", t.max_move_time);
  for (int i = 0; i < MILLIPAWN_SETTINGS; ++i) {
    const MillipawnSetting setting = millipawn_setting(i);
    if (setting.value) log_line("%s set to %d millipawns.", setting.logged, setting.value);
  }
  if (eval_settings.rookEndgameScaling != 100)
    log_line("Rook endgame scaling to %d percent.", eval_settings.rookEndgameScaling);
  when(always_score_main_move, "Always score main move enabled.");
  when(display_upperbounds, "Display upperbounds enabled.");
  if (!use_large_pages) return;
  log_line("Large page usage %s.", "enabled");
  static const char* const LARGE_PAGES[] = {
      "Using large pages.",
      "Large pages not used (kernel32.dll not available).",
      "Large pages not used (GetLargePageMinimum failed).",
      "Large pages not used - pGetLargePageMinimum () returned unusable size",
      "Large pages not used - CreateFileMapping () returned invalid handle.",
      "Large pages not used - user choice.",
  };
  if (large_page_status >= 0 && large_page_status < 6) log_line("%s", LARGE_PAGES[large_page_status]);
}

}  // namespace

void write_uci_log_head() {
  if (!uci_log) return;
  log_machine();
  log_settings_report();
  log_changed_settings();
  if (position_line[0]) log_line("Position set to %s.", position_line);
  log_line("%s", "");
}
