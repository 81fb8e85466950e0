// Named shared memory: create, share by name, unlink, and the failures.
#include "platform/shared_memory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>

namespace {

class SharedMemory : public ::testing::Test {
 protected:
  void SetUp() override { name_ = "/quorlTest" + std::to_string(getpid()) + "_" + test_name(); }
  void TearDown() override {
    unlink_shared_mapping(first_);
    unmap_shared_mapping(first_);
    unmap_shared_mapping(second_);
    // Whatever a failed test left, by the name it used.
    std::filesystem::remove(shm_path());
  }
  static std::string test_name() {
    return ::testing::UnitTest::GetInstance()->current_test_info()->name();
  }
  std::string shm_path() const { return "/dev/shm" + name_; }

  std::string name_;
  SharedMapping first_, second_;
  char error_[SHARED_ERROR_SIZE] = {};
};

// The hash table's tests share its words through a second mapping; here the
// rest of a mapping's life.
TEST_F(SharedMemory, UnlinkLeavesNothingBehindAndTheMemoryLivesOn) {
  ASSERT_TRUE(create_shared_mapping(first_, name_.c_str(), 65536, error_, sizeof(error_))) << error_;
  ASSERT_TRUE(std::filesystem::exists(shm_path()));
  EXPECT_TRUE(shared_name_exists(name_.c_str()));
  EXPECT_EQ(reinterpret_cast<uintptr_t>(first_.base) % 4096, 0u);
  EXPECT_EQ(static_cast<uint64_t*>(first_.base)[65536 / 8 - 1], 0u);
  ASSERT_TRUE(open_shared_mapping(second_, name_.c_str(), error_, sizeof(error_))) << error_;
  EXPECT_EQ(second_.bytes, 65536u);
  // Only the creator holds the name.
  EXPECT_STREQ(first_.name, name_.c_str());
  EXPECT_EQ(second_.name[0], 0);
  unlink_shared_mapping(first_);
  EXPECT_EQ(first_.name[0], 0);
  EXPECT_FALSE(shared_name_exists(name_.c_str()));
  EXPECT_FALSE(std::filesystem::exists(shm_path()));
  static_cast<uint64_t*>(first_.base)[7] = 42;
  EXPECT_EQ(static_cast<uint64_t*>(second_.base)[7], 42u);
  // A second unlink is harmless; a late opener finds nothing.
  unlink_shared_mapping(first_);
  SharedMapping late;
  EXPECT_FALSE(open_shared_mapping(late, name_.c_str(), error_, sizeof(error_)));
  EXPECT_EQ(late.base, nullptr);
}

TEST_F(SharedMemory, PagesAreReservedAtCreation) {
  constexpr uint64_t kBytes = uint64_t(4) << 20;
  ASSERT_TRUE(create_shared_mapping(first_, name_.c_str(), kBytes, error_, sizeof(error_))) << error_;
  struct stat status;
  ASSERT_EQ(stat(shm_path().c_str(), &status), 0);
  EXPECT_EQ(uint64_t(status.st_size), kBytes);
  // Allocated blocks, not a sparse file: nothing was touched yet.
  EXPECT_GE(uint64_t(status.st_blocks) * 512, kBytes);
}

TEST_F(SharedMemory, ImpossibleSizesFailWithATextAndLeaveNothing) {
  // Larger than any /dev/shm: the reservation refuses it.
  EXPECT_FALSE(create_shared_mapping(first_, name_.c_str(), uint64_t(1) << 60, error_, sizeof(error_)));
  EXPECT_EQ(first_.base, nullptr);
  EXPECT_NE(std::strstr(error_, name_.c_str()), nullptr) << error_;
  EXPECT_NE(std::strstr(error_, "Cannot reserve"), nullptr) << error_;
  EXPECT_FALSE(std::filesystem::exists(shm_path()));
  // Beyond any file offset, and nothing at all.
  for (uint64_t bytes : {~uint64_t(0), uint64_t(0)}) {
    error_[0] = 0;
    EXPECT_FALSE(create_shared_mapping(first_, name_.c_str(), bytes, error_, sizeof(error_)));
    EXPECT_NE(std::strstr(error_, "impossible size"), nullptr) << error_;
    EXPECT_FALSE(std::filesystem::exists(shm_path()));
  }
}

TEST_F(SharedMemory, BadNamesAndMissingObjectsAreRefused) {
  for (const char* name : {"noslash", "/", "/a/b", ""}) {
    error_[0] = 0;
    EXPECT_FALSE(create_shared_mapping(first_, name, 4096, error_, sizeof(error_))) << name;
    EXPECT_NE(std::strstr(error_, "not a valid name"), nullptr) << error_;
  }
  const std::string long_name = "/" + std::string(SHARED_NAME_SIZE, 'x');
  EXPECT_FALSE(create_shared_mapping(first_, long_name.c_str(), 4096, error_, sizeof(error_)));
  EXPECT_FALSE(open_shared_mapping(second_, name_.c_str(), error_, sizeof(error_)));
  EXPECT_NE(std::strstr(error_, "Cannot open shared memory"), nullptr) << error_;
  EXPECT_NE(std::strstr(error_, name_.c_str()), nullptr) << error_;
}

TEST_F(SharedMemory, LeftoverOfTheSameNameIsReplacedByAFreshObject) {
  SharedMapping stale;
  ASSERT_TRUE(create_shared_mapping(stale, name_.c_str(), 8192, error_, sizeof(error_))) << error_;
  static_cast<uint64_t*>(stale.base)[0] = 5;
  // Created again without the first unlinking: a new, empty object.
  ASSERT_TRUE(create_shared_mapping(first_, name_.c_str(), 16384, error_, sizeof(error_))) << error_;
  EXPECT_EQ(static_cast<uint64_t*>(first_.base)[0], 0u);
  ASSERT_TRUE(open_shared_mapping(second_, name_.c_str(), error_, sizeof(error_))) << error_;
  EXPECT_EQ(second_.bytes, 16384u);
  EXPECT_EQ(static_cast<uint64_t*>(stale.base)[0], 5u);
  unmap_shared_mapping(stale);
}

TEST_F(SharedMemory, HugePageAdviceIsTakenWhereTheKernelHasThem) {
  ASSERT_TRUE(create_shared_mapping(first_, name_.c_str(), uint64_t(4) << 20, error_, sizeof(error_)))
      << error_;
  HugePageSupport support = huge_page_support();
  bool kernel_has_them = std::filesystem::exists("/sys/kernel/mm/transparent_hugepage");
  EXPECT_EQ(support != HugePageSupport::ABSENT, kernel_has_them);
  if (!kernel_has_them) GTEST_SKIP() << "no transparent huge pages in this kernel";
  EXPECT_GT(huge_page_size(), 4096u);
  EXPECT_EQ(advise_huge_pages(first_), 0);
  SharedMapping empty;
  EXPECT_NE(advise_huge_pages(empty), 0);
}

}  // namespace
