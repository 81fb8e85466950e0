#include "platform/input.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace {

char pending[1 << 16];
size_t pending_start = 0, pending_end = 0;
bool input_ended = false;

// One read(2) into the buffer; marks the end of input on 0 or an error.
void fill_pending() {
  pending_start = pending_end = 0;
  for (;;) {
    ssize_t got = read(0, pending, sizeof(pending));
    if (got > 0) {
      pending_end = size_t(got);
      return;
    }
    if (got < 0 && errno == EINTR) continue;
    input_ended = true;
    return;
  }
}

}  // namespace

bool input_read_line(char* buffer, size_t size) {
  size_t length = 0;
  while (length + 1 < size) {
    if (pending_start == pending_end) {
      if (input_ended) break;
      fill_pending();
      if (pending_start == pending_end) break;
    }
    char c = pending[pending_start++];
    buffer[length++] = c;
    if (c == '\n') break;
  }
  if (size) buffer[length] = 0;
  return length > 0;
}

bool input_waiting() {
  if (pending_start < pending_end || input_ended) return true;
  pollfd descriptor{0, POLLIN, 0};
  int ready = poll(&descriptor, 1, 0);
  // Readable, hung up or broken all mean that a read will not block: the
  // reader then finds a line or the end of input.
  return ready > 0;
}

bool input_is_terminal() { return isatty(0) == 1; }
