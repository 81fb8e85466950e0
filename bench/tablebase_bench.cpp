// Table probes through the block cache, plain and compressed, hit and miss,
// and the generator's time for kqkr. The tables are solved into a temporary
// folder first.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>

#include "tablebase/block_cache.h"
#include "tablebase/registry.h"
#include "tbgen/tb_solver.h"

namespace {

// The folders go when the bench ends.
struct Folders {
  std::string dirs[2];
  ~Folders() {
    for (const std::string& dir : dirs)
      if (!dir.empty()) std::system(("rm -rf " + dir).c_str());
  }
};

const std::string& folder(bool compressed) {
  static Folders folders;
  std::string* dirs = folders.dirs;
  if (dirs[compressed].empty()) {
    char name[] = "/tmp/quorl-bench-tables-XXXXXX";
    dirs[compressed] = mkdtemp(name);
    tbgen::WriteTable(tbgen::Solve(tb_row_by_name("kqkr")), dirs[compressed], compressed);
  }
  return dirs[compressed];
}

// A hit reads any of 64 blocks that all stay in the cache, so that it walks
// the bucket and moves the slot up the LRU order as a search's probes do; a
// miss reads a block that two slots cannot hold, so every probe decodes or
// reads anew.
void Probe(benchmark::State& state, bool compressed, bool hit) {
  const std::string& dir = folder(compressed);
  UseTablebaseCache(hit ? 1 << 20 : 2 * TB_SLOT_BYTES);
  RegisterTablebases(dir.c_str());
  const int row = tb_row_by_name("kqkr");
  const uint64_t size = tb_descriptors[row].size[0];
  const uint64_t span = hit ? std::min<uint64_t>(size, 64 * 8192) : size;
  std::mt19937_64 random(7);
  int64_t sum = 0;
  for (auto _ : state) sum += ReadTableValue(row, 0, random() % span);
  benchmark::DoNotOptimize(sum);
}

void BM_ProbeHitPlain(benchmark::State& state) { Probe(state, false, true); }
void BM_ProbeMissPlain(benchmark::State& state) { Probe(state, false, false); }
void BM_ProbeHitCompressed(benchmark::State& state) { Probe(state, true, true); }
void BM_ProbeMissCompressed(benchmark::State& state) { Probe(state, true, false); }

void BM_GenerateKqkr(benchmark::State& state) {
  for (auto _ : state) {
    tbgen::ForgetSolved();
    benchmark::DoNotOptimize(tbgen::Solve(tb_row_by_name("kqkr")).values[0].size());
  }
}

BENCHMARK(BM_ProbeHitPlain);
BENCHMARK(BM_ProbeMissPlain);
BENCHMARK(BM_ProbeHitCompressed);
BENCHMARK(BM_ProbeMissCompressed);
BENCHMARK(BM_GenerateKqkr)->Unit(benchmark::kSecond)->Iterations(1);

}  // namespace
