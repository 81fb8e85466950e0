// What the options say of the endgame tables. The registry and the probes
// read these; the option dispatcher writes them.
#pragma once

#include <cstdint>

constexpr int TABLEBASE_PATH_SIZE = 1024;

extern int32_t tablebase_pieces;               // men the loaded tables cover; 0: none
extern char nalimov_path[TABLEBASE_PATH_SIZE]; // option NalimovPath
extern int32_t nalimov_cache_mb;               // option NalimovCache
extern int32_t nalimov_probe_frequency;        // option NalimovProbeFrequency, 0..256
extern int32_t tablebase_probe_depth;          // half plies from which the search probes

// The probe depth of a search from the probe frequency: (100 - f) / 4, or
// 200 (never) when the frequency is 0.
void set_tablebase_probe_depth();
