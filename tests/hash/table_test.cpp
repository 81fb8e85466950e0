// The shared transposition table: entry layout, replacement order, the store
// variants, date refresh, clearing, and the table's mapping.
#include "hash/table.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "board/move.h"
#include "report/output.h"
#include "shell/dialogue.h"
#include "shell/identity.h"

namespace {

// The layout, written out here bit by bit so that the tests do not lean on
// the code's own constants.
constexpr uint64_t kLower = uint64_t(1) << 34;
constexpr uint64_t kUpper = uint64_t(1) << 35;
constexpr uint64_t kExact = kLower | kUpper;
constexpr uint64_t kRestricted = uint64_t(1) << 36;

constexpr uint64_t Word(uint32_t check, int depth, int date, uint64_t flags, int to = 0, int from = 0,
                        int stored_value = 8190) {
  return uint64_t(check) << 41 | flags | uint64_t(stored_value) << 20 | uint64_t(from) << 14 |
         uint64_t(to) << 8 | uint64_t(date) << 6 | uint64_t(depth);
}

// A 1 MB table has 2^17 words. The low bits of the test key end in binary
// 10, so its four slots lie at base ^ 0 = ...e6, ^1 = ...e7, ^2 = ...e4,
// ^3 = ...e5: the bucket is probed from its third word.
constexpr uint64_t kWords = uint64_t(1) << 17;
constexpr uint64_t kLow = 0x1a5e6;
constexpr uint32_t kCheck = 0x2b3c4d;
constexpr uint64_t kKey = uint64_t(kCheck) << 41 | uint64_t(0x13) << 32 | kLow;
constexpr uint64_t Slot(int i) { return kLow ^ uint64_t(i); }

// A move word in hash form.
constexpr Move HashMove(int from, int to) { return Move(to) | Move(from) << 10; }

class HashTable : public ::testing::Test {
 protected:
  void SetUp() override {
    preserve_analysis = false;
    HashBuildReport report = BuildHashTable(1, false);
    ASSERT_TRUE(report.ok) << report.error;
    ASSERT_EQ(hash_words, kWords);
  }
  void TearDown() override {
    ReleaseHashTable();
    preserve_analysis = false;
  }
  static uint64_t At(uint64_t index) { return hash_table[index]; }
  static void Put(int slot, uint64_t word) { hash_table[Slot(slot)] = word; }
};

// --- Stores against a model of the replacement rules ---------------------------

// How replaceable an entry is: the oldest date goes first, then the shallower
// entry; today's entries rank just below yesterday's of the same depth. With
// Preserve Analysis every entry from depth 22 on ranks below all others.
int ModelScore(uint64_t entry, int today, bool preserve) {
  const int depth = int(entry & 63), age = (today - int(entry >> 6 & 3)) & 3;
  if (preserve && depth >= 22) return 256 - depth;
  constexpr int BY_AGE[4] = {508, 512, 768, 1024};
  return BY_AGE[age] - depth;
}

enum StoreKind { LOWER, UPPER, LOWER_RESTRICTED, UPPER_RESTRICTED, EXACT, FORCED, STORE_KINDS };

// The bucket after a store, by the rules: a bound replaces the first entry of
// its position that is not the other sort of bound, is no deeper and, for a
// restricted bound, is restricted itself; an exact result replaces the first
// entry of the position of no greater depth and empties the later ones; a
// forced one does the same at any depth. Without such an entry the most
// replaceable slot, the later of equals, takes the store.
void ModelStore(uint64_t bucket[4], StoreKind kind, int depth, int today, bool preserve, Move move, int value) {
  const bool restricted = kind == LOWER_RESTRICTED || kind == UPPER_RESTRICTED;
  const bool lower = kind == LOWER || kind == LOWER_RESTRICTED, upper = kind == UPPER || kind == UPPER_RESTRICTED;
  if (kind == FORCED) depth = 63;
  const uint64_t flags = lower ? kLower : upper ? kUpper : kExact;
  const uint64_t word =
      Word(kCheck, depth, today, flags | (restricted ? kRestricted : 0), move_to(move), move_from(move), value);
  const auto takes = [&](uint64_t e) {
    if ((e >> 41) != kCheck) return false;
    if (kind == FORCED) return true;
    if (int(e & 63) > depth) return false;
    if (lower && (e & kUpper)) return false;
    if (upper && (e & kLower)) return false;
    return !restricted || (e & kRestricted);
  };
  for (int i = 0; i < 4; ++i) {
    if (!takes(bucket[i])) continue;
    bucket[i] = word;
    if (kind == EXACT || kind == FORCED)
      for (int j = i + 1; j < 4; ++j)
        if (takes(bucket[j])) bucket[j] = 0;
    return;
  }
  int victim = 0;
  for (int i = 1; i < 4; ++i)
    if (ModelScore(bucket[i], today, preserve) >= ModelScore(bucket[victim], today, preserve)) victim = i;
  bucket[victim] = word;
}

// The store routines take the move with noise in the bits they must ignore.
void RunStore(StoreKind kind, int depth, Move move, int value) {
  const Move noisy = move | 0x3c0 | (~Move(0) << 16);
  switch (kind) {
    case LOWER: return StoreLowerPlain(kKey, noisy, depth, value);
    case UPPER: return StoreUpperPlain(kKey, noisy, depth, value);
    case LOWER_RESTRICTED: return StoreLower(kKey, noisy, depth, value, true);
    case UPPER_RESTRICTED: return StoreUpper(kKey, noisy, depth, value, true);
    case EXACT: return StoreExact(kKey, noisy, depth, value);
    default: return StoreForced(kKey, noisy, value);
  }
}

// Random buckets with few depths and dates, so that ties and every sort of
// entry of the position come up often.
TEST_F(HashTable, EveryStoreFollowsTheReplacementRules) {
  std::mt19937_64 rng(0x7ab1e);
  const auto below = [&](int n) { return int(rng() % uint64_t(n)); };
  constexpr uint64_t FLAGS[] = {kLower, kUpper, kExact, kLower | kRestricted, kUpper | kRestricted};
  int inPlace = 0, victims = 0;
  for (int n = 0; n < 20000; ++n) {
    const int today = below(4);
    preserve_analysis = below(4) == 0;
    SetHashDate(uint32_t(today));
    uint64_t bucket[4];
    for (uint64_t& e : bucket) {
      const int depth = below(3) ? 4 + below(3) : below(64);
      e = below(8) == 0 ? 0 : Word(below(2) ? kCheck : 0x100 + below(4), depth, below(4), FLAGS[below(5)]);
    }
    for (int i = 0; i < 4; ++i) Put(i, bucket[i]);
    const StoreKind kind = StoreKind(below(STORE_KINDS));
    const int depth = below(3) ? 4 + below(3) : below(64);
    const uint64_t before[4] = {bucket[0], bucket[1], bucket[2], bucket[3]};
    const Move move = HashMove(below(64), below(64));
    const int value = below(0x4000);  // as stored, 8190 above the score
    ModelStore(bucket, kind, depth, today, preserve_analysis, move, value);
    RunStore(kind, depth, move, value);
    bool sameSlot = false;
    for (int i = 0; i < 4; ++i) {
      ASSERT_EQ(At(Slot(i)), bucket[i]) << "slot " << i << " store " << kind << " depth " << depth << " today "
                                        << today << " preserve " << preserve_analysis << " was " << std::hex
                                        << before[0] << " " << before[1] << " " << before[2] << " " << before[3];
      sameSlot |= bucket[i] != before[i] && (before[i] >> 41) == kCheck;
    }
    inPlace += sameSlot;
    victims += !sameSlot;
  }
  EXPECT_GT(inPlace, 3000);
  EXPECT_GT(victims, 3000);
}

// --- Dates ---------------------------------------------------------------------

TEST_F(HashTable, DateAdvancesModuloFourAndTheScoresFollow) {
  SetHashDate(0);
  for (uint64_t want : {64, 128, 192, 0, 64}) {
    AdvanceHashDate();
    EXPECT_EQ(HashDate, want);
    EXPECT_EQ(ReplacementScore[want], 508);  // today's scores follow
  }
}

TEST_F(HashTable, RefreshRewritesOnlyAStaleDate) {
  SetHashDate(1);
  const uint64_t stale = Word(kCheck, 11, 3, kLower | kRestricted, 5, 9, 8000);
  Put(2, stale);
  Put(0, Word(0xc1, 1, 3, kLower));
  RefreshDate(kKey, 2, stale);
  EXPECT_EQ(At(Slot(2)), Word(kCheck, 11, 1, kLower | kRestricted, 5, 9, 8000));
  EXPECT_EQ(At(Slot(0)), Word(0xc1, 1, 3, kLower));

  // An entry already of today's date costs no store: the slot keeps what
  // another writer put there meanwhile.
  const uint64_t fresh = Word(kCheck, 11, 1, kLower);
  const uint64_t meanwhile = Word(0xc2, 40, 1, kUpper);
  Put(1, meanwhile);
  RefreshDate(kKey, 1, fresh);
  EXPECT_EQ(At(Slot(1)), meanwhile);
}

// --- Clearing, building, owning ----------------------------------------------

TEST_F(HashTable, ClearEmptiesEveryWordAndRestartsTheDate) {
  for (uint64_t i = 0; i < kWords; i += 97) hash_table[i] = 0x123456789abcdefull ^ i;
  hash_table[kWords - 1] = 1;
  SetHashDate(3);
  ClearHashTable();
  uint64_t nonzero = 0;
  for (uint64_t i = 0; i < kWords; ++i) nonzero += hash_table[i] != 0;
  EXPECT_EQ(nonzero, 0u);
  EXPECT_EQ(HashDate, 0u);
  EXPECT_EQ(ReplacementScore[0], 508);
  EXPECT_EQ(ReplacementScore[3 * 64], 512);
  // A new game clears the table its process owns.
  Put(0, Word(kCheck, 9, 2, kExact));
  SetHashDate(2);
  new_game_reset();
  EXPECT_EQ(At(Slot(0)), 0u);
  EXPECT_EQ(HashDate, 0u);
}

TEST_F(HashTable, BuildGivesAClearedTableOfTheSizeAndDropsTheName) {
  char name[SHARED_NAME_SIZE];
  HashMappingName(name, sizeof(name));
  EXPECT_FALSE(shared_name_exists(name));
  EXPECT_EQ(hash_mask, kWords - 1);
  EXPECT_TRUE(OwnsHashTable());
  hash_table[5] = 77;
  SetHashDate(2);
  HashBuildReport report = BuildHashTable(2, false);
  ASSERT_TRUE(report.ok) << report.error;
  EXPECT_EQ(report.megabytes, 2u);
  EXPECT_EQ(hash_words, uint64_t(2) << 17);
  EXPECT_EQ(hash_mask, (uint64_t(2) << 17) - 1);
  EXPECT_EQ(hash_table[5], 0u);
  EXPECT_EQ(HashDate, 0u);
  EXPECT_EQ(report.large_page_status, 5);
  EXPECT_EQ(large_page_status, 5);
  EXPECT_FALSE(shared_name_exists(name));
  EXPECT_FALSE(std::filesystem::exists(std::string("/dev/shm") + name));
  // A size that is no power of two keeps every bucket inside the table.
  report = BuildHashTable(3, false);
  ASSERT_TRUE(report.ok) << report.error;
  EXPECT_EQ(hash_words, uint64_t(3) << 17);
  StoreExact(~uint64_t(0), 0, 1, 8190);
  EXPECT_EQ(hash_table[hash_mask ^ 3], Word(0x7fffff, 1, 0, kExact));
}

TEST_F(HashTable, KeptNameLetsAnotherMappingShareTheWords) {
  HashBuildReport report = BuildHashTable(1, false, true);
  ASSERT_TRUE(report.ok) << report.error;
  char name[SHARED_NAME_SIZE];
  HashMappingName(name, sizeof(name));
  ASSERT_TRUE(shared_name_exists(name));
  SharedMapping other;
  char error[SHARED_ERROR_SIZE];
  ASSERT_TRUE(open_shared_mapping(other, name, error, sizeof(error))) << error;
  EXPECT_EQ(other.bytes, kWords * 8);
  StoreLowerPlain(kKey, HashMove(8, 16), 4, 8190);
  const uint64_t* seen = static_cast<const uint64_t*>(other.base);
  EXPECT_EQ(seen[Slot(3)], Word(kCheck, 4, 0, kLower, 16, 8));
  static_cast<uint64_t*>(other.base)[Slot(0)] = Word(0xd1, 2, 0, kUpper);
  EXPECT_EQ(LoadBucket(kKey).word[0], Word(0xd1, 2, 0, kUpper));
  ReleaseHashTableName();
  EXPECT_FALSE(shared_name_exists(name));
  // Both views live on after the name is gone.
  StoreUpperPlain(kKey ^ (uint64_t(5) << 41), 0, 1, 8190);
  EXPECT_EQ(seen[Slot(2)], Word(kCheck ^ 5, 1, 0, kUpper));
  unmap_shared_mapping(other);
}

TEST_F(HashTable, ImpossibleSizeFailsWithATextAndKeepsTheOldSize) {
  char name[SHARED_NAME_SIZE];
  HashMappingName(name, sizeof(name));
  // The table is back at its old size, cleared, and usable; without an old
  // table the process's own megabyte stands in.
  for (const bool hadTable : {true, false}) {
    if (!hadTable) ReleaseHashTable();
    const HashBuildReport report = BuildHashTable(0xffffffffu, false);
    EXPECT_FALSE(report.ok);
    EXPECT_NE(std::strstr(report.error, name), nullptr) << report.error;
    EXPECT_NE(std::strstr(report.error, "reserve"), nullptr) << report.error;
    EXPECT_EQ(report.megabytes, 1u);
    ASSERT_NE(hash_table, nullptr);
    EXPECT_EQ(hash_words, kWords);
    StoreLowerPlain(kKey, 0, 1, 8190);
    EXPECT_EQ(At(Slot(3)), Word(kCheck, 1, 0, kLower));
    EXPECT_FALSE(shared_name_exists(name));
  }
}

TEST_F(HashTable, LargePagesBelowOneHugePageAreNotUsed) {
  std::ifstream size_file("/sys/kernel/mm/transparent_hugepage/hpage_pmd_size");
  uint64_t huge = 0;
  if (!(size_file >> huge) || huge <= (uint64_t(1) << 20)) GTEST_SKIP() << "no huge page size above 1 MB";
  HashBuildReport report = BuildHashTable(1, true);
  ASSERT_TRUE(report.ok) << report.error;
  EXPECT_EQ(report.large_page_status, 3);
  EXPECT_EQ(report.huge_page_bytes, huge);
  EXPECT_EQ(large_page_status, 3);
}

// The large page outcome reaches the front end in the system's own words;
// "not asked for" goes to the log only.
TEST(HashBuildReport, TellsTheLargePageOutcome) {
  const std::string refused =
      "info string Large pages not used. This could be due to memory fragmentation or lack of "
      "Administrative privileges.\n";
  const struct {
    int status;
    int adviceError;
    std::string told;
  } cases[] = {
      {5, 0, ""},
      {0, 0, "info string Using large pages, hash size = 64 Mb.\n"},
      {1, 0, "info string Large pages not used (kernel32.dll not available). Your OS does not support this feature.\n"},
      {2, 0, "info string Large pages not used (GetLargePageMinimum failed). Your OS does not support this feature.\n"},
      {3, 0, "info string Large pages not used - pGetLargePageMinimum () returned 2097152.\n"},
      {4, 0, refused},
      // A refused call is named, with its error number and text, first.
      {4, EINVAL,
       "info string ERROR: API        = madvise\ninfo string        error code = " + std::to_string(EINVAL) +
           "\ninfo string        message    = " + std::strerror(EINVAL) + "\n" + refused},
  };
  auto told = [](const HashBuildReport& report) {
    ::testing::internal::CaptureStdout();
    ReportHashBuild(report);
    return ::testing::internal::GetCapturedStdout();
  };
  for (const auto& c : cases) {
    HashBuildReport report;
    report.ok = true;
    report.megabytes = 64;
    report.huge_page_bytes = 2097152;
    report.large_page_status = c.status;
    report.advice_error = c.adviceError;
    EXPECT_EQ(told(report), c.told) << c.status;
  }
  // A failed build tells why; with no table left there is nothing more.
  HashBuildReport failed;
  std::snprintf(failed.error, sizeof(failed.error), "Cannot reserve it");
  EXPECT_EQ(told(failed), "info string Cannot reserve it\n");
}

// A process on someone else's table sees its words, never clears them, and
// starts its own date at 0.
TEST(HashTableAttach, JoinsTheOwnersWordsWithoutClearing) {
  overridden_parent_id = 900000 + (getpid() % 90000);
  char name[SHARED_NAME_SIZE];
  HashMappingName(name, sizeof(name));
  // The owner's object goes whatever happens below.
  struct Owner {
    SharedMapping mapping;
    ~Owner() {
      unlink_shared_mapping(mapping);
      unmap_shared_mapping(mapping);
      ReleaseHashTable();
      overridden_parent_id = 0;
    }
  } holder;
  SharedMapping& owner = holder.mapping;
  char error[SHARED_ERROR_SIZE];
  ASSERT_TRUE(create_shared_mapping(owner, name, kWords * 8, error, sizeof(error))) << error;
  uint64_t* words = static_cast<uint64_t*>(owner.base);
  words[Slot(1)] = Word(kCheck, 14, 0, kExact, 3, 4);

  SetHashDate(3);
  HashBuildReport report = AttachHashTable();
  ASSERT_TRUE(report.ok) << report.error;
  EXPECT_FALSE(OwnsHashTable());
  EXPECT_EQ(report.megabytes, 1u);
  EXPECT_EQ(hash_words, kWords);
  EXPECT_EQ(hash_mask, kWords - 1);
  EXPECT_EQ(HashDate, 0u);
  EXPECT_EQ(LoadBucket(kKey).word[1], Word(kCheck, 14, 0, kExact, 3, 4));
  new_game_reset();
  EXPECT_EQ(words[Slot(1)], Word(kCheck, 14, 0, kExact, 3, 4));
  // Stores reach the owner's memory.
  StoreLowerPlain(kKey ^ (uint64_t(9) << 41), 0, 2, 8190);
  EXPECT_EQ(words[Slot(3)], Word(kCheck ^ 9, 2, 0, kLower));

  // Releasing our view leaves the owner's name alone.
  ReleaseHashTable();
  EXPECT_TRUE(shared_name_exists(name));
  // Joined again, the table stays through a rebuild once the owner has
  // removed its name.
  ASSERT_TRUE(AttachHashTable().ok);
  unlink_shared_mapping(owner);
  EXPECT_FALSE(shared_name_exists(name));
  ASSERT_TRUE(AttachHashTable().ok);
  EXPECT_EQ(LoadBucket(kKey).word[1], Word(kCheck, 14, 0, kExact, 3, 4));
  ReleaseHashTable();
  unmap_shared_mapping(owner);

  // Nothing to join: a text, no table.
  report = AttachHashTable();
  EXPECT_FALSE(report.ok);
  EXPECT_NE(std::strstr(report.error, name), nullptr) << report.error;
  EXPECT_EQ(hash_table, nullptr);
  overridden_parent_id = 0;
}

}  // namespace
