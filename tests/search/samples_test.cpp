// Samples are commentary only: a search that sends them to the front end
// finds the same lines with the same node counts as one that does not. The
// node samples among them read as a path in chess notation, a score in the
// icp form and, in brackets, the move with the line behind it.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "support/engine_process.h"
#include "support/uci_session.h"

namespace {

using namespace quorl_test;

// The score lines of an answer without their clock fields, and the number
// of sample lines beside them.
std::vector<std::string> ScoreLines(const Answer& answer, int* samples) {
  std::vector<std::string> lines;
  *samples = 0;
  for (const std::string& line : answer.lines) {
    if (StartsWith(line, "info sample")) ++*samples;
    if (!StartsWith(line, "info depth") || line.find(" score ") == std::string::npos) continue;
    std::string kept;
    const std::vector<std::string> w = Words(line);
    for (size_t i = 0; i < w.size(); ++i) {
      if (w[i] == "time" || w[i] == "nps") ++i;
      else kept += w[i] + " ";
    }
    lines.push_back(kept);
  }
  return lines;
}

// Checks one node sample; counts it, and its bracket if a line follows the
// move there.
void CheckNodeSample(const std::string& line, int* samples, int* lined) {
  static const std::regex notated("([NBRQK][a-h]?[1-8]?x?|[a-h]x)?[a-h][1-8](=[NBRQ])?\\+?\\*?|O-O(-O)?\\+?\\*?");
  const std::vector<std::string> w = Words(line);
  size_t i = 2;
  for (; i < w.size() && w[i] != "icp"; ++i) {
    if (w[i] != "isbetter" && w[i] != "isworse" && w[i] != "ismuchbetter") {
      EXPECT_TRUE(std::regex_match(w[i], notated)) << w[i] << " in " << line;
    }
  }
  if (i + 1 >= w.size()) return;
  ++*samples;
  EXPECT_TRUE(w[i + 1] == "--" || std::regex_match(w[i + 1], std::regex("-?[0-9]+"))) << line;
  const size_t bracket = line.find(" [ ");
  if (bracket != std::string::npos && Words(line.substr(bracket)).size() > 5) ++*lined;
}

TEST(Samples, LeaveTheSearchUnchanged) {
  const std::string go = "position fen 8/8/4k3/8/2P5/4K3/8/8 w - - 0 1\ngo depth 13\n";
  std::vector<std::string> found[2];
  int samples[2], nodeSamples = 0, linedBrackets = 0;
  for (int sampled = 0; sampled < 2; ++sampled) {
    EngineProcess engine;
    ASSERT_TRUE(engine.started()) << engine.start_error();
    if (sampled) {
      ASSERT_TRUE(engine.send("qvn3\n"));
      std::optional<std::string> line;
      while ((line = engine.read_line(kReplyMs)) && *line != "qvn3ok") {
      }
      ASSERT_TRUE(line) << "no qvn3ok";
    }
    ASSERT_TRUE(engine.send(go));
    Answer answer;
    ASSERT_TRUE(ReadAnswer(engine, 4 * kReplyMs, &answer));
    found[sampled] = ScoreLines(answer, &samples[sampled]);
    for (const std::string& line : answer.lines)
      if (StartsWith(line, "info sample") && line.find(" icp ") != std::string::npos)
        CheckNodeSample(line, &nodeSamples, &linedBrackets);
  }
  EXPECT_EQ(samples[0], 0);
  EXPECT_GT(samples[1], 0) << "no samples were sent";
  EXPECT_GT(nodeSamples, 0) << "no node samples";
  EXPECT_GT(linedBrackets, 0) << "no bracket carries a line";
  ASSERT_FALSE(found[0].empty());
  EXPECT_EQ(found[0], found[1]);
}

}  // namespace
