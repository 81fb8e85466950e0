#include "shell/startup.h"

#include <cstdlib>
#include <ctime>

#include "board/position.h"
#include "hash/table.h"
#include "platform/input.h"
#include "platform/shared_memory.h"
#include "platform/system.h"
#include "pool/children.h"
#include "report/output.h"
#include "report/visualizers.h"
#include "shell/config_file.h"
#include "shell/dialogue.h"
#include "shell/identity.h"
#include "shell/options.h"
#include "tablebase/registry.h"

void start_up(int argc, char** argv) {
  char command_line[4096];
  command_line_text(command_line, sizeof(command_line));
  derive_engine_names(command_line, engine_name, engine_short_name);
  // The processes of a pool start within the same second, and each must
  // walk the tree in an order of its own.
  std::srand(unsigned(std::time(nullptr)) ^ unsigned(current_process_id()) * 2654435761u);

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

  // The site's settings come before the logs, so that they hold from the
  // log's first line.
  log_directory[0] = 0;
  read_config_file();
  if (configured.log_uci && configured_log_uci_value) open_uci_log();
  if (configured.log_html && configured_log_html_value) open_html_log();
  // Before the pool, so that no child holds a Visualizer's pipe.
  if (!is_child) start_visualizers();

  // A MainProcess is a pool of one until the pool is built.
  if (!is_child) process_count = 1;
  uint32_t rounded_hash = round_hash_size(start_hash_megabytes);
  platform_start();
  input_is_pipe = !input_is_terminal();
  // A configured size is used as it stands: the site answers for it.
  hash_megabytes = configured.hash_size ? configured_hash_megabytes : rounded_hash;

  // The table and the pool: a MainProcess creates the table (or joins a
  // controller's) and starts its children, and reads nothing before they
  // are all up; a child joins both mappings. The age table starts at date 0.
  set_program_word(argv[0]);
  HashBuildReport hash = build_process_pool(hash_megabytes);
  if (!hash.ok) {
    report_text("%s", hash.error);
    fatal_exit("Hash table not available");
  }
  hash_megabytes = hash.megabytes;
  if (!is_child && !overridden_parent_id) ReportHashBuild(hash);
  // A child has its tables in place before it tells the MainProcess it is up.
  tablebase_start(!is_child);
  if (is_child) {
    // Started through our own image, which the system would list by its
    // link's name.
    set_process_name(argv[0]);
    mark_child_ready();
  }

  set_priority_choice(main_process_priority);
  for (;;) read_and_dispatch_line();
}
