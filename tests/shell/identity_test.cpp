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

TEST(EngineName, ProductWordAloneGivesThePlainName) {
  EXPECT_EQ(names_of("build/quorl"), std::make_pair(std::string("Quorl"), std::string("")));
  EXPECT_EQ(names_of("/usr/local/bin/QUORL"), std::make_pair(std::string("Quorl"), std::string("")));
  // The tail is emptied before the extension goes, so a bare extension
  // leaves its blank behind.
  EXPECT_EQ(names_of("C:\\Engines\\quorl.exe").first, "Quorl ");
}

TEST(EngineName, WordsAroundTheProductWordStay) {
  EXPECT_EQ(names_of("C:\\Engines\\Grand Quorl 13 x64.exe"),
            std::make_pair(std::string("Grand Quorl 13 x64"), std::string("Grand 13 x64")));
  EXPECT_EQ(names_of("/opt/e/Grand Quorl 13 x64"),
            std::make_pair(std::string("Grand Quorl 13 x64"), std::string("Grand 13 x64")));
  // The character in front of the word goes with it.
  EXPECT_EQ(names_of("/tmp/grand-quorl").first, "grand Quorl");
  // An underscore behind the word is part of it.
  EXPECT_EQ(names_of("/tmp/quorl_beta").first, "Quorl beta");
  EXPECT_EQ(names_of("/tmp/my_quorl_beta"), std::make_pair(std::string("my Quorl beta"),
                                                           std::string("my beta")));
}

TEST(EngineName, VersionDotsStayAndExtensionsGo) {
  EXPECT_EQ(names_of("/e/quorl 13.1.exe").first, "Quorl 13.1");
  EXPECT_EQ(names_of("/e/quorl 13.1 x64.exe").first, "Quorl 13.1 x64");
  EXPECT_EQ(names_of("/e/quorl.13").first, "Quorl .13");
  EXPECT_EQ(names_of("/e/quorl-dev.sh").first, "Quorl -dev");
}

TEST(EngineName, ArgumentsAndQuotesAreScannedToo) {
  // The command line holds the arguments, so numbers join the name.
  EXPECT_EQ(names_of("build/quorl 0 4 64").first, "Quorl 0 4 64");
  // Runs of blanks shrink to one; a quote in front of a word resets the tail.
  EXPECT_EQ(names_of("\"/e/quorl  x\"").first, "Quorl x\"");
  // Without the product word the tail names the engine.
  EXPECT_EQ(names_of("/usr/bin/chess-engine"),
            std::make_pair(std::string("Quorl chess-engine"), std::string("chess-engine")));
}

struct ArgumentCase {
  std::vector<const char*> argv;
};

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

TEST(HashSize, RoundsDownToAPowerOfTwo) {
  EXPECT_EQ(round_hash_size(-5), 1u);
  EXPECT_EQ(round_hash_size(0), 1u);
  EXPECT_EQ(round_hash_size(1), 1u);
  EXPECT_EQ(round_hash_size(2), 2u);
  EXPECT_EQ(round_hash_size(3), 2u);
  EXPECT_EQ(round_hash_size(100), 64u);
  EXPECT_EQ(round_hash_size(1024), 1024u);
  EXPECT_EQ(round_hash_size(1025), 1024u);
}

}  // namespace
