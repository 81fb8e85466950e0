#include "pool/children.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>

int child_pipes[MAX_CHILD_PIPES];
int child_pipe_count = 0;

void send_to_children(const char* format, ...) {
  if (child_pipe_count == 0) return;
  char line[8192];
  va_list args;
  va_start(args, format);
  int length = std::vsnprintf(line, sizeof(line) - 1, format, args);
  va_end(args);
  if (length < 0) return;
  if (size_t(length) > sizeof(line) - 2) length = int(sizeof(line) - 2);
  line[length++] = '\n';
  for (int i = 0; i < child_pipe_count; ++i) {
    if (child_pipes[i] < 0) continue;
    // A child that no longer reads loses its line; the others get theirs.
    if (write(child_pipes[i], line, size_t(length)) != length) child_pipes[i] = -1;
  }
}

void leave_pool() {}
