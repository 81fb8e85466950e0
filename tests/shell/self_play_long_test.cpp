// Whole games of the engine against itself at 5 s + 0.05 s a move, played
// through UCI as a match runner would: two engine processes, a clock per
// side that the harness keeps, every move checked against the reference
// generator, and the game ended by the rules of chess.
#include <gtest/gtest.h>

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "board/reference_moves.h"
#include "support/engine_process.h"
#include "support/uci_session.h"

namespace {

using namespace quorl_test;

constexpr int64_t kBaseMs = 5000;
constexpr int64_t kIncrementMs = 50;

struct Opening {
  const char* name;
  std::vector<std::string> moves;
};

void PrintTo(const Opening& o, std::ostream* os) { *os << o.name; }

// Neither side can mate with what is left: kings alone, or one minor piece.
bool DeadPosition(const reference::Board& b) {
  using namespace reference;
  if (b.Count(PAWN) || b.Count(ROOK) || b.Count(QUEEN)) return false;
  return b.Count(KNIGHT) + b.Count(BISHOP) <= 1;
}

// How a finished game ended, or empty while it goes on.
std::string GameEnd(const reference::Board& board, const std::map<std::string, int>& seen) {
  if (board.LegalMoves().empty()) return board.InCheck() ? "checkmate" : "stalemate";
  if (board.HalfmoveClock() >= 100) return "fifty moves";
  if (seen.at(board.Fen(false)) >= 3) return "threefold repetition";
  if (DeadPosition(board)) return "insufficient material";
  return "";
}

class SelfPlay : public ::testing::TestWithParam<Opening> {};

TEST_P(SelfPlay, CompleteGameWithLegalMovesInTime) {
  EngineProcess engines[2];
  for (EngineProcess& e : engines) {
    ASSERT_TRUE(e.started()) << e.start_error();
    ASSERT_TRUE(e.send("uci\nsetoption name Hash value 16\nucinewgame\nisready\n"));
    for (;;) {
      std::optional<std::string> line = e.read_line(kReplyMs);
      ASSERT_TRUE(line.has_value()) << "no readyok";
      if (*line == "readyok") break;
    }
  }
  GamePosition game{"", GetParam().moves};
  reference::Board board = game.Board();
  std::map<std::string, int> seen;
  ++seen[board.Fen(false)];
  int64_t clock[2] = {kBaseMs, kBaseMs};
  std::string end;
  while ((end = GameEnd(board, seen)).empty()) {
    const int side = board.Side();
    const std::string go = "go wtime " + std::to_string(clock[0]) + " btime " + std::to_string(clock[1]) +
                           " winc " + std::to_string(kIncrementMs) + " binc " + std::to_string(kIncrementMs) + "\n";
    ASSERT_TRUE(engines[side].send(game.Line() + go));
    Answer answer;
    ASSERT_TRUE(ReadAnswer(engines[side], int(clock[side] + 1000), &answer))
        << "no move in " << board.Fen() << " with " << clock[side] << " ms left";
    clock[side] -= answer.ms;
    ASSERT_GE(clock[side], 0) << (side ? "Black" : "White") << " lost on time in " << board.Fen() << " after "
                              << answer.ms << " ms";
    clock[side] += kIncrementMs;
    ASSERT_TRUE(LegalAnswer(board, answer));
    board.PlayText(answer.best);
    game.moves.push_back(answer.best);
    ++seen[board.Fen(false)];
  }
  // A game of a few moves would mean the engines did not really play.
  EXPECT_GE(game.moves.size(), 20u) << end;
  RecordProperty("end", end);
  RecordProperty("plies", int(game.moves.size()));
}

INSTANTIATE_TEST_SUITE_P(Openings, SelfPlay,
                         ::testing::Values(Opening{"StartPosition", {}},
                                           Opening{"SicilianDefence", {"e2e4", "c7c5", "g1f3", "d7d6"}},
                                           Opening{"QueensGambitDeclined", {"d2d4", "d7d5", "c2c4", "e7e6"}}),
                         [](const ::testing::TestParamInfo<Opening>& info) { return info.param.name; });

}  // namespace
