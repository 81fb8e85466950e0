#include <cstring>

#include "shell/bench.h"
#include "shell/startup.h"

int main(int argc, char** argv) {
  // Engine testers run every engine's own bench the same way.
  if (argc > 1 && std::strcmp(argv[1], "bench") == 0) return run_bench(argc, argv);
  start_up(argc, argv);
}
