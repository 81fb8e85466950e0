// The transposition table as the board core sees it: the words of all
// buckets. Until a table is mapped the base is null and the mask 0, so a
// prefetch through them stays harmless.
#pragma once

#include <cstdint>

extern uint64_t* hash_table;
extern uint64_t hash_mask;

// Starts loading the bucket of a key while the rest of a node's work runs.
[[gnu::always_inline]] inline void PrefetchBucket(uint64_t key) {
  __builtin_prefetch(hash_table + (key & hash_mask));
}
