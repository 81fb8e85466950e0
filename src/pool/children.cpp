#include "pool/children.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "clock/budget.h"
#include "eval/eval_settings.h"
#include "platform/clock.h"
#include "platform/shared_memory.h"
#include "platform/system.h"
#include "pool/sync_area.h"
#include "search/search_state.h"
#include "shell/dialogue.h"
#include "shell/identity.h"
#include "shell/options.h"
#include "tablebase/tablebase_settings.h"

int child_pipes[MAX_CHILD_PIPES];
int child_pipe_count = 0;

namespace {

// Until a SyncArea is mapped, status and reports land here.
uint32_t private_status[STATUS_BYTES / 4];
uint64_t private_reports[REPORT_AREA_WORDS];

SharedMapping sync_mapping;
pid_t child_pids[MAX_CHILD_PIPES];
char program_word[256] = "quorl";

// Room in a child's pipe for every line a search could send it, so that a
// whole-line write never waits on a child that is busy between its polls.
constexpr int CHILD_PIPE_BYTES = 1 << 20;
constexpr uint64_t READY_POLL_MS = 50;

void sync_area_name(char* buffer, size_t size) {
  const int32_t id = is_child ? parent_pid : current_process_id();
  std::snprintf(buffer, size, "/%sEx%d%d", "quorl", shared_file_number, id);
}

void use_sync_mapping() {
  auto* base = static_cast<uint8_t*>(sync_mapping.base);
  process_status = reinterpret_cast<uint32_t*>(base);
  report_area = reinterpret_cast<uint64_t*>(base + REPORT_AREA_OFFSET);
}

void drop_sync_mapping() {
  unlink_shared_mapping(sync_mapping);
  unmap_shared_mapping(sync_mapping);
  process_status = private_status;
  report_area = private_reports;
}

void clear_status_words() {
  for (uint32_t i = 0; i < STATUS_BYTES / 4; ++i) StatusWrite(int32_t(i), STATUS_CLEARED);
}

// Whether child c has gone, reaping it if so.
bool child_gone(int c) {
  if (child_pids[c - 1] <= 0) return true;
  int status;
  if (waitpid(child_pids[c - 1], &status, WNOHANG) != child_pids[c - 1]) return false;
  child_pids[c - 1] = 0;
  return true;
}

void close_child_pipes() {
  for (int i = 0; i < child_pipe_count; ++i)
    if (child_pipes[i] >= 0) close(child_pipes[i]);
  child_pipe_count = 0;
}

// Old children are told to quit and awaited until each has said it ended,
// or is gone; then they are reaped, so that none is left behind.
void tear_down() {
  send_to_children("quit");
  const int children = child_pipe_count;
  for (;;) {
    bool all = true;
    for (int c = 1; c <= children && all; ++c)
      all = StatusRead(c) == STATUS_ENDED || child_gone(c);
    if (all) break;
    sleep_ms(READY_POLL_MS);
  }
  for (int c = 1; c <= children; ++c) {
    if (child_pids[c - 1] > 0) waitpid(child_pids[c - 1], nullptr, 0);
    child_pids[c - 1] = 0;
  }
  clear_status_words();
  close_child_pipes();
  drop_sync_mapping();
}

void start_child(int c) {
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) fatal_exit("Cannot create pipe to child");
  fcntl(fds[1], F_SETPIPE_SZ, CHILD_PIPE_BYTES);
  // The same numbers at positions 1 to 7 whoever started us: the id in the
  // table's name, the processes, the hash size, the pool generation, the
  // processes again, the child's number and the id in the SyncArea's name.
  const int32_t table_id = overridden_parent_id ? overridden_parent_id : current_process_id();
  const int32_t numbers[7] = {table_id,          process_count, int32_t(hash_megabytes),
                              shared_file_number, process_count, c, current_process_id()};
  char words[7][16];
  char* argv[9] = {program_word};
  for (int i = 0; i < 7; ++i) {
    std::snprintf(words[i], sizeof(words[i]), "%d", numbers[i]);
    argv[i + 1] = words[i];
  }
  argv[8] = nullptr;
  log_line("       starting child");
  log_line("       -- hash size: %u", hash_megabytes);
  log_line("       -- shared file number: %d", shared_file_number);
  log_line("       -- number of processes: %d", process_count);
  log_line("       -- parent id: %d", current_process_id());
  log_line("       -- overridden parent id: %d", overridden_parent_id);
  log_line("       -- child number: %d", c);
  log_line("       -- full command line: %s %s %s %s %s %s %s %s", argv[0], argv[1], argv[2], argv[3], argv[4],
           argv[5], argv[6], argv[7]);

  int pid = 0;
  const int error = spawn_listener("/proc/self/exe", argv, fds[0], &pid);
  close(fds[0]);
  if (error != 0) fatal_exit("Cannot create child process: %s", std::strerror(error));
  child_pids[c - 1] = pid;
  child_pipes[c - 1] = fds[1];
  set_priority_choice(child_process_priority, pid);
}

// Sleeps in rounds until every child has written that it is ready. A child
// that ends on the way would be waited for in vain: it ends us instead.
void wait_for_children(int children) {
  for (;;) {
    sleep_ms(READY_POLL_MS);
    bool all = true;
    for (int c = 1; c <= children; ++c) {
      if (StatusRead(c) == STATUS_READY) continue;
      if (child_gone(c)) fatal_exit("Child process %d ended before it was ready", c);
      all = false;
    }
    if (all) return;
  }
}

// The options that reach a child only by a line: each one whose value
// differs from the default. Some of these names are older than the option
// chain, which no longer knows them; the children ignore those lines.
void bring_children_up_to_date() {
  if (multi_pv != 1) send_to_children("setoption name MultiPV value %d", multi_pv);
  if (slave_mode != 0) send_to_children("slave mode %d", slave_mode);
  if (multi_pv_cp != 20000) send_to_children("setoption name MultiPV_cp value %d", multi_pv_cp);
  if (cpu_usage != 100) send_to_children("setoption name CPU Usage value %d", cpu_usage);
  if (nalimov_cache_mb != 1) send_to_children("setoption name NalimovCache value %d", nalimov_cache_mb);
  if (nalimov_path[0]) send_to_children("setoption name NalimovPath value %s", nalimov_path);
  if (nalimov_probe_frequency != 36)
    send_to_children("setoption name NalimovProbeFrequency value %d", nalimov_probe_frequency);
  if (preserve_analysis) send_to_children("setoption name Preserve Analysis value true");
  struct Line {
    const char* name;
    int32_t value;
  };
  const EvalSettings& e = eval_settings;
  const int32_t* piece = e.pieceMillipawns;
  const Line lines[] = {
      {"White Pawn", piece[WHITE_PAWN_OPTION]},
      {"Black Pawn", piece[BLACK_PAWN_OPTION]},
      {"White Knight", piece[WHITE_KNIGHT_OPTION]},
      {"Black Knight", piece[BLACK_KNIGHT_OPTION]},
      {"White King Bishop", piece[WHITE_LIGHT_BISHOP_OPTION]},
      {"Black King Bishop", piece[BLACK_DARK_BISHOP_OPTION]},
      {"White Queen Bishop", piece[WHITE_DARK_BISHOP_OPTION]},
      {"Black Queen Bishop", piece[BLACK_LIGHT_BISHOP_OPTION]},
      {"White Rook", piece[WHITE_ROOK_OPTION]},
      {"Black Rook", piece[BLACK_ROOK_OPTION]},
      {"White Queen", piece[WHITE_QUEEN_OPTION]},
      {"Black Queen", piece[BLACK_QUEEN_OPTION]},
      {"Score Offset", e.scoreOffset},
      {"Rook Endgame Penalty", e.rookEndgamePenalty},
      {"Opposite Colored Bishops Penalty", e.oppositeBishopsPenalty},
      {"Opposite Colored Bishops Endgame Penalty", e.oppositeBishopsEndgamePenalty},
  };
  for (const Line& line : lines)
    if (line.value != 0) send_to_children("setoption name %s millipawns value %d", line.name, line.value);
  if (e.rookEndgameScaling != 100)
    send_to_children("setoption name Rook Endgame Scaling value %d", e.rookEndgameScaling);
}

HashBuildReport join_pool() {
  const HashBuildReport hash = AttachHashTable();
  if (!hash.ok) return hash;
  char name[SHARED_NAME_SIZE], error[SHARED_ERROR_SIZE];
  sync_area_name(name, sizeof(name));
  if (!open_shared_mapping(sync_mapping, name, error, sizeof(error)) || sync_mapping.bytes < SYNC_AREA_BYTES)
    fatal_exit("Shared status not available: %s", error);
  use_sync_mapping();
  ++shared_file_number;
  return hash;
}

}  // namespace

uint32_t* process_status = private_status;
uint64_t* report_area = private_reports;

void send_to_children(const char* format, ...) {
  if (is_child || child_pipe_count == 0) return;
  char line[8192];
  va_list args;
  va_start(args, format);
  int length = std::vsnprintf(line, sizeof(line) - 1, format, args);
  va_end(args);
  if (length < 0) return;
  if (size_t(length) > sizeof(line) - 2) length = int(sizeof(line) - 2);
  if (length && line[length - 1] == '\n') --length;
  line[length++] = '\n';
  for (int i = 0; i < child_pipe_count; ++i) {
    if (child_pipes[i] < 0) continue;
    // A child that no longer reads loses its line; the others get theirs.
    if (write(child_pipes[i], line, size_t(length)) != length) {
      close(child_pipes[i]);
      child_pipes[i] = -1;
    }
  }
}

void set_program_word(const char* argv0) {
  if (argv0 && (std::strstr(argv0, ".exe") || std::strstr(argv0, "emta") || std::strstr(argv0, "uorl")))
    std::snprintf(program_word, sizeof(program_word), "%s", argv0);
}

HashBuildReport build_process_pool(uint32_t megabytes) {
  if (is_child) return join_pool();
  if (configured.hash_size) megabytes = hash_megabytes;
  if (shared_file_number != 0) tear_down();

  process_count = max_cpus < cpu_count ? max_cpus : cpu_count;
  if (process_count < 1) process_count = 1;
  const HashBuildReport hash =
      overridden_parent_id ? AttachHashTable() : BuildHashTable(megabytes, use_large_pages, process_count > 1);
  char name[SHARED_NAME_SIZE], error[SHARED_ERROR_SIZE];
  // The stand-in table of our own memory cannot be joined, nor can a
  // controller's table whose name its owner has removed: no children then.
  HashMappingName(name, sizeof(name));
  if (!HashTableIsShared() || (overridden_parent_id && !shared_name_exists(name))) process_count = 1;
  if (!HashTableIsShared()) return hash;
  const int children = process_count - 1;

  sync_area_name(name, sizeof(name));
  if (!create_shared_mapping(sync_mapping, name, SYNC_AREA_BYTES, error, sizeof(error)))
    fatal_exit("Shared status not available: %s", error);
  use_sync_mapping();
  for (int32_t i = 0; i < REPORT_CLEARED_WORDS; ++i) ReportWrite(i, 0);
  clear_status_words();

  for (int c = children; c >= 1; --c) start_child(c);
  child_pipe_count = children;
  wait_for_children(children);
  clear_status_words();
  // Every child has both mappings open: the names can go, and nothing of
  // ours stays behind in the system whatever happens to us later.
  ReleaseHashTableName();
  unlink_shared_mapping(sync_mapping);
  bring_children_up_to_date();
  ++shared_file_number;
  return hash;
}

void mark_child_ready() { StatusWrite(child_number, STATUS_READY); }

void set_children_priority(int32_t setting) {
  for (int c = 1; c <= child_pipe_count; ++c)
    if (child_pids[c - 1] > 0) set_priority_choice(setting, child_pids[c - 1]);
}

void release_process_pool() {
  if (is_child) {
    StatusWrite(child_number, STATUS_ENDED);
  } else {
    send_to_children("quit");
    close_child_pipes();
  }
  ReleaseHashTable();
  drop_sync_mapping();
}
