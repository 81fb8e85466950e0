// The configuration file's loose key matcher, and what a worked file sets.
#include "shell/config_file.h"

#include <gtest/gtest.h>

#include "report/diagram.h"
#include "report/output.h"
#include "shell/identity.h"
#include "shell/options.h"

namespace {

TEST(ConfigFile, KeyIsFoundBehindUnitsColonsAndQuotedWords) {
  struct Case {
    const char* line;
    const char* key;
    const char* value;  // null: the key is not in the line
  };
  const Case cases[] = {
      {"Hash Size (Mb): 512", "Hash Size", "512"},
      {"hashsize 512", "Hash Size", "512"},
      {"\"Hash Size\" Hash Size 512", "Hash Size", "512"},
      {"'Hash Size' hash size: 512", "Hash Size", "512"},
      {"'x Hash Size 1' Hash Size 2", "Hash Size", "2"},
      {"   HASH SIZE (MB) : 512\r\n", "Hash Size", "512\r\n"},
      {"# the table: Hash Size 512", "Hash Size", "512"},
      {"Hash (mhz) Size milliseconds: 8", "Hash Size", "8"},
      {"Lines Per Log Page millipawns 60", "Lines Per Log Page", "60"},
      {"Visualizer 1 Path: /usr/bin/viewer", "Visualizer 1 Path", "/usr/bin/viewer"},
      {"Hash 512", "Hash Size", nullptr},
      {"Nalimov Cache 16", "Hash Size", nullptr},
      {"\"Hash Size 512\"", "Hash Size", nullptr},
      {"", "Hash Size", nullptr},
  };
  for (const Case& c : cases) {
    const char* found = find_config_key(c.line, c.key);
    if (!c.value) EXPECT_EQ(found, nullptr) << c.line;
    else if (!found) ADD_FAILURE() << "not found in: " << c.line;
    else EXPECT_STREQ(found, c.value) << c.line;
  }
}

TEST(ConfigFile, WorkedFileSetsItsKeysAndTheLastLineWins) {
  const char* const file[] = {
      "Hash Size: 100",
      "Hash Size (Mb): 512",
      "Engine Name:   Site Engine 2\r\n",
      "Send Text Reports: False",
      "Use Big Log Diagrams: TRUEly",
      "Log Uci true Log Html true",
      "Log Directory: /tmp/logs",
      "Max CPUs 4",
      "Visualizer 2 Init: go infinite",
  };
  for (const char* line : file) apply_config_line(line);
  EXPECT_TRUE(configured.hash_size);
  EXPECT_EQ(configured_hash_megabytes, 512u);
  EXPECT_STREQ(engine_name, "Site Engine 2");
  EXPECT_FALSE(send_text_reports);
  EXPECT_TRUE(big_log_diagrams);
  EXPECT_TRUE(configured.log_uci && configured_log_uci_value);
  EXPECT_TRUE(configured.log_html && configured_log_html_value);
  EXPECT_TRUE(configured.max_cpus);
  EXPECT_EQ(max_cpus, 4);
  EXPECT_STREQ(visualizer_init[1], "go infinite");
  EXPECT_FALSE(configured.nalimov_path || configured.large_pages || configured.log_analysis);
  // The directory ends with the separator once, however it was written.
  EXPECT_STREQ(log_directory, "/tmp/logs/");
  apply_config_line("Log Directory: /var/log/");
  EXPECT_STREQ(log_directory, "/var/log/");
}

}  // namespace
