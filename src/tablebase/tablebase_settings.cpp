#include "tablebase/tablebase_settings.h"

int32_t tablebase_pieces = 0;
char nalimov_path[TABLEBASE_PATH_SIZE] = "";
int32_t nalimov_cache_mb = 1;
int32_t nalimov_probe_frequency = 36;
int32_t tablebase_probe_depth = 200;

void set_tablebase_probe_depth() {
  // Any frequency is taken as given; the depth is reckoned wide enough for it.
  tablebase_probe_depth = nalimov_probe_frequency ? int32_t((100 - int64_t(nalimov_probe_frequency)) / 4) : 200;
}
