// Searches as a front end drives them: go with a depth, go infinite with
// isready and stop on the way, and quit in the middle of a search. Every
// move the engine names is checked against the reference generator.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "board/reference_moves.h"
#include "support/engine_process.h"
#include "support/uci_session.h"

namespace {

using namespace quorl_test;

// ---------------------------------------------------------------------------
// go depth

struct DepthCase {
  const char* name;
  GamePosition game;
  int depth;
};

void PrintTo(const DepthCase& c, std::ostream* os) { *os << c.name; }

class GoDepthDialogue : public ::testing::TestWithParam<DepthCase> {};

TEST_P(GoDepthDialogue, AnswersOneLegalBestmoveWithAPonderMove) {
  const DepthCase& c = GetParam();
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  const reference::Board board = c.game.Board();
  // Good-move lines from every deep node go to the log, never to the front end.
  ASSERT_TRUE(engine.send(c.game.Line() + "go goodmovedepth 0 depth " + std::to_string(c.depth) + "\n"));
  Answer answer;
  ASSERT_TRUE(ReadAnswer(engine, kReplyMs, &answer));
  for (const std::string& line : answer.lines) EXPECT_TRUE(StartsWith(line, "info ")) << line;
  EXPECT_TRUE(LegalAnswer(board, answer));
  EXPECT_FALSE(answer.ponder.empty()) << "no ponder move after " << answer.best;
  // The last report is of the full depth, and its line starts with the move.
  const std::vector<std::string> score = LastScoreLine(answer);
  ASSERT_GE(score.size(), 3u) << "no score line";
  EXPECT_EQ(score[2], std::to_string(c.depth));
  EXPECT_EQ(PvFirst(score), answer.best);
  EXPECT_TRUE(LegalLine(board, score));
  ExpectNothingMore(engine);
}

constexpr const char* kManyMoves = "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -";

INSTANTIATE_TEST_SUITE_P(
    Positions, GoDepthDialogue,
    ::testing::Values(DepthCase{"StartPosition", {"", {}}, 5},
                      DepthCase{"BlackToMoveAfterMoves", {"", {"e2e4", "c7c5", "g1f3"}}, 6},
                      DepthCase{"CastlingOnBothWings", {kManyMoves, {}}, 4},
                      DepthCase{"AfterCastling", {kManyMoves, {"e1g1"}}, 4},
                      // Black may take en passant on e3.
                      DepthCase{"EnPassantOnTheBoard", {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -", {"e2e4"}}, 7}),
    [](const ::testing::TestParamInfo<DepthCase>& info) { return std::string(info.param.name); });

// Score texts: mate in n for the side to move is "mate n", being mated in n
// "mate -n"; with no move on the board the answer is the null move and no
// score is reported.
struct ScoreCase {
  const char* name;
  std::string fen;
  int depth;
  std::string score;  // "mate n", or empty when no score line may come
  std::vector<std::string> best;  // the accepted moves
};

void PrintTo(const ScoreCase& c, std::ostream* os) { *os << c.name; }

class GoScoreText : public ::testing::TestWithParam<ScoreCase> {};

TEST_P(GoScoreText, ReportsTheMateDistanceAndTheMove) {
  const ScoreCase& c = GetParam();
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  ASSERT_TRUE(engine.send("position fen " + c.fen + "\ngo depth " + std::to_string(c.depth) + "\n"));
  Answer answer;
  ASSERT_TRUE(ReadAnswer(engine, kReplyMs, &answer));
  EXPECT_NE(std::find(c.best.begin(), c.best.end(), answer.best), c.best.end()) << "bestmove " << answer.best;
  const std::vector<std::string> score = LastScoreLine(answer);
  if (c.score.empty()) {
    EXPECT_TRUE(score.empty()) << "score reported with no move on the board";
    EXPECT_TRUE(answer.ponder.empty());
  } else {
    ASSERT_GE(score.size(), 6u) << "no score line";
    EXPECT_EQ(score[3], "score");
    EXPECT_EQ(score[4] + " " + score[5], c.score);
    EXPECT_EQ(PvFirst(score), answer.best);
  }
  ExpectNothingMore(engine);
}

INSTANTIATE_TEST_SUITE_P(
    Positions, GoScoreText,
    ::testing::Values(
        // Rd8 mates at once.
        ScoreCase{"MateInOne", "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - -", 4, "mate 1", {"d1d8"}},
        // Ra6, and bxa6 b7 or a bishop move Rxa7 mates.
        ScoreCase{"MateInTwo", "kbK5/pp6/1P6/8/8/8/8/R7 w - -", 6, "mate 2", {"a1a6"}},
        // Both moves allow Rh1 mate.
        ScoreCase{"MatedInOne", "7k/5K2/8/8/8/p7/8/6R1 b - -", 4, "mate -1", {"h8h7", "a3a2"}},
        // Ka7 Rh8 Ka6 Ra8 mate, or Kb8 Ra1 Kc8 Ra8 mate.
        ScoreCase{"MatedInTwo", "k7/8/2K5/8/8/8/8/7R b - -", 12, "mate -2", {"a8a7", "a8b8"}},
        ScoreCase{"Stalemate", "7k/5Q2/6K1/8/8/8/8/8 b - -", 4, "", {"0000"}},
        ScoreCase{"Checkmate", "6k1/5ppp/8/8/8/8/5PPP/3r2K1 w - -", 4, "", {"0000"}}),
    [](const ::testing::TestParamInfo<ScoreCase>& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------------------
// go infinite, isready, stop, quit

TEST(GoInfiniteDialogue, IsreadyIsAnsweredAndStopGivesOneBestmove) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  const GamePosition game{"", {}};
  ASSERT_TRUE(engine.send(game.Line() + "go infinite\n"));
  ASSERT_TRUE(AwaitDepth(engine, 8));

  // isready is answered while the search goes on; info lines may come between.
  ASSERT_TRUE(engine.send("isready\n"));
  const Clock::time_point asked = Clock::now();
  for (;;) {
    auto line = engine.read_line(kPromptMs);
    ASSERT_TRUE(line.has_value()) << "no readyok during the search";
    ASSERT_FALSE(StartsWith(*line, "bestmove")) << "an infinite search ended by itself: " << *line;
    if (*line == "readyok") break;
  }
  EXPECT_LT(MsSince(asked), kPromptMs);

  ASSERT_TRUE(engine.send("stop\n"));
  Answer answer;
  ASSERT_TRUE(ReadAnswer(engine, kReplyMs, &answer));
  EXPECT_LT(answer.ms, kPromptMs);
  EXPECT_TRUE(LegalAnswer(game.Board(), answer));
  for (const std::string& line : answer.lines) EXPECT_TRUE(StartsWith(line, "info ")) << line;

  // A second stop finds no search and gives nothing more.
  ASSERT_TRUE(engine.send("stop\n"));
  EXPECT_TRUE(engine.expect_silence(300)) << "output after the second stop";
  ExpectNothingMore(engine);
}

// A stop jumps out of the search from deep in the tree; the Position is then
// rebuilt from the position line, moves included. The next search must see
// the same position: its move and its whole line are legal there.
struct StopCase {
  const char* name;
  GamePosition game;
};

void PrintTo(const StopCase& c, std::ostream* os) { *os << c.name; }

class StopDialogue : public ::testing::TestWithParam<StopCase> {};

TEST_P(StopDialogue, NextSearchIsOnTheSamePosition) {
  const GamePosition& game = GetParam().game;
  const reference::Board board = game.Board();
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  ASSERT_TRUE(engine.send(game.Line() + "go infinite\n"));
  ASSERT_TRUE(AwaitDepth(engine, 10));
  ASSERT_TRUE(engine.send("stop\n"));
  Answer stopped;
  ASSERT_TRUE(ReadAnswer(engine, kReplyMs, &stopped));
  EXPECT_LT(stopped.ms, kPromptMs);
  EXPECT_TRUE(LegalAnswer(board, stopped));

  for (int round = 0; round < 2; ++round) {
    SCOPED_TRACE(round);
    ASSERT_TRUE(engine.send("go depth 3\n"));
    Answer next;
    ASSERT_TRUE(ReadAnswer(engine, kReplyMs, &next));
    EXPECT_TRUE(LegalAnswer(board, next));
    const std::vector<std::string> score = LastScoreLine(next);
    ASSERT_FALSE(score.empty()) << "no score line";
    EXPECT_EQ(PvFirst(score), next.best);
    EXPECT_TRUE(LegalLine(board, score));
  }
  ExpectNothingMore(engine);
}

INSTANTIATE_TEST_SUITE_P(Positions, StopDialogue,
                         ::testing::Values(StopCase{"WhiteToMove", {"", {"e2e4", "e7e5"}}},
                                           StopCase{"BlackToMove", {"", {"e2e4", "e7e5", "g1f3"}}},
                                           StopCase{"AfterCastlingBothWays", {kManyMoves, {"e1c1", "e8g8"}}}),
                         [](const ::testing::TestParamInfo<StopCase>& info) { return std::string(info.param.name); });

// Clear Hash may come at any time; in the middle of a search it empties the
// table but leaves the search its root moves, so stop still names one.
TEST(GoInfiniteDialogue, ClearHashKeepsTheRootMovesOfTheRunningSearch) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  const GamePosition game{"", {"e2e4"}};
  ASSERT_TRUE(engine.send(game.Line() + "go infinite\n"));
  ASSERT_TRUE(AwaitDepth(engine, 8));
  ASSERT_TRUE(engine.send("setoption name Clear Hash\n"));
  ASSERT_TRUE(AwaitDepth(engine, 10));
  ASSERT_TRUE(engine.send("stop\n"));
  Answer answer;
  ASSERT_TRUE(ReadAnswer(engine, kReplyMs, &answer));
  EXPECT_TRUE(LegalAnswer(game.Board(), answer));
  const std::vector<std::string> score = LastScoreLine(answer);
  ASSERT_FALSE(score.empty()) << "no score line";
  EXPECT_EQ(PvFirst(score), answer.best);
  ExpectNothingMore(engine);
}

TEST(GoInfiniteDialogue, QuitEndsTheSearchAndTheProcessWithStatusZero) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  ASSERT_TRUE(engine.send("position startpos moves d2d4 d7d5\ngo infinite\n"));
  ASSERT_TRUE(AwaitDepth(engine, 8));
  const Clock::time_point asked = Clock::now();
  ASSERT_TRUE(engine.send("quit\n"));
  EXPECT_EQ(engine.wait_exit(kReplyMs), 0);
  EXPECT_LT(MsSince(asked), kPromptMs);
}

}  // namespace
