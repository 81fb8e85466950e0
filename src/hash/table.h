// The transposition table: one array of 64-bit words in a named mapping that
// every engine process shares. One entry is one word, read and written in a
// single relaxed 64-bit access, so no process ever needs a lock: a reader
// sees the old word or the new one, never a mix. A race between two stores
// can lose an entry, and that is all it can do.
//
// Until a table is mapped the base is null and the mask 0, so a prefetch
// through them stays harmless.
#pragma once

#include <cstddef>
#include <cstdint>

#include "board/types.h"
#include "platform/shared_memory.h"

extern uint64_t* hash_table;
extern uint64_t hash_mask;   // words - 1
extern uint64_t hash_words;  // 0 while no table is mapped

// The date of the current search, already in its place in a word (date << 6).
extern uint64_t HashDate;
// How replaceable an entry is, by its low byte (date * 64 + depth): higher
// goes first.
extern int32_t ReplacementScore[256];

extern bool preserve_analysis;  // option Preserve Analysis; read at the next score rebuild
extern bool use_large_pages;    // option Use Large Pages; read at the next table build
// How the last build fared with large pages: 0 in use, 1 no support in the
// kernel, 2 huge page size unknown, 3 table below one huge page, 4 refused,
// 5 not asked for.
extern int32_t large_page_status;

// One entry word:
//   bits 0-5 depth, 6-7 date, 8-13 to, 14-19 from, 20-33 value + 8190,
//   34 lower bound, 35 upper bound (both: exact), 36 restricted,
//   37-40 zero, 41-63 the top 23 bits of the key.
// A word of 0 is an empty slot.
namespace HashEntry {
constexpr uint64_t DEPTH_MASK = 63;
constexpr int DATE_SHIFT = 6;
constexpr uint64_t DATE_MASK = 192;
constexpr int TO_SHIFT = 8;
constexpr int FROM_SHIFT = 14;
constexpr int VALUE_SHIFT = 20;
constexpr uint64_t VALUE_FIELD = 0x3fff;
constexpr int32_t VALUE_BIAS = 8190;
constexpr uint64_t LOWER = uint64_t(1) << 34;
constexpr uint64_t UPPER = uint64_t(1) << 35;
constexpr uint64_t EXACT = LOWER | UPPER;
constexpr uint64_t RESTRICTED = uint64_t(1) << 36;
constexpr int CHECK_SHIFT = 41;
constexpr uint64_t CHECK_MASK = ~uint64_t(0) << CHECK_SHIFT;

constexpr int32_t Depth(uint64_t entry) { return int32_t(entry & DEPTH_MASK); }
constexpr uint32_t Date(uint64_t entry) { return uint32_t(entry >> DATE_SHIFT & 3); }
// The best move in hash form: to in bits 0-5, from in bits 10-15; 0 for none.
constexpr Move BestMove(uint64_t entry) {
  return (entry >> TO_SHIFT & 63) | (entry >> FROM_SHIFT & 63) << 10;
}
// The stored field, still offset by VALUE_BIAS.
constexpr int32_t StoredValue(uint64_t entry) { return int32_t(entry >> VALUE_SHIFT & VALUE_FIELD); }
constexpr int32_t Value(uint64_t entry) { return StoredValue(entry) - VALUE_BIAS; }
constexpr bool IsLower(uint64_t entry) { return entry & LOWER; }
constexpr bool IsUpper(uint64_t entry) { return entry & UPPER; }
constexpr bool IsRestricted(uint64_t entry) { return entry & RESTRICTED; }
constexpr uint32_t Check(uint64_t entry) { return uint32_t(entry >> CHECK_SHIFT); }
// The entry belongs to the position of `key`, as far as 23 bits can tell.
constexpr bool Matches(uint64_t entry, uint64_t key) { return (entry ^ key) < (uint64_t(1) << CHECK_SHIFT); }

// A word from its parts. Only bits 0-5 and 10-15 of the move count, so any
// move form will do; value is already offset, depth 0..63; `flags` is any of
// LOWER, UPPER, RESTRICTED; `date` is in place (a HashDate).
constexpr uint64_t Make(uint64_t key, Move move, int32_t depth, int32_t value, uint64_t flags,
                        uint64_t date) {
  return (key & CHECK_MASK) | flags | (uint64_t(value) & VALUE_FIELD) << VALUE_SHIFT |
         (move >> 10 & 63) << FROM_SHIFT | (move & 63) << TO_SHIFT | (date & DATE_MASK) |
         (uint64_t(depth) & DEPTH_MASK);
}
}  // namespace HashEntry

// The first slot of a key's bucket. Computed in 32 bits, as every store does:
// that keeps the table within 2^32 words whatever the configured size.
[[gnu::always_inline]] inline uint32_t HashIndex(uint64_t key) {
  return uint32_t(key) & uint32_t(hash_mask);
}

// Every access to the shared words goes through these two: one relaxed
// 64-bit access each, so a word is never torn and a load inside a loop is
// never folded away, while costing no more than a plain move.
[[gnu::always_inline]] inline uint64_t HashRead(uint64_t index) {
  return __atomic_load_n(hash_table + index, __ATOMIC_RELAXED);
}
[[gnu::always_inline]] inline void HashWrite(uint64_t index, uint64_t word) {
  __atomic_store_n(hash_table + index, word, __ATOMIC_RELAXED);
}

// Starts loading the bucket of a key while the rest of a node's work runs.
[[gnu::always_inline]] inline void PrefetchBucket(uint64_t key) {
  __builtin_prefetch(hash_table + HashIndex(key));
}

// The four slots of a key's bucket, word[i] from index ^ i: one aligned
// 32-byte run, loaded first and examined afterwards.
struct HashBucket {
  uint64_t word[4];
};
[[gnu::always_inline]] inline HashBucket LoadBucket(uint64_t key) {
  const uint32_t index = HashIndex(key);
  return HashBucket{{HashRead(index), HashRead(index ^ 1), HashRead(index ^ 2), HashRead(index ^ 3)}};
}

// A probe that cut confirms its entry for the current search: slot `slot` of
// the key's bucket gets today's date, and is written only when the date
// differs, so a hot entry costs no store.
[[gnu::always_inline]] inline void RefreshDate(uint64_t key, int32_t slot, uint64_t entry) {
  if ((entry & HashEntry::DATE_MASK) != HashDate)
    HashWrite(HashIndex(key) ^ uint32_t(slot), (entry & ~HashEntry::DATE_MASK) | HashDate);
}

// Rebuilds ReplacementScore for the current date and Preserve Analysis.
void BuildReplacementScore();
// A new search: the date moves on by one, modulo 4.
void AdvanceHashDate();
// A child takes the date its main process sends with go (0..3).
void SetHashDate(uint32_t date);
// Every word to 0, the date to 0. Only the process that owns the table may.
void ClearHashTable();

// Stores. `value` is already offset by 8190, `depth` is 0..63; each writes
// the new word, with today's date, into one slot of the key's bucket, and
// never fails.
// Bounds of a null-window search. A stored bound of the other sort is never
// overwritten; a restricted result replaces only a restricted one.
void StoreLower(uint64_t key, Move move, int32_t depth, int32_t value, bool restricted);
void StoreUpper(uint64_t key, Move move, int32_t depth, int32_t value, bool restricted);
// The same without the restricted rule; the new word is unrestricted.
void StoreLowerPlain(uint64_t key, Move move, int32_t depth, int32_t value);
void StoreUpperPlain(uint64_t key, Move move, int32_t depth, int32_t value);
// An exact value replaces the position's first entry of no greater depth and
// zeroes its other such entries.
void StoreExact(uint64_t key, Move move, int32_t depth, int32_t value);
// An exact value at depth 63 that replaces the position's entries at any depth.
void StoreForced(uint64_t key, Move move, int32_t value);

// What a build or an attach did, for the replies and the status lines.
struct HashBuildReport {
  bool ok = false;
  uint32_t megabytes = 0;          // size in force afterwards, 0 when there is no table
  int32_t large_page_status = 5;
  int32_t advice_error = 0;        // errno of a refused huge page advice (status 4)
  uint64_t huge_page_bytes = 0;    // the huge page size (status 3)
  char error[SHARED_ERROR_SIZE] = {};  // why it failed, when !ok
};

// The name of the table's mapping: the child's parent id, a controller's id,
// or our own process id.
void HashMappingName(char* buffer, size_t size);

// Creates the table of `megabytes << 17` words anew (the old one and its
// contents are dropped), with huge page advice when asked, and clears it.
// The name is removed at once unless `keep_name`, for a caller whose children
// still have to open it (ReleaseHashTableName then). When the new size cannot
// be had, the previous size is built again, if there was one: `ok` is false
// either way, and `megabytes` tells what is in force.
HashBuildReport BuildHashTable(uint32_t megabytes, bool large_pages, bool keep_name = false);
// Maps the table another process owns, by name; its size is the mapping's.
// Neither clears it nor ever will; the date starts at 0.
HashBuildReport AttachHashTable();
// Removes the table's name once every process that needs it has it open.
void ReleaseHashTableName();
// Drops this process's view of the table (and its name, if still held).
void ReleaseHashTable();
// Whether this process created the table, and so may clear it.
bool OwnsHashTable();
// Whether the table lies in a named mapping that other processes can join.
bool HashTableIsShared();

// Tells the large page outcome: a log line when large pages were not asked
// for, replies otherwise.
void ReportHashBuild(const HashBuildReport& report);
