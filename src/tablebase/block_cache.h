// The block cache of the tables: 8192-byte blocks, decoded, kept in one
// allocation the size of the NalimovCache option and reused by LRU. Each
// table and side has 32 buckets of its cached blocks.
#pragma once

#include <cstdint>

constexpr int TB_SLOT_DATA_BYTES = 8228;  // a block and room for a decoder's overrun
constexpr int TB_SLOT_BYTES = 8284;       // with the slot record
constexpr int32_t TB_NO_VALUE = 32767;

// Frees the cache and, when `bytes` is at least 56, makes one with room for
// bytes / 8284 blocks.
void UseTablebaseCache(uint64_t bytes);
// The same in megabytes, as the option gives them; a size below nothing is
// no cache.
void UseTablebaseCacheMb(int32_t megabytes);
bool tb_cache_exists();
int tb_cache_slots();

// Closes all files and puts every slot on the free list.
void ResetCache();

// One signed byte of a block through the cache, or 32767.
int32_t ReadBlock(int row, int side, uint32_t block, uint32_t offset);

// The distance value of an index of a table, or 32767 when there is none.
int32_t ReadTableValue(int row, int side, uint64_t index);
