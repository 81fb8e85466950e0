#include "platform/system.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

void command_line_text(char* buffer, size_t size) {
  if (!size) return;
  buffer[0] = 0;
  int fd = open("/proc/self/cmdline", O_RDONLY | O_CLOEXEC);
  if (fd < 0) return;
  size_t length = 0;
  for (;;) {
    ssize_t got = read(fd, buffer + length, size - 1 - length);
    if (got <= 0) break;
    length += size_t(got);
    if (length + 1 >= size) break;
  }
  close(fd);
  // Arguments are separated by NULs, the last one ended by one.
  while (length > 0 && buffer[length - 1] == 0) --length;
  for (size_t i = 0; i < length; ++i)
    if (buffer[i] == 0) buffer[i] = ' ';
  buffer[length] = 0;
}

int processor_count() {
  long count = sysconf(_SC_NPROCESSORS_ONLN);
  return count < 1 ? 1 : int(count);
}

void set_process_name(const char* path) {
  const char* slash = std::strrchr(path, '/');
  prctl(PR_SET_NAME, slash ? slash + 1 : path);
}

void set_priority_choice(int choice, int pid) {
  constexpr int NICE[3] = {0, 5, 10};
  if (choice >= 0 && choice < 3) setpriority(PRIO_PROCESS, id_t(pid), NICE[choice]);
}

void platform_start() {
  std::signal(SIGPIPE, SIG_IGN);
  std::setvbuf(stdout, nullptr, _IONBF, 0);
}

extern char** environ;

int spawn_listener(const char* program, char* const argv[], int input, int* pid) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input, 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  const int error = posix_spawn(&child, program, &actions, nullptr, argv, environ);
  posix_spawn_file_actions_destroy(&actions);
  *pid = int(child);
  return error;
}
