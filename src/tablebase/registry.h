// The registry of table files: which of the known tables have files in the
// folders of the path list, where they are, and how their men are found.
#pragma once

#include <cstdint>
#include <cstdio>

#include "tablebase/compressed.h"
#include "tablebase/index_family.h"
#include "tablebase/tb_rows.h"

constexpr int TB_MAX_PARTS = 18;
constexpr int TB_BUCKETS = 32;
constexpr uint64_t TB_PART_BYTES = 1ull << 31;

struct CacheSlot;

struct TbDescriptor {
  uint32_t id;
  uint32_t flags;
  TbIndexFunction indexWhite;
  TbIndexFunction indexBlack;
  char name[8];
  uint64_t size[2];
  char* paths[2][TB_MAX_PARTS];
  FILE* files[2][TB_MAX_PARTS];
  CompressedIndex* decoders[2][TB_MAX_PARTS];
  CacheSlot** bucketHeads[2];
  const int8_t* memoryTable[2];  // nothing fills it; the reader keeps the test
};

extern TbDescriptor tb_descriptors[TB_ROWS];
extern DecodeBlock* tb_decode_block;  // the one work record, when a file is compressed

// Registers every file of the known tables found in the folders of the list
// (separated by ',' or ';'). Gives the largest number of men with a file, as
// 6, 5, 4 or 3, or 0. A file that is there and wrong ends the program.
int RegisterTablebases(const char* pathList);

// Registers the tables of the NalimovPath option and logs how many men they
// cover; sets `tablebase_pieces`.
void TablebaseSummary();

// The tables at start-up: the cache and path the configuration file set, or
// the built-in ones; children get theirs forwarded down their pipes.
void tablebase_start(bool mainProcess);

// The row of a material balance: counts of white pawns, knights, bishops,
// rooks, queens, then black's. Positive: the row with White as the strong
// side; negative: the row with colours exchanged; 0: no registered table.
int tb_find_row(const int counts[10]);

// Counts the bytes of every table allocation; ends the program when one fails.
void* tb_allocate(size_t bytes);

// Closes every open table file.
void tb_close_files();
