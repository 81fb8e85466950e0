// Loaded into the engine with LD_PRELOAD: the number of processors online
// becomes QUORL_TEST_PROCESSORS, so that a pool larger than this machine
// can be tested. Every other question goes to the C library.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>

extern "C" long sysconf(int name) {
  using Sysconf = long (*)(int);
  static const Sysconf real = reinterpret_cast<Sysconf>(dlsym(RTLD_NEXT, "sysconf"));
  const char* processors = std::getenv("QUORL_TEST_PROCESSORS");
  if (name == _SC_NPROCESSORS_ONLN && processors) return std::atol(processors);
  return real(name);
}
