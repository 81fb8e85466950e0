// Visualizers fed by a real engine: stub programs record what reaches them.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "support/log_session.h"
#include "support/uci_session.h"

namespace {

using namespace quorl_test;

// A Visualizer that appends its input to "<its path>.feed".
void WriteStub(const std::string& path, const char* body = "cat >> \"$0.feed\"") {
  std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
  chmod(path.c_str(), 0755);
}

// The feed once its writer has ended, so that "quit" has arrived.
std::vector<std::string> Feed(const std::string& stub) {
  std::vector<std::string> lines;
  for (int tries = 0; tries < 100; ++tries) {
    std::ifstream in(stub + ".feed");
    lines.clear();
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    if (!lines.empty() && lines.back() == "quit") break;
    usleep(20000);
  }
  return lines;
}

bool LogHas(const LogSession& session, const std::string& text) {
  return session.Read("uci log ").find(text) != std::string::npos;
}

TEST(Visualizers, FeedCarriesInitEchoesEverythingPrintedAndSearchMarks) {
  LogSession session("");
  const std::string one = session.dir() + "/stub one", two = session.dir() + "/stub two";
  WriteStub(one);
  WriteStub(two);
  // Slot 3 is empty, so the broken path of slot 4 is never tried.
  std::ofstream(session.dir() + "/quorl.config") << "Log Uci: true\nVisualizer Count: 4\n"
                                                 << "Visualizer 1 Path: " << one << "\nVisualizer 1 Init: a;b\n"
                                                 << "Visualizer 2 Path: \"" << two << "\"\n"
                                                 << "Visualizer 4 Path: " << session.dir() << "/missing\n";
  const std::vector<std::string> input = {"uci", "!silent", "isready", "#", "position startpos", "go movetime 1300"};
  std::string text;
  for (const std::string& line : input) text += line + "\n";
  std::vector<std::string> out;
  ASSERT_EQ(session.Run(text, "bestmove", &out), 0);

  const std::vector<std::string> feed = Feed(one);
  const std::vector<std::string> head = {"a", "b", "logdir " + session.dir() + "/", "Init Complete"};
  ASSERT_GE(feed.size(), head.size());
  EXPECT_EQ(std::vector<std::string>(feed.begin(), feed.begin() + 4), head);
  // Past the init lines, slot 2 hears the same as slot 1.
  const std::vector<std::string> second = Feed(two);
  ASSERT_GE(second.size(), 2u);
  EXPECT_EQ(std::vector<std::string>(second.begin(), second.begin() + 2),
            std::vector<std::string>(head.begin() + 2, head.end()));
  EXPECT_EQ(std::vector<std::string>(second.begin() + 2, second.end()),
            std::vector<std::string>(feed.begin() + 4, feed.end()));

  // The rest is the front end's output, in its order, with the echoes of the
  // loud input lines, the search marks and the once-a-second lines woven in.
  std::vector<std::string> echoes, printed, marks, microsamples, samples;
  const std::regex sample("^(info sample |[=<>]0 )");
  for (size_t i = 4; i < feed.size(); ++i) {
    const std::string& line = feed[i];
    if (StartsWith(line, "Echo Input: ")) echoes.push_back(line.substr(12));
    else if (StartsWith(line, "info microsample")) microsamples.push_back(line);
    else if (std::regex_search(line, sample)) samples.push_back(line);  // without qvn3, theirs alone
    else if (line == "newsearch 20 moves wtm" || line == "endsearch" || line == "quit") marks.push_back(line);
    else printed.push_back(line);
    // The search marks stand around the search's own lines.
    if (line == "newsearch 20 moves wtm") {
      EXPECT_EQ(feed[i - 1], "Echo Input: go movetime 1300");
    }
    if (line == "endsearch" && i + 2 < feed.size()) {
      EXPECT_TRUE(StartsWith(feed[i + 2], "bestmove")) << feed[i + 2];
    }
  }
  EXPECT_EQ(echoes, std::vector<std::string>({"uci", "isready", "position startpos", "go movetime 1300"}));
  EXPECT_EQ(printed, out);
  EXPECT_EQ(marks, std::vector<std::string>({"newsearch 20 moves wtm", "endsearch", "quit"}));
  // The line under search: moves, each not first among its siblings numbered,
  // and the null move.
  const std::regex microsample("info microsample ((null|[a-h][1-8][a-h][1-8][nbrq]?(\\(([2-9]|[1-9]\\d+)\\))?) )*");
  EXPECT_FALSE(microsamples.empty());
  EXPECT_FALSE(samples.empty()) << "an attached Visualizer turns sampling on";
  for (const std::string& line : microsamples) EXPECT_TRUE(std::regex_match(line, microsample)) << line;

  EXPECT_TRUE(LogHas(session, "Visualizer #2 started"));
  EXPECT_FALSE(LogHas(session, "Visualizer #3"));
  EXPECT_FALSE(LogHas(session, "not accepting input"));
}

TEST(Visualizers, BrokenPathEndsTheEngineAndOneThatStopsReadingCostsLogLines) {
  LogSession broken("");
  const std::string missing = broken.dir() + "/missing viewer";
  std::ofstream(broken.dir() + "/quorl.config") << "Log Uci: true\nVisualizer 1 Path: " << missing << "\n";
  std::vector<std::string> out;
  EXPECT_EQ(broken.Run("uci\n", "uciok", &out), 0);
  EXPECT_TRUE(out.empty());
  EXPECT_TRUE(LogHas(broken, "Exiting Quorl, reason : Visualizer process #1 (" + missing + ") could not be started."));

  // A Visualizer that never reads: its pipe fills, and the engine goes on.
  LogSession stalled("");
  const std::string deaf = stalled.dir() + "/deaf";
  WriteStub(deaf, "exec sleep 10");
  std::ofstream(stalled.dir() + "/quorl.config") << "Log Uci: true\nVisualizer 1 Path: " << deaf << "\n";
  std::string input;
  for (int i = 0; i < 1000; ++i) input += "isready\n";
  const Clock::time_point start = Clock::now();
  ASSERT_EQ(stalled.Run(input + "go depth 3\n", "bestmove", &out), 0);
  EXPECT_LT(MsSince(start), 10000);
  EXPECT_EQ(std::count(out.begin(), out.end(), "readyok"), 1000);
  EXPECT_TRUE(StartsWith(out.back(), "bestmove"));
  EXPECT_TRUE(LogHas(stalled, "Error: visualizer 0 not accepting input."));
}

}  // namespace
