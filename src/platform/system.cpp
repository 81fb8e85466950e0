#include "platform/system.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

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

void set_process_nice(int nice_value) { setpriority(PRIO_PROCESS, 0, nice_value); }

void platform_start() {
  std::signal(SIGPIPE, SIG_IGN);
  std::setvbuf(stdout, nullptr, _IONBF, 0);
}
