#include "shell/startup.h"

#include <cstdlib>
#include <ctime>

#include "board/position.h"
#include "hash/table.h"
#include "platform/input.h"
#include "platform/system.h"
#include "report/output.h"
#include "shell/dialogue.h"
#include "shell/identity.h"
#include "tablebase/registry.h"

namespace {

// Main Process Priority to a nice value: Normal, BelowNormal, Low; Inherit
// leaves the priority alone.
void set_priority(int choice) {
  constexpr int NICE[3] = {0, 5, 10};
  if (choice >= 0 && choice < 3) set_process_nice(NICE[choice]);
}

}  // namespace

void start_up(int argc, char** argv) {
  char command_line[4096];
  command_line_text(command_line, sizeof(command_line));
  derive_engine_names(command_line, engine_name, engine_short_name);
  std::srand(unsigned(std::time(nullptr)));

  std::snprintf(position_line, sizeof(position_line), "%s", START_FEN);
  SetPositionFromFen(START_FEN);
  is_searching = false;
  new_game_reset();

  cpu_count = processor_count();
  max_cpus = 2048;
  if (!read_arguments(argc, argv)) {
    report_text("The program path must be among the arguments in front of any number.");
    fatal_exit("Program path not found in the arguments");
  }

  // A MainProcess is a pool of one until the pool is built.
  if (!is_child) process_count = 1;
  uint32_t rounded_hash = round_hash_size(start_hash_megabytes);
  platform_start();
  input_is_pipe = !input_is_terminal();
  hash_megabytes = rounded_hash;

  // The table: created here by a MainProcess, joined by a child or by a
  // MainProcess that a controller points at its own table. Either way the
  // age table starts at date 0.
  const bool joins = is_child || overridden_parent_id != 0;
  HashBuildReport hash = joins ? AttachHashTable() : BuildHashTable(hash_megabytes, use_large_pages);
  if (!hash.ok) {
    report_text("%s", hash.error);
    fatal_exit("Hash table not available");
  }
  if (!joins) ReportHashBuild(hash);

  tablebase_start(!is_child);
  set_priority(main_process_priority);
  for (;;) read_and_dispatch_line();
}
