// The role, numbers and names a process takes from its command line.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "report/output.h"
#include "shell/identity.h"

namespace {

std::pair<std::string, std::string> names_of(const char* command_line) {
  char name[NAME_SIZE], short_name[NAME_SIZE];
  derive_engine_names(command_line, name, short_name);
  return {name, short_name};
}

// The name and the short name (the name without the product word).
TEST(EngineName, BuiltAroundTheProductWordOfTheCommandLine) {
  const struct {
    const char* command_line;
    const char* name;
    const char* short_name;
  } cases[] = {
      {"build/quorl", "Quorl", ""},
      {"/usr/local/bin/QUORL", "Quorl", ""},
      // The tail is emptied before the extension goes: a bare extension leaves its blank.
      {"C:\\Engines\\quorl.exe", "Quorl ", nullptr},
      {"C:\\Engines\\Grand Quorl 13 x64.exe", "Grand Quorl 13 x64", "Grand 13 x64"},
      {"/opt/e/Grand Quorl 13 x64", "Grand Quorl 13 x64", "Grand 13 x64"},
      {"/tmp/grand-quorl", "grand Quorl", nullptr},  // the character in front goes
      {"/tmp/my_quorl_beta", "my Quorl beta", "my beta"},  // an underscore behind is part of the word
      {"/e/quorl 13.1 x64.exe", "Quorl 13.1 x64", nullptr},  // version dots stay, extensions go
      {"/e/quorl.13", "Quorl .13", nullptr},
      {"/e/quorl-dev.sh", "Quorl -dev", nullptr},
      {"build/quorl 0 4 64", "Quorl 0 4 64", nullptr},  // the arguments join the name
      {"\"/e/quorl  x\"", "Quorl x\"", nullptr},  // blanks shrink, a quote resets the tail
      {"/usr/bin/chess-engine", "Quorl chess-engine", "chess-engine"},  // no product word
  };
  for (const auto& c : cases) {
    const auto [name, short_name] = names_of(c.command_line);
    EXPECT_EQ(name, c.name) << c.command_line;
    if (c.short_name) {
      EXPECT_EQ(short_name, c.short_name) << c.command_line;
    }
  }
}

bool read(std::vector<const char*> argv) {
  is_child = false;
  parent_sync_id = parent_pid = shared_file_number = process_count = child_number = 0;
  overridden_parent_id = 0;
  cpu_count = 8;
  start_hash_megabytes = 32;
  return read_arguments(int(argv.size()), argv.data());
}

TEST(ProcessRole, PathFragmentsFindTheProgram) {
  std::vector<const char*> a = {"wrapper", "/x/Quorl.exe", "1"};
  EXPECT_EQ(find_path_position(3, a.data()), 1);
  std::vector<const char*> b = {"/x/emtax", "1"};
  EXPECT_EQ(find_path_position(2, b.data()), 0);
  // Case-sensitive: a capital first letter still holds "uorl".
  std::vector<const char*> c = {"/x/QUORL"};
  EXPECT_EQ(find_path_position(1, c.data()), 1);
}

TEST(ProcessRole, MainProcessReadsOptionalNumbers) {
  EXPECT_TRUE(read({"build/quorl"}));
  EXPECT_FALSE(is_child);
  EXPECT_EQ(cpu_count, 8);
  EXPECT_TRUE(read({"build/quorl", "77", "2", "100"}));
  EXPECT_FALSE(is_child);
  EXPECT_EQ(overridden_parent_id, 77);
  EXPECT_EQ(cpu_count, 2);
  EXPECT_EQ(start_hash_megabytes, 100);
  // More processors than the machine has are not taken.
  EXPECT_TRUE(read({"build/quorl", "0", "64"}));
  EXPECT_EQ(cpu_count, 8);
  // Four numbers: still a MainProcess.
  EXPECT_TRUE(read({"build/quorl", "1", "2", "3", "4"}));
  EXPECT_FALSE(is_child);
}

TEST(ProcessRole, FiveOrMoreNumbersMakeAChild) {
  EXPECT_TRUE(read({"build/quorl", "11", "0", "256", "3", "4", "2", "999"}));
  EXPECT_TRUE(is_child);
  EXPECT_EQ(parent_sync_id, 11);
  EXPECT_EQ(start_hash_megabytes, 256);
  EXPECT_EQ(shared_file_number, 3);
  EXPECT_EQ(process_count, 4);
  EXPECT_EQ(child_number, 2);
  EXPECT_EQ(parent_pid, 999);
  // Missing and non-numeric words read as 0.
  EXPECT_TRUE(read({"build/quorl", "x", "0", "8", "1", "2"}));
  EXPECT_TRUE(is_child);
  EXPECT_EQ(parent_sync_id, 0);
  EXPECT_EQ(child_number, 0);
  EXPECT_EQ(parent_pid, 0);
  is_child = false;
}

TEST(ProcessRole, NumbersInFrontOfTheArgumentsAreRefused) {
  // No fragment: the program path is taken to stand behind the arguments,
  // and the numbers would be read in front of the vector.
  EXPECT_FALSE(read({"/bin/engine", "1", "2"}));
  EXPECT_TRUE(read({"/bin/engine"}));
}

}  // namespace
