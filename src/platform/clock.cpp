#include "platform/clock.h"

#include <cerrno>
#include <ctime>

namespace {

uint64_t monotonic_ms() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return uint64_t(now.tv_sec) * 1000 + uint64_t(now.tv_nsec) / 1000000;
}

uint64_t (*tick_source)() = monotonic_ms;

}  // namespace

uint64_t tick_ms() { return tick_source(); }

void set_tick_source(uint64_t (*source)()) { tick_source = source ? source : monotonic_ms; }

void sleep_ms(int milliseconds) {
  timespec wait{milliseconds / 1000, long(milliseconds % 1000) * 1000000};
  while (nanosleep(&wait, &wait) != 0 && errno == EINTR) {
  }
}
