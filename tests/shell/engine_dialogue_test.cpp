// The engine binary as a front end sees it: lines in on standard input,
// replies on standard output, and how the process starts and ends.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/engine_process.h"
#include "support/uci_session.h"

namespace {

using namespace quorl_test;
using namespace std::string_literals;
using Lines = std::vector<std::string>;

constexpr int kLineLimit = 8191;  // characters read as one line at most
const char kInvalidFen[] = "info string Invalid FEN string.";

std::string Repeat(char c, size_t count) { return std::string(count, c); }

// Noise without line feeds, each piece of the line limit starting with a
// byte that begins no command.
std::string Noise() {
  std::mt19937 random(20240611);
  std::string bytes(30000, '\0');
  for (char& c : bytes) {
    c = char(random() & 0xff);
    if (c == '\n') c = '\0';
  }
  for (size_t i = 0; i < bytes.size(); i += kLineLimit) bytes[i] = '\xff';
  return bytes;
}

// ---------------------------------------------------------------------------
// What each input gets in answer, all through one engine in turn.

struct Exchange {
  std::string input;
  Lines replies;
};

TEST(EngineDialogue, EveryInputGetsItsReplyAndNothingElse) {
  const Exchange exchanges[] = {
      // isready in any case and as a prefix; several in one write.
      {"isready\nISREADY\nIsReady\nisreadynow\nisready please\n", {"readyok", "readyok", "readyok", "readyok", "readyok"}},
      // Unknown lines and near misses are ignored silently.
      {"hello\nisread\n isready\nis ready\nreadyok\ndebug on\nregister later\nxboard\nbestmove e2e4\nqui\n quit\n"
       "sto\npositio startpos\n12345\nucinewgame\n",
       {}},
      // stop without a search answers the null move, each time.
      {"stop\nSTOP\nstopping\n", {"bestmove 0000", "bestmove 0000", "bestmove 0000"}},
      {"position startpos moves e2e4\nstop\nucinewgame\nstop\n", {"bestmove 0000", "bestmove 0000"}},
      // A carriage return before the line feed is dropped.
      {"isready\r\nstop\r\nposition fen hello\r\n\r\n\r\n", {"readyok", "bestmove 0000", kInvalidFen}},
      // Well-formed positions are set up silently.
      {"position startpos\nposition startpos moves e2e4 e7e5 g1f3 b8c6 f1b5 a7a6\nPOSITION startpos\n"
       "position fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1\n"
       "position fen r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3 moves f1c4\n"
       "position fen 4k3/8/8/8/8/8/8/4K3 b - -\nposition startpos \n",
       {}},
      // A malformed FEN (the parser's own tests tell which) is reported once per line.
      {"position fen hello moves e2e4\nposition fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR\n",
       {kInvalidFen, kInvalidFen}},
      // Long lines arrive in pieces of the line limit: a command right behind
      // a full piece is a line of its own, one character less and it is not.
      {Repeat('x', kLineLimit) + "isready\n", {"readyok"}},
      {Repeat('x', kLineLimit) + "stop\n", {"bestmove 0000"}},
      {Repeat('x', kLineLimit - 1) + "isready\n", {}},
      {Repeat('x', kLineLimit) + "\n" + Repeat('x', kLineLimit) + "\r\n", {}},
      {Repeat('x', kLineLimit) + "isready" + Repeat('x', kLineLimit - 7) + "isready\n", {"readyok", "readyok"}},
      {Repeat('x', 2 * kLineLimit) + "isready\n", {"readyok"}},
      {Repeat('x', 20000) + "\n" + Repeat('x', 20000) + "isready\n", {}},
      // Empty, blank and binary lines do no harm; a NUL does not end a line.
      {"\n\n\n   \n\t\n", {}},
      {"\0\x01\x02\x1b[2J\x7f\x80\xc3\xa9\xfe\xff\n\xff\xfeisready\n\0isready\nisre\0ady\nxx\0isready\n"s, {}},
      {"isready\0garbage\nisready\n"s, {"readyok", "readyok"}},
      {Noise() + "\n", {}},
  };
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  for (const Exchange& e : exchanges) {
    SCOPED_TRACE(e.input.substr(0, 60));
    auto replies = RepliesTo(engine, e.input);
    ASSERT_TRUE(replies.has_value()) << "engine stopped answering";
    EXPECT_EQ(*replies, e.replies);
  }
  ExpectCleanEnd(engine);
}

// Move lists that make no sense: whatever is wrong, the FEN report is the
// only thing said, and the engine goes on.
TEST(EngineDialogue, NonsensePositionsSayNothingButTheFenReport) {
  std::string shuffle = "position startpos moves";
  while (shuffle.size() < 20000) shuffle += " g1f3 g8f6 f3g1 f6g8";
  const std::string lines[] = {
      "position startpos moves zz99 e2e4",
      "position startpos moves",
      "position",
      "position moves e2e4",
      "position startpos moves e7e5 e7e5 e7e5",
      "position startpos moves e2e4 e2e4 e2e4 e2e4",
      "position startpos moves e1e8 e8e1 d1d8 a1h8",
      "position startpos moves e1g1 e8c8 e1c1",
      "position startpos moves a2a8q h7h1n b2b1r g7g8b a7a1k",
      "position startpos moves e2e4x e7e5qq a9a1 i2i4 0000 a1a1 A2A4 e2",
      "position startpos moves \xff\xfe\x01 e2e4",
      "position fen 8/8/8/8/8/8/8/8 w - - 0 1 moves e2e4",
      "position fen kkkkkkkk/8/8/8/8/8/8/KKKKKKKK w KQkq e3 moves e1e2 a3b4",
      "position fen 9/9/9/9/9/9/9/9 w - -",
      "position fen 8/8/8/8/8/8/8/8 w - h6 moves h5g6",
      // Pawns stepping sideways; kings two squares from a corner, off their
      // start squares.
      "position startpos moves e2d2 e7f7",
      "position fen 4k3/8/8/8/8/8/8/2K5 w - - 0 1 moves c1a1 e8c8",
      "position fen 5k2/8/8/8/8/8/8/6K1 b - - 0 1 moves f8h8 g1e1",
      shuffle,
  };
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  for (const std::string& line : lines) {
    SCOPED_TRACE(line.substr(0, 80));
    auto replies = RepliesTo(engine, line + "\n");
    ASSERT_TRUE(replies.has_value()) << "engine stopped answering";
    for (const auto& reply : *replies) EXPECT_EQ(reply, kInvalidFen);
  }
  EXPECT_EQ(RepliesTo(engine, "position startpos\nstop\n"), Lines{"bestmove 0000"});
  // Nine pawns of a side, and numbers past every bound on a go line; then a
  // stray stop or ponderhit after the search owes nothing, and must not play
  // its move on the new board.
  Answer answer;
  ASSERT_TRUE(engine.send("position fen 4k3/pppppppp/p7/8/8/8/8/4K3 w - - 0 1\n"
                          "go depth 4 minscore 2147483647 mate -2147483648\n"));
  ASSERT_TRUE(ReadAnswer(engine, 10000, &answer));
  EXPECT_EQ(RepliesTo(engine, "position fen 4k3/8/8/8/8/8/8/K7 w - - 0 1\nstop\nponderhit\n"), Lines{});
  ExpectCleanEnd(engine);
}

// Pieces of one line in separate writes: nothing is answered before the line
// feed, however the pieces fall.
TEST(EngineDialogue, LinesAreAssembledAcrossWrites) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  for (const char* piece : {"i", "sre", "ad", "y", "\n", "isready\r", "\n", "isre", "ady\nisr", "eady\n"}) {
    ASSERT_TRUE(engine.send(piece));
    if (std::string(piece).find('\n') != std::string::npos) {
      EXPECT_EQ(engine.read_line(kReplyMs), "readyok") << piece;
    } else {
      EXPECT_TRUE(engine.expect_silence(15)) << "answered an incomplete line: " << piece;
    }
  }
  ASSERT_TRUE(engine.send("isready\nuci\nstop\n"));
  EXPECT_EQ(engine.read_line(kReplyMs), "readyok");
  EXPECT_EQ(ReadIdBlock(engine), "Quorl 0 1");
  EXPECT_EQ(engine.read_line(kReplyMs), "bestmove 0000");
  ExpectCleanEnd(engine);
}

// ---------------------------------------------------------------------------
// The id block, and the name taken from the command line (the unit table of
// the names holds the forms of the file name).

TEST(EngineDialogue, IdBlockForEveryFormOfTheWordAndTheNameFromTheCommandLine) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  for (const char* line : {"uci\n", "UCI\n", "ucifoo\n", "uci with words\n", "uci\r\n"}) {
    ASSERT_TRUE(engine.send(line));
    EXPECT_EQ(ReadIdBlock(engine), "Quorl 0 1") << line;
    EXPECT_TRUE(engine.expect_silence(30));
  }
  ExpectCleanEnd(engine);
  // Three numbers still make a MainProcess, and the whole command line feeds the name.
  EngineProcess numbered(QUORL_BINARY, {QUORL_BINARY, "0", "1", "16"});
  ASSERT_TRUE(numbered.send("uci\n"));
  EXPECT_EQ(ReadIdBlock(numbered), "Quorl 0 1 16");
  ExpectCleanEnd(numbered);
}

// ---------------------------------------------------------------------------
// How the process ends: quit in any form, lines behind it never answered;
// the end of input, a last line without its line feed still read.

TEST(EngineDialogue, QuitAndTheEndOfInputEndTheProcessWithStatusZero) {
  for (const char* line : {"quit\n", "QUIT\n", "quitting\n", "quit now\n", "quit\r\n", "quit",
                           "isready\n", "isready", "position startpos moves e2e4\n", ""}) {
    SCOPED_TRACE(line);
    EngineProcess engine;
    ASSERT_TRUE(engine.started()) << engine.start_error();
    const std::string text = line;
    const bool quits = text.rfind("quit", 0) == 0 || text.rfind("QUIT", 0) == 0;
    ASSERT_TRUE(engine.send(quits && text.back() == '\n' ? text + "isready\nuci\n" : text));
    if (text.back() != '\n') {
      EXPECT_TRUE(engine.expect_silence(30)) << "answered before the line was complete";
    }
    if (!quits || text.back() != '\n') engine.close_input();
    if (text.rfind("isready", 0) == 0) {
      EXPECT_EQ(engine.read_line(kReplyMs), "readyok");
    }
    EXPECT_EQ(engine.wait_exit(kReplyMs), 0);
    EXPECT_TRUE(engine.expect_silence(kReplyMs)) << "output after the end";
  }
  // An idle engine with open input waits for the next line.
  EngineProcess engine;
  EXPECT_EQ(LinesBeforeReady(engine, ""), Lines{});
  EXPECT_FALSE(engine.wait_exit(100).has_value());
}

}  // namespace
