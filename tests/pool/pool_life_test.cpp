// The life of a pool of engine processes, seen from outside as a front end
// and the system see it: the children, their names in /dev/shm, a search
// that reaches the table through a child, a rebuild, and the end.
#include <gtest/gtest.h>

#include <dirent.h>
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "board/position.h"
#include "hash/table.h"
#include "support/engine_process.h"
#include "support/uci_session.h"

namespace {

using quorl_test::EngineProcess;

// The children of `parent` that still run (a zombie has ended), each with
// the numbers on its command line.
std::vector<std::pair<pid_t, std::vector<std::string>>> RunningChildren(pid_t parent) {
  std::vector<std::pair<pid_t, std::vector<std::string>>> children;
  DIR* proc = opendir("/proc");
  while (dirent* entry = proc ? readdir(proc) : nullptr) {
    const pid_t pid = std::atoi(entry->d_name);
    std::ifstream stat("/proc/" + std::string(entry->d_name) + "/stat");
    std::string line;
    if (pid <= 0 || !std::getline(stat, line)) continue;
    // "pid (name) state ppid ...": the name may hold blanks.
    std::istringstream rest(line.substr(line.rfind(')') + 2));
    char state = 0;
    pid_t ppid = 0;
    rest >> state >> ppid;
    if (ppid != parent || state == 'Z') continue;
    std::ifstream cmdline("/proc/" + std::string(entry->d_name) + "/cmdline");
    std::vector<std::string> words;
    for (std::string word; std::getline(cmdline, word, '\0');) words.push_back(word);
    children.emplace_back(pid, words);
  }
  if (proc) closedir(proc);
  return children;
}

bool Running(pid_t pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  return std::getline(stat, line) && line[line.rfind(')') + 2] != 'Z';
}

// Names in /dev/shm that a pool of `pid` would make: both end in its id.
std::vector<std::string> NamesOf(pid_t pid) {
  std::vector<std::string> names;
  const std::string id = std::to_string(pid);
  DIR* shm = opendir("/dev/shm");
  while (dirent* entry = shm ? readdir(shm) : nullptr) {
    const std::string name = entry->d_name;
    if (name.rfind("quorl", 0) == 0 && name.size() > id.size() && name.compare(name.size() - id.size(), id.size(), id) == 0)
      names.push_back(name);
  }
  if (shm) closedir(shm);
  return names;
}

// Reads replies until one starts with `prefix`.
std::string ReplyStartingWith(EngineProcess& engine, const std::string& prefix) {
  while (auto line = engine.read_line(quorl_test::kReplyMs))
    if (quorl_test::StartsWith(*line, prefix)) return *line;
  return "";
}

TEST(ProcessPool, LivesThroughSearchRebuildAndKill) {
  // No arguments on a machine that reports four processors: four processes.
  // A sanitized engine must accept a library loaded in front of its runtime.
  setenv("QUORL_TEST_PROCESSORS", "4", 1);
  setenv("LD_PRELOAD", QUORL_PROCESSOR_SHIM, 1);
  setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 0);
  EngineProcess engine(QUORL_BINARY);
  unsetenv("LD_PRELOAD");
  unsetenv("QUORL_TEST_PROCESSORS");
  ASSERT_TRUE(engine.started()) << engine.start_error();
  ASSERT_TRUE(engine.send("isready\n"));
  ASSERT_EQ(engine.read_line(quorl_test::kReplyMs), "readyok");

  // Ready means every child is up: numbers 1 to 3, each told the pool's
  // size and its parent, and no name of ours is left to leak.
  const auto children = RunningChildren(engine.pid());
  std::set<std::string> numbers;
  for (const auto& [pid, words] : children) {
    ASSERT_EQ(words.size(), 8u);
    EXPECT_EQ(words[2], "4");
    EXPECT_EQ(words[7], std::to_string(engine.pid()));
    numbers.insert(words[6]);
  }
  EXPECT_EQ(numbers, (std::set<std::string>{"1", "2", "3"}));
  EXPECT_EQ(NamesOf(engine.pid()), std::vector<std::string>{});

  // "play" stays in the MainProcess: the children search the start position
  // while it searches after 1.e4, so a position after another first move
  // can reach the shared table only through a child. The table is read
  // back from a saved copy.
  ASSERT_TRUE(engine.send("position startpos\nplay e2e4\ngo infinite\n"));
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  ASSERT_TRUE(engine.send("stop\n"));
  ASSERT_NE(ReplyStartingWith(engine, "bestmove"), "");
  char dir[] = "/tmp/quorl-pool-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  const std::string file = std::string(dir) + "/table.bin";
  ASSERT_TRUE(engine.send("setoption name Hash File value " + file + "\nsetoption name Save Hash\n"));
  ASSERT_NE(ReplyStartingWith(engine, "info string Save hash invoked and succeeded"), "");
  std::ifstream saved(file, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(saved), std::istreambuf_iterator<char>()};
  std::system(("rm -rf '" + std::string(dir) + "'").c_str());
  ASSERT_EQ(bytes.size(), size_t(32) << 20);
  const uint64_t* words = reinterpret_cast<const uint64_t*>(bytes.data());
  const uint64_t mask = bytes.size() / 8 - 1;
  int found = 0;
  for (const char* fen : {"rnbqkbnr/pppppppp/8/8/8/5N2/PPPPPPPP/RNBQKB1R b KQkq - 1 1",
                          "rnbqkbnr/pppppppp/8/8/8/2N5/PPPPPPPP/R1BQKBNR b KQkq - 1 1",
                          "rnbqkbnr/pppppppp/8/8/8/3P4/PPP1PPPP/RNBQKBNR b KQkq - 0 1",
                          "rnbqkbnr/pppppppp/8/8/8/6P1/PPPPPP1P/RNBQKBNR b KQkq - 0 1"}) {
    ASSERT_TRUE(SetPositionFromFen(fen));
    const uint64_t key = position.state.key;
    for (uint32_t i = 0; i < 4; ++i) found += HashEntry::Matches(words[(uint32_t(key) & mask) ^ i], key);
  }
  EXPECT_GE(found, 2);

  // From four processes to one: the reply comes once every old child has
  // said it ended and has been reaped.
  ASSERT_TRUE(engine.send("setoption name Max CPUs value 1\n"));
  EXPECT_EQ(ReplyStartingWith(engine, "info string Max CPUs"), "info string Max CPUs set to 1 (had been 2048).");
  EXPECT_EQ(RunningChildren(engine.pid()).size(), 0u);
  EXPECT_EQ(NamesOf(engine.pid()), std::vector<std::string>{});

  // A new generation of one child; the MainProcess killed outright leaves
  // it to see the end of its pipe and go.
  ASSERT_TRUE(engine.send("setoption name Max CPUs value 2\n"));
  ASSERT_NE(ReplyStartingWith(engine, "info string Max CPUs"), "");
  const auto second = RunningChildren(engine.pid());
  ASSERT_EQ(second.size(), 1u);
  EXPECT_EQ(second[0].second[6], "1");
  ASSERT_TRUE(engine.send("go infinite\n"));
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  kill(engine.pid(), SIGKILL);
  engine.wait_exit(quorl_test::kReplyMs);
  const auto killed = std::chrono::steady_clock::now();
  while (Running(second[0].first) && std::chrono::steady_clock::now() - killed < std::chrono::seconds(2))
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(Running(second[0].first));
  EXPECT_LT(std::chrono::steady_clock::now() - killed, std::chrono::milliseconds(1500));
  EXPECT_EQ(NamesOf(engine.pid()), std::vector<std::string>{});
}

}  // namespace
