// A front end's side of a UCI session with the engine in a child process:
// positions as lines and as reference boards, answers read up to their
// bestmove, and the checks every such test makes on them.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/reference_moves.h"
#include "support/engine_process.h"

namespace quorl_test {

using Clock = std::chrono::steady_clock;

// Time allowed for a reply that must come; only a broken engine waits that
// long. A search to a small depth fits in it many times over.
constexpr int kReplyMs = 5000;
// What "promptly" means for isready, stop and quit while a search runs.
constexpr int kPromptMs = 1000;

bool StartsWith(std::string_view text, std::string_view prefix);
std::vector<std::string> Words(const std::string& line);
int64_t MsSince(Clock::time_point start);

// A position as sent to the engine, and the same position on the reference
// board.
struct GamePosition {
  std::string fen;  // empty: the start position
  std::vector<std::string> moves;

  std::string Line() const;
  reference::Board Board() const;
};

// Everything up to and including the bestmove line.
struct Answer {
  std::vector<std::string> lines;  // the lines before bestmove
  std::string best;                // the move, "0000" for none
  std::string ponder;              // empty when none was named
  int64_t ms = 0;                  // from the call to the bestmove line
};

::testing::AssertionResult ReadAnswer(EngineProcess& engine, int timeout_ms, Answer* answer);
// The best move is legal on the board, and the ponder move, when there is
// one, is legal after it.
::testing::AssertionResult LegalAnswer(const reference::Board& board, const Answer& answer);
// The last line with a score: its words, or empty.
std::vector<std::string> LastScoreLine(const Answer& answer);
// The words after "pv", each a legal move in turn from the board.
::testing::AssertionResult LegalLine(const reference::Board& board, const std::vector<std::string>& words);
std::string PvFirst(const std::vector<std::string>& words);
// After the answer is complete: no second bestmove, nothing at all.
void ExpectNothingMore(EngineProcess& engine);
// Reads info lines until one reports an iteration of at least `depth`, so
// that the search is known to be well under way.
::testing::AssertionResult AwaitDepth(EngineProcess& engine, int depth);

// Every line up to "readyok", which an isready sent behind the input forces.
std::vector<std::string> LinesBeforeReady(EngineProcess& engine, const std::string& input);
// Every line printed in answer to `bytes`, readyok included: the end is marked
// by an isready and a uci sent behind them, so the answer is what comes before
// a readyok directly followed by the id block. Empty when the engine did not
// get through the marker in time.
std::optional<std::vector<std::string>> RepliesTo(EngineProcess& engine, std::string_view bytes);
// Reads one complete id block ("id name" to "uciok") and gives the name.
std::optional<std::string> ReadIdBlock(EngineProcess& engine);
// Closes the input and expects a clean exit with no further output.
void ExpectCleanEnd(EngineProcess& engine);

}  // namespace quorl_test
