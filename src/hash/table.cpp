#include "hash/table.h"

#include <cstdio>
#include <cstring>

#include "report/output.h"
#include "shell/identity.h"

uint64_t* hash_table = nullptr;
uint64_t hash_mask = 0;
uint64_t hash_words = 0;
uint64_t HashDate = 0;
int32_t ReplacementScore[256];
bool preserve_analysis = false;
bool use_large_pages = false;
int32_t large_page_status = 5;

namespace {

SharedMapping mapping;
bool owned = false;

// One megabyte of the process's own memory for when no shared table of any
// size can be had: a search under way, or the next one, then still has a
// table to probe. Children cannot join it, but one process searches on.
constexpr uint64_t SPARE_WORDS = uint64_t(1) << 17;
alignas(64) uint64_t spare_table[SPARE_WORDS];

// Preserve Analysis pins everything from this depth on.
constexpr int32_t PRESERVED_DEPTH = 22;

int32_t score_of(uint64_t entry) { return ReplacementScore[entry & 255]; }

// The slot to give up when no slot of the bucket holds the position: the
// most replaceable one, the later of equals.
int victim(const uint64_t slot[4]) {
  int worst = 0;
  for (int i = 1; i < 3; ++i)
    if (score_of(slot[i]) >= score_of(slot[worst])) worst = i;
  return score_of(slot[3]) < score_of(slot[worst]) ? worst : 3;
}

// Writes `word` into the first slot that passes `matches`, or else into the
// victim. With `zero_later`, every later slot that also passes is emptied,
// so that a stronger result removes the weaker ones of its position.
template <bool zero_later, class Test>
inline void place(uint64_t key, uint64_t word, Test matches) {
  const uint32_t index = HashIndex(key);
  uint64_t slot[4];
  for (uint32_t i = 0; i < 4; ++i) slot[i] = HashRead(index ^ i);
  for (uint32_t i = 0; i < 4; ++i) {
    if (!matches(slot[i])) continue;
    HashWrite(index ^ i, word);
    if (zero_later)
      for (uint32_t j = i + 1; j < 4; ++j)
        if (matches(slot[j])) HashWrite(index ^ j, 0);
    return;
  }
  HashWrite(index ^ uint32_t(victim(slot)), word);
}

// A bound goes over an entry of the position only where that entry is not
// the other sort of bound, is no deeper, and, for a restricted bound, is
// itself restricted.
template <uint64_t other>
inline void store_bound(uint64_t key, Move move, int32_t depth, int32_t value, uint64_t flags) {
  const uint64_t word = HashEntry::Make(key, move, depth, value, flags, HashDate);
  const bool restricted = flags & HashEntry::RESTRICTED;
  place<false>(key, word, [&](uint64_t entry) {
    return HashEntry::Matches(entry, key) && !(entry & other) &&
           HashEntry::Depth(entry) <= HashEntry::Depth(word) &&
           (!restricted || (entry & HashEntry::RESTRICTED));
  });
}

void drop_table() {
  unlink_shared_mapping(mapping);
  unmap_shared_mapping(mapping);
  hash_table = nullptr;
  hash_mask = 0;
  hash_words = 0;
  owned = false;
}

void take_mapping() {
  hash_table = static_cast<uint64_t*>(mapping.base);
  hash_words = mapping.bytes / 8;
  hash_mask = hash_words - 1;
}

// The large page outcome for a fresh mapping; advises the kernel when it can.
void apply_large_pages(HashBuildReport& report, bool large_pages) {
  report.large_page_status = 5;
  if (large_pages) {
    report.huge_page_bytes = huge_page_size();
    switch (huge_page_support()) {
      case HugePageSupport::ABSENT:
        report.large_page_status = 1;
        break;
      case HugePageSupport::NO_SIZE:
        report.large_page_status = 2;
        break;
      case HugePageSupport::REFUSED:
        report.large_page_status = mapping.bytes < report.huge_page_bytes ? 3 : 4;
        break;
      case HugePageSupport::AVAILABLE:
        if (mapping.bytes < report.huge_page_bytes) {
          report.large_page_status = 3;
        } else {
          report.advice_error = advise_huge_pages(mapping);
          report.large_page_status = report.advice_error ? 4 : 0;
        }
        break;
    }
  }
  large_page_status = report.large_page_status;
}

bool create_table(uint32_t megabytes, bool large_pages, HashBuildReport& report) {
  char name[SHARED_NAME_SIZE];
  HashMappingName(name, sizeof(name));
  const uint64_t bytes = (uint64_t(megabytes) << 17) * 8;
  if (!create_shared_mapping(mapping, name, bytes, report.error, sizeof(report.error))) return false;
  apply_large_pages(report, large_pages);
  take_mapping();
  owned = true;
  report.megabytes = megabytes;
  return true;
}

}  // namespace

void BuildReplacementScore() {
  const int32_t current = int32_t(HashDate >> HashEntry::DATE_SHIFT);
  for (int32_t date = 0; date < 4; ++date) {
    for (int32_t depth = 0; depth < 64; ++depth) {
      const int32_t age = ((current - date) & 3) + 1;
      int32_t score = age * 256 - depth;
      // Today's entries sit just below yesterday's of the same depth.
      if (date == current) score += 252;
      if (preserve_analysis && depth >= PRESERVED_DEPTH) score = 256 - depth;
      ReplacementScore[date * 64 + depth] = score;
    }
  }
}

// Scores for date 0 from the start, so a store made before any table build
// or go still ranks its victims sensibly.
[[maybe_unused]] static const bool scores_ready = (BuildReplacementScore(), true);

void AdvanceHashDate() {
  HashDate = (HashDate + (uint64_t(1) << HashEntry::DATE_SHIFT)) & HashEntry::DATE_MASK;
  BuildReplacementScore();
}

void SetHashDate(uint32_t date) {
  HashDate = uint64_t(date & 3) << HashEntry::DATE_SHIFT;
  BuildReplacementScore();
}

void ClearHashTable() {
  for (uint64_t i = 0; i < hash_words; ++i) HashWrite(i, 0);
  SetHashDate(0);
}

void StoreLower(uint64_t key, Move move, int32_t depth, int32_t value, bool restricted) {
  store_bound<HashEntry::UPPER>(key, move, depth, value,
                                HashEntry::LOWER | (restricted ? HashEntry::RESTRICTED : 0));
}

void StoreUpper(uint64_t key, Move move, int32_t depth, int32_t value, bool restricted) {
  store_bound<HashEntry::LOWER>(key, move, depth, value,
                                HashEntry::UPPER | (restricted ? HashEntry::RESTRICTED : 0));
}

void StoreLowerPlain(uint64_t key, Move move, int32_t depth, int32_t value) {
  store_bound<HashEntry::UPPER>(key, move, depth, value, HashEntry::LOWER);
}

void StoreUpperPlain(uint64_t key, Move move, int32_t depth, int32_t value) {
  store_bound<HashEntry::LOWER>(key, move, depth, value, HashEntry::UPPER);
}

void StoreExact(uint64_t key, Move move, int32_t depth, int32_t value) {
  const uint64_t word = HashEntry::Make(key, move, depth, value, HashEntry::EXACT, HashDate);
  place<true>(key, word, [&](uint64_t entry) {
    return HashEntry::Matches(entry, key) && HashEntry::Depth(entry) <= HashEntry::Depth(word);
  });
}

void StoreForced(uint64_t key, Move move, int32_t value) {
  const uint64_t word = HashEntry::Make(key, move, 63, value, HashEntry::EXACT, HashDate);
  place<true>(key, word, [&](uint64_t entry) { return HashEntry::Matches(entry, key); });
}

void HashMappingName(char* buffer, size_t size) {
  const int32_t id = is_child ? parent_sync_id
                     : overridden_parent_id ? overridden_parent_id
                                            : current_process_id();
  std::snprintf(buffer, size, "/%sOldSync%d%d", "quorl", 1, id);
}

HashBuildReport BuildHashTable(uint32_t megabytes, bool large_pages, bool keep_name) {
  HashBuildReport report;
  const uint32_t previous = owned ? uint32_t(hash_words >> 17) : 0;
  drop_table();
  // A table of no size would leave no bucket to store into.
  if (megabytes == 0) megabytes = 1;
  report.ok = create_table(megabytes, large_pages, report);
  if (!report.ok && previous) {
    // The old size was there a moment ago; its memory is free again.
    HashBuildReport fallback;
    if (create_table(previous, large_pages, fallback)) {
      report.megabytes = fallback.megabytes;
      report.large_page_status = fallback.large_page_status;
    }
  }
  if (!hash_table) {
    hash_table = spare_table;
    hash_words = SPARE_WORDS;
    hash_mask = SPARE_WORDS - 1;
    owned = true;
    report.megabytes = 1;
    report.large_page_status = 5;
  }
  ClearHashTable();
  if (!keep_name) ReleaseHashTableName();
  return report;
}

HashBuildReport AttachHashTable() {
  HashBuildReport report;
  // A controller's table, once joined, is kept through our rebuilds: its
  // owner chose the size, and may have removed the name already.
  if (HashTableIsShared() && !owned) {
    report.ok = true;
    report.megabytes = uint32_t(hash_words >> 17);
    return report;
  }
  drop_table();
  char name[SHARED_NAME_SIZE];
  HashMappingName(name, sizeof(name));
  report.ok = open_shared_mapping(mapping, name, report.error, sizeof(report.error));
  // The owner chose the size; a mapping that is no whole number of buckets
  // is not one of ours.
  if (report.ok && (mapping.bytes < 32 || mapping.bytes % 32 != 0)) {
    std::snprintf(report.error, sizeof(report.error),
                  "Shared memory '%s' of %llu bytes is no hash table", name,
                  (unsigned long long)mapping.bytes);
    unmap_shared_mapping(mapping);
    report.ok = false;
  }
  if (!report.ok) return report;
  take_mapping();
  report.megabytes = uint32_t(hash_words >> 17);
  SetHashDate(0);
  return report;
}

void ReleaseHashTableName() { unlink_shared_mapping(mapping); }

void ReleaseHashTable() { drop_table(); }

bool OwnsHashTable() { return owned; }

bool HashTableIsShared() { return hash_table && hash_table == mapping.base; }

void ReportHashBuild(const HashBuildReport& report) {
  if (!report.ok && report.error[0]) report_text("%s", report.error);
  if (!report.megabytes) return;
  switch (report.large_page_status) {
    case 0:
      report_text("Using large pages, hash size = %u Mb.", report.megabytes);
      break;
    case 1:
      report_text("Large pages not used (kernel32.dll not available). Your OS does not support this feature.");
      break;
    case 2:
      report_text("Large pages not used (GetLargePageMinimum failed). Your OS does not support this feature.");
      break;
    case 3:
      report_text("Large pages not used - pGetLargePageMinimum () returned %d.", int32_t(report.huge_page_bytes));
      break;
    case 4:
      if (report.advice_error) {
        report_text("ERROR: API        = %s", "madvise");
        report_text("       error code = %d", report.advice_error);
        report_text("       message    = %s", std::strerror(report.advice_error));
      }
      report_text("Large pages not used. This could be due to memory fragmentation or lack of Administrative privileges.");
      break;
    default:
      log_line("Large pages not used - user choice.");
      break;
  }
}
