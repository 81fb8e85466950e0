// Two engines driven as a controller drives them on one endgame: each gets
// half of the root moves in a slave search and must speak only in report
// lines about its own moves; deny and take narrow a running search; "#"
// follows the node figure; "!" sets the move of an upper-bound entry only.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "board/position.h"
#include "board/reference_moves.h"
#include "support/engine_process.h"
#include "support/uci_session.h"

namespace {

using namespace quorl_test;

// d1d8 mates: the first engine's best move, until it is denied.
constexpr const char* kFen = "6k1/5ppp/8/8/8/8/r4PPP/3R2K1 w - - 0 1";
constexpr const char* kMate = "d1d8";
constexpr const char* kLowFen = "8/8/8/8/8/3k4/1R6/4K3 w - - 0 1";

// The FEN with its four lower ranks moved to the top; empty when a man
// stands higher.
std::string RaisedFen(const std::string& fen) {
  if (fen.compare(0, 8, "8/8/8/8/") != 0) return "";
  const size_t end = fen.find(' ');
  return fen.substr(8, end - 8) + "/8/8/8/8" + fen.substr(end);
}

struct Report {
  char bound;
  int id;
  std::string move;
};

// What a slave search may print: reports "%c%d %s %d %s" and "#" replies.
// Anything else fails the check; reports and node figures are collected.
::testing::AssertionResult ReadSlaveLines(EngineProcess& engine, int ms, std::vector<Report>* reports,
                                          std::vector<uint64_t>* figures) {
  static const std::regex report(R"(([=<>])(\d+) ([a-h][1-8][a-h][1-8][nbrq]?) -?\d+ ?([a-h1-8nbrq ]*))");
  static const std::regex figure(R"(#(\d+))");
  const Clock::time_point start = Clock::now();
  while (MsSince(start) < ms) {
    const auto line = engine.read_line(int(std::max<int64_t>(1, ms - MsSince(start))));
    if (!line) continue;
    std::smatch m;
    if (std::regex_match(*line, m, report)) reports->push_back({(*line)[0], std::stoi(m[2]), m[3]});
    else if (std::regex_match(*line, m, figure)) figures->push_back(std::stoull(m[1]));
    else return ::testing::AssertionFailure() << "a slave search printed: " << *line;
  }
  return ::testing::AssertionSuccess();
}

uint64_t NodeFigure(EngineProcess& engine) {
  std::vector<Report> reports;
  std::vector<uint64_t> figures;
  EXPECT_TRUE(engine.send("#\n"));
  EXPECT_TRUE(ReadSlaveLines(engine, 300, &reports, &figures));
  return figures.empty() ? 0 : figures.back();
}

std::string Joined(const std::vector<std::string>& moves) {
  std::string text;
  for (const std::string& m : moves) text += " " + m;
  return text;
}

// The probe's move and bound of a FEN, or empty.
std::vector<std::string> Probe(EngineProcess& engine, const std::string& fen) {
  EXPECT_TRUE(engine.send("probe " + fen + "\n"));
  const auto line = engine.read_line(kReplyMs);
  const std::vector<std::string> w = line ? Words(*line) : std::vector<std::string>{};
  const auto at = std::find(w.begin(), w.end(), "move");
  if (at == w.end() || w.end() - at < 5) return {};
  return {at[1], at[4], at[5]};  // move, bound, value
}

TEST(SlaveDialogue, TwoEnginesShareTheRootMovesAndNarrowTheirSearches) {
  reference::Board board;
  ASSERT_TRUE(board.SetFen(kFen));
  const std::vector<std::string> legal = board.LegalMoveTexts();
  std::vector<std::string> share[2];
  for (size_t i = 0; i < legal.size(); ++i) share[legal[i] == kMate ? 0 : i & 1].push_back(legal[i]);
  EngineProcess engines[2];
  for (int e = 0; e < 2; ++e) {
    ASSERT_TRUE(engines[e].started()) << engines[e].start_error();
    // The first engine keeps two lines, which makes it silent until a deny.
    ASSERT_TRUE(engines[e].send(std::string("position fen ") + kFen + "\ngo slave " + (e ? "1" : "2") + " id " +
                                std::to_string(e + 1) + " infinite" + Joined(share[e]) + "\n"));
  }
  std::vector<Report> reports[2];
  std::vector<uint64_t> figures;
  ASSERT_TRUE(ReadSlaveLines(engines[1], 1500, &reports[1], &figures));
  ASSERT_TRUE(ReadSlaveLines(engines[0], 100, &reports[0], &figures));
  EXPECT_TRUE(reports[0].empty()) << "reports with two lines: " << reports[0][0].move;
  ASSERT_FALSE(reports[1].empty());
  for (const Report& r : reports[1]) {
    EXPECT_EQ(r.id, 2);
    EXPECT_EQ(std::count(share[1].begin(), share[1].end(), r.move), 1) << r.move << " is not the engine's move";
  }

  // Deny the mate: one line is left, reports begin, and the mate never shows.
  EngineProcess& a = engines[0];
  const uint64_t before = NodeFigure(a);
  const std::string denied = kMate;
  ASSERT_TRUE(a.send("deny " + denied + "\n"));
  ASSERT_TRUE(ReadSlaveLines(a, 1000, &reports[0], &figures));
  ASSERT_FALSE(reports[0].empty()) << "no report after the deny";
  for (const Report& r : reports[0]) {
    EXPECT_EQ(r.id, 1);
    EXPECT_NE(r.move, denied);
    EXPECT_EQ(std::count(share[0].begin(), share[0].end(), r.move), 1) << r.move << " is not the engine's move";
  }
  // A second deny finds one line and is ignored.
  ASSERT_TRUE(a.send("deny " + reports[0].back().move + "\n"));

  // Take the first move: the search goes on with that move alone.
  const std::string taken = reports[0].back().move;
  reports[0].clear();
  ASSERT_TRUE(a.send("take " + taken + "\n"));
  ASSERT_TRUE(ReadSlaveLines(a, 800, &reports[0], &figures));
  for (const Report& r : reports[0]) EXPECT_EQ(r.move, taken);
  EXPECT_GT(NodeFigure(a), before);

  // After a stop only the reports already on their way may come.
  for (EngineProcess& engine : engines) {
    ASSERT_TRUE(engine.send("stop\n"));
    ASSERT_TRUE(ReadSlaveLines(engine, 200, &reports[0], &figures));
    EXPECT_TRUE(engine.expect_silence(300)) << "a slave search answered the stop";
    ASSERT_TRUE(engine.send("isready\n"));
    const auto ready = engine.read_line(kReplyMs);
    EXPECT_EQ(ready.value_or(""), "readyok");
  }

  // "!" on positions two plies on: an upper-bound entry takes the move, an
  // entry with a lower bound keeps its own. The probe reads the upper half
  // of its FEN's board as the lower half, so the men stay on ranks 1 to 4
  // and are named four ranks up.
  ASSERT_TRUE(board.SetFen(kLowFen));
  ASSERT_TRUE(a.send(std::string("position fen ") + kLowFen + "\ngo depth 8\n"));
  Answer answer;
  ASSERT_TRUE(ReadAnswer(a, kReplyMs, &answer));
  std::set<std::string> bounds;  // each kind of entry is tried once
  for (const reference::RefMove& first : board.LegalMoves()) {
    reference::Board after = board;
    after.Play(first);
    for (const reference::RefMove& reply : after.LegalMoves()) {
      reference::Board node = after;
      node.Play(reply);
      const std::string fen = RaisedFen(node.Fen());
      if (fen.empty()) continue;
      const std::vector<std::string> probed = Probe(a, fen);
      if (probed.empty() || !bounds.insert(probed[1]).second) continue;
      const std::vector<std::string> moves = node.LegalMoveTexts();
      const auto fresh = std::find_if(moves.begin(), moves.end(), [&](const std::string& m) { return m != probed[0]; });
      ASSERT_NE(fresh, moves.end());
      static Position scratch;
      ASSERT_TRUE(SetRecordFromFen(&scratch, fen.c_str()));
      char line[64];
      std::snprintf(line, sizeof(line), "!%" PRIx64 " %s\n", scratch.state.key, fresh->c_str());
      ASSERT_TRUE(a.send(line));
      const std::vector<std::string> now = Probe(a, fen);
      ASSERT_EQ(now.size(), 3u);
      EXPECT_EQ(now[0], probed[1] == "ub" ? *fresh : probed[0]) << fen << " " << probed[1];
      EXPECT_EQ(now[2], probed[2]);
    }
  }
  EXPECT_TRUE(bounds.count("ub") && bounds.count("ex")) << "the table held no upper-bound or exact entry two plies on";
}

// The controller as a front end sees it: its engines start on one table of
// its own whose name is gone once they are up, a depth and a stop after
// infinite get the mate, and the end of input ends it cleanly.
TEST(SlaveDialogue, ControllerPlaysOnOneSharedTable) {
  EngineProcess controller(QUORL_CONTROLLER, {QUORL_CONTROLLER, "--engines", "2", "--hash", "8", QUORL_BINARY});
  ASSERT_TRUE(controller.started()) << controller.start_error();
  const std::string id = std::to_string(controller.pid());
  const std::string table = "/dev/shm/quorlOldSync1" + id;
  ASSERT_TRUE(controller.send("uci\n"));
  ASSERT_TRUE(ReadIdBlock(controller));
  EXPECT_NE(access(table.c_str(), F_OK), 0) << table << " outlives the engines' start";
  std::ifstream children("/proc/" + id + "/task/" + id + "/children");
  int engines = 0;
  for (std::string pid; children >> pid; ++engines) {
    std::ifstream cmdline("/proc/" + pid + "/cmdline");
    const std::string words((std::istreambuf_iterator<char>(cmdline)), std::istreambuf_iterator<char>());
    EXPECT_NE(words.find(std::string(1, '\0') + id + '\0' + "1" + '\0' + "8"), std::string::npos) << words;
  }
  EXPECT_EQ(engines, 2);

  Answer answer;
  ASSERT_TRUE(controller.send(std::string("position fen ") + kFen + "\ngo depth 9\n"));
  ASSERT_TRUE(ReadAnswer(controller, kReplyMs, &answer));
  EXPECT_EQ(answer.best, kMate);
  // In an analysis the helper over all moves is denied its refuted second line, never the mate.
  ASSERT_TRUE(controller.send("go infinite\n"));
  std::optional<std::string> line;
  while ((line = controller.read_line(kReplyMs)) && !StartsWith(*line, "info string helper 1 denies ")) {}
  ASSERT_TRUE(line) << "no deny in the analysis";
  EXPECT_NE(Words(*line)[5], kMate);
  // What needs the search idle is dropped during an analysis, not waited for.
  ASSERT_TRUE(controller.send("position startpos\ngo depth 1\nucinewgame\nstop\n"));
  ASSERT_TRUE(ReadAnswer(controller, kPromptMs, &answer));
  EXPECT_EQ(answer.best, kMate);
  ExpectCleanEnd(controller);
}

}  // namespace
