#include "tablebase/tablebase_settings.h"

#include <dlfcn.h>

int32_t tablebase_pieces = 0;
char nalimov_path[TABLEBASE_PATH_SIZE] = "";
int32_t nalimov_cache_mb = 1;
int32_t nalimov_probe_frequency = 36;
int32_t tablebase_probe_depth = 200;

namespace {

void* probe_library = nullptr;

// Beside the engine, under the name the library is known by on this system.
constexpr const char* USUAL_LIBRARY = "libegtbgate.so";

}  // namespace

void set_tablebase_probe_depth() {
  tablebase_probe_depth = nalimov_probe_frequency ? (100 - nalimov_probe_frequency) / 4 : 200;
}

bool load_probe_library(const char* path) {
  unload_probe_library();
  probe_library = dlopen(path ? path : USUAL_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  return probe_library != nullptr;
}

void unload_probe_library() {
  if (probe_library) dlclose(probe_library);
  probe_library = nullptr;
}
