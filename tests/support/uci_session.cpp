#include "support/uci_session.h"

#include <cstdlib>
#include <sstream>

namespace quorl_test {

bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

std::vector<std::string> Words(const std::string& line) {
  std::istringstream in(line);
  std::vector<std::string> words;
  for (std::string w; in >> w;) words.push_back(w);
  return words;
}

int64_t MsSince(Clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

std::string GamePosition::Line() const {
  std::string line = fen.empty() ? "position startpos" : "position fen " + fen;
  if (!moves.empty()) {
    line += " moves";
    for (const std::string& m : moves) line += " " + m;
  }
  return line + "\n";
}

reference::Board GamePosition::Board() const {
  reference::Board board;
  if (!fen.empty()) {
    EXPECT_TRUE(board.SetFen(fen)) << fen;
  }
  for (const std::string& m : moves) EXPECT_TRUE(board.PlayText(m)) << m;
  return board;
}

::testing::AssertionResult ReadAnswer(EngineProcess& engine, int timeout_ms, Answer* answer) {
  const Clock::time_point start = Clock::now();
  for (;;) {
    const int64_t left = timeout_ms - MsSince(start);
    auto line = engine.read_line(int(left > 0 ? left : 0));
    if (!line) return ::testing::AssertionFailure() << "no bestmove within " << timeout_ms << " ms";
    if (!StartsWith(*line, "bestmove")) {
      answer->lines.push_back(*line);
      continue;
    }
    answer->ms = MsSince(start);
    const std::vector<std::string> w = Words(*line);
    if (w.size() == 2 && w[0] == "bestmove") {
      answer->best = w[1];
    } else if (w.size() == 4 && w[0] == "bestmove" && w[2] == "ponder") {
      answer->best = w[1];
      answer->ponder = w[3];
    } else {
      return ::testing::AssertionFailure() << "malformed line: " << *line;
    }
    return ::testing::AssertionSuccess();
  }
}

::testing::AssertionResult LegalAnswer(const reference::Board& board, const Answer& answer) {
  reference::Board after = board;
  if (!after.PlayText(answer.best))
    return ::testing::AssertionFailure() << "bestmove " << answer.best << " is illegal in " << board.Fen();
  if (!answer.ponder.empty() && !after.PlayText(answer.ponder))
    return ::testing::AssertionFailure() << "ponder " << answer.ponder << " is illegal after " << answer.best
                                         << " in " << board.Fen();
  return ::testing::AssertionSuccess();
}

std::vector<std::string> LastScoreLine(const Answer& answer) {
  for (auto it = answer.lines.rbegin(); it != answer.lines.rend(); ++it)
    if (StartsWith(*it, "info ") && it->find(" score ") != std::string::npos) return Words(*it);
  return {};
}

::testing::AssertionResult LegalLine(const reference::Board& board, const std::vector<std::string>& words) {
  size_t i = 0;
  while (i < words.size() && words[i] != "pv") ++i;
  if (i + 1 >= words.size()) return ::testing::AssertionFailure() << "no pv in the score line";
  reference::Board b = board;
  for (++i; i < words.size(); ++i)
    if (!b.PlayText(words[i]))
      return ::testing::AssertionFailure() << "pv move " << words[i] << " is illegal in " << b.Fen();
  return ::testing::AssertionSuccess();
}

std::string PvFirst(const std::vector<std::string>& words) {
  for (size_t i = 0; i + 1 < words.size(); ++i)
    if (words[i] == "pv") return words[i + 1];
  return "";
}

void ExpectNothingMore(EngineProcess& engine) {
  ASSERT_TRUE(engine.send("isready\n"));
  EXPECT_EQ(engine.read_line(kReplyMs), "readyok") << "a line came before readyok";
  EXPECT_TRUE(engine.expect_silence(100));
}

::testing::AssertionResult AwaitDepth(EngineProcess& engine, int depth) {
  const Clock::time_point start = Clock::now();
  for (;;) {
    const int64_t left = kReplyMs - MsSince(start);
    auto line = engine.read_line(int(left > 0 ? left : 0));
    if (!line) return ::testing::AssertionFailure() << "no iteration of depth " << depth << " reported";
    if (StartsWith(*line, "bestmove")) return ::testing::AssertionFailure() << "search ended: " << *line;
    const std::vector<std::string> w = Words(*line);
    if (w.size() >= 3 && w[0] == "info" && w[1] == "depth" && std::atoi(w[2].c_str()) >= depth)
      return ::testing::AssertionSuccess();
  }
}

std::vector<std::string> LinesBeforeReady(EngineProcess& engine, const std::string& input) {
  std::vector<std::string> lines;
  if (!engine.send(input + "isready\n")) return {"<send failed>"};
  for (;;) {
    std::optional<std::string> line = engine.read_line(kReplyMs);
    if (!line || *line == "readyok") return lines;
    lines.push_back(*line);
  }
}

namespace {

// The rest of an id block whose "id name" line has been read: the author,
// the option lines, then "uciok".
bool ReadRestOfIdBlock(EngineProcess& engine) {
  if (engine.read_line(kReplyMs) != "id author Orlan Tesk") return false;
  for (;;) {
    auto line = engine.read_line(kReplyMs);
    if (!line) return false;
    if (*line == "uciok") return true;
    if (!StartsWith(*line, "option name ")) return false;
  }
}

}  // namespace

std::optional<std::vector<std::string>> RepliesTo(EngineProcess& engine, std::string_view bytes) {
  if (!engine.send(bytes) || !engine.send("isready\nuci\n")) return std::nullopt;
  std::vector<std::string> lines;
  for (;;) {
    auto line = engine.read_line(kReplyMs);
    if (!line) return std::nullopt;
    if (StartsWith(*line, "id name ") && !lines.empty() && lines.back() == "readyok") break;
    lines.push_back(*line);
  }
  lines.pop_back();
  if (!ReadRestOfIdBlock(engine)) return std::nullopt;
  return lines;
}

std::optional<std::string> ReadIdBlock(EngineProcess& engine) {
  auto first = engine.read_line(kReplyMs);
  if (!first || !StartsWith(*first, "id name ") || !ReadRestOfIdBlock(engine)) return std::nullopt;
  return first->substr(8);
}

void ExpectCleanEnd(EngineProcess& engine) {
  engine.close_input();
  EXPECT_EQ(engine.wait_exit(kReplyMs), 0);
  EXPECT_TRUE(engine.expect_silence(kReplyMs)) << "output after the end of input";
}

}  // namespace quorl_test
