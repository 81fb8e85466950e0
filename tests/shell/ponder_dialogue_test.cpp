// The states a search passes through as a pondering front end drives it:
// ponder then ponderhit or stop, a ponder search that finished on its own and
// waits, stray stops, and the self-play form of go.
#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "support/engine_process.h"
#include "support/uci_session.h"

namespace {

using namespace quorl_test;

// The opening after 1. e4 e5 2. Nf3: Black to move, many sensible replies.
const GamePosition kGame{"", {"e2e4", "e7e5", "g1f3"}};

class PonderDialogue : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(engine.started()) << engine.start_error(); }
  EngineProcess engine;
};

TEST_F(PonderDialogue, PonderhitHandsTheSearchToTheClock) {
  ASSERT_TRUE(engine.send(kGame.Line() + "go ponder wtime 4000 btime 4000\n"));
  // However long the ponder search runs, it owes no move yet.
  ASSERT_TRUE(AwaitDepth(engine, 4));
  Answer early;
  EXPECT_FALSE(ReadAnswer(engine, 500, &early)) << "bestmove while pondering";
  ASSERT_TRUE(engine.send("ponderhit\n"));
  Answer answer;
  // Now the budget of a 4 s clock applies: well under its hard limit.
  ASSERT_TRUE(ReadAnswer(engine, 3000, &answer));
  EXPECT_TRUE(LegalAnswer(kGame.Board(), answer));
  ExpectNothingMore(engine);
}

TEST_F(PonderDialogue, StopEndsAPonderSearchWithOneBestmove) {
  ASSERT_TRUE(engine.send(kGame.Line() + "go ponder wtime 60000 btime 60000\n"));
  ASSERT_TRUE(AwaitDepth(engine, 4));
  ASSERT_TRUE(engine.send("stop\n"));
  Answer answer;
  ASSERT_TRUE(ReadAnswer(engine, kPromptMs, &answer));
  EXPECT_TRUE(LegalAnswer(kGame.Board(), answer));
  // A second stop is a stray one: nothing more.
  ASSERT_TRUE(engine.send("stop\n"));
  ExpectNothingMore(engine);
}

TEST_F(PonderDialogue, FinishedPonderSearchWaitsForTheFrontEnd) {
  ASSERT_TRUE(engine.send(kGame.Line() + "go ponder depth 3\n"));
  Answer held;
  EXPECT_FALSE(ReadAnswer(engine, 500, &held)) << "the move of a ponder search is held back";
  // While it waits, a position line is dropped and a ucinewgame is taken for
  // uci: the result still belongs to the pondered position.
  ASSERT_TRUE(engine.send("position startpos moves d2d4\nucinewgame\n"));
  std::optional<std::string> id = engine.read_line(kReplyMs);
  ASSERT_TRUE(id.has_value());
  EXPECT_TRUE(StartsWith(*id, "id name ")) << *id;
  ASSERT_TRUE(engine.send("ponderhit\n"));
  Answer answer;
  ASSERT_TRUE(ReadAnswer(engine, kPromptMs, &answer));
  EXPECT_TRUE(LegalAnswer(kGame.Board(), answer));
  ASSERT_TRUE(engine.send("stop\n"));
  ExpectNothingMore(engine);
}

TEST_F(PonderDialogue, StopAfterAFinishedInfiniteSearch) {
  ASSERT_TRUE(engine.send(kGame.Line() + "go infinite depth 3\n"));
  Answer held;
  EXPECT_FALSE(ReadAnswer(engine, 300, &held));
  ASSERT_TRUE(engine.send("stop\n"));
  Answer answer;
  ASSERT_TRUE(ReadAnswer(engine, kPromptMs, &answer));
  EXPECT_TRUE(LegalAnswer(kGame.Board(), answer));
}

TEST_F(PonderDialogue, StopAfterANewGameOwesNoMove) {
  ASSERT_TRUE(engine.send("position startpos\ngo depth 3\n"));
  Answer first;
  ASSERT_TRUE(ReadAnswer(engine, kReplyMs, &first));
  ASSERT_TRUE(engine.send("stop\n"));
  ExpectNothingMore(engine);
  ASSERT_TRUE(engine.send("ucinewgame\nstop\n"));
  Answer none;
  ASSERT_TRUE(ReadAnswer(engine, kPromptMs, &none));
  EXPECT_EQ(none.best, "0000");
}

// ---------------------------------------------------------------------------
// goe: the engine plays on its own Position and tells a script its result.

TEST_F(PonderDialogue, SelfPlayFormPlaysOnItsOwnPosition) {
  reference::Board board;
  // The words of the one line a goe prints; its move must be legal for the
  // side to move on the game so far, which it then extends.
  const auto play = [&](const std::string& input) {
    std::vector<std::string> w;
    EXPECT_TRUE(engine.send(input));
    const std::optional<std::string> line = engine.read_line(kReplyMs);
    if (!line) return w;
    w = Words(*line);
    EXPECT_EQ(w.size(), 5u) << *line;
    EXPECT_TRUE(!w.empty() && board.PlayText(w[0])) << *line << " is not a legal move";
    return w;
  };
  std::vector<std::string> w = play("position startpos\ngoe depth 3\n");
  ASSERT_EQ(w.size(), 5u);
  EXPECT_GT(std::atoll(w[1].c_str()), 0) << "node count";
  EXPECT_EQ(w[2], "3");
  EXPECT_EQ(w[4], "62") << "all material of the start position";

  // The next goe goes on from the move just played: it is Black's move now,
  // and a depth with a half ply prints its half.
  w = play("goe depth 2,5\n");
  ASSERT_EQ(w.size(), 5u);
  EXPECT_EQ(w[2], "2.5");
  // A depth below nothing still plays a legal move.
  play("goe depth -3\n");
  // Nothing else goes out: no info lines, no bestmove.
  EXPECT_TRUE(engine.expect_silence(200));
}

TEST_F(PonderDialogue, SelfPlayFormCallsADeadDrawByItsName) {
  // A bishop against a knight and nothing else: no mate can be forced, and
  // the score text says so.
  ASSERT_TRUE(engine.send("position fen 8/8/4k3/8/3n4/3B4/4K3/8 w - - 0 1\ngoe depth 4\n"));
  std::optional<std::string> line = engine.read_line(kReplyMs);
  ASSERT_TRUE(line.has_value());
  const std::vector<std::string> w = Words(*line);
  ASSERT_EQ(w.size(), 5u) << *line;
  EXPECT_EQ(w[3], "00") << *line;
  EXPECT_EQ(w[4], "6");
}

}  // namespace
