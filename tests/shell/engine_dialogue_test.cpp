// The engine binary as a front end sees it: lines in on standard input,
// replies on standard output, and how the process starts and ends.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "support/engine_process.h"

namespace {

namespace fs = std::filesystem;
using quorl_test::EngineProcess;

// Time allowed for a reply that must come, and for an exit that must happen.
// Only a broken engine ever waits that long.
constexpr int kReplyMs = 3000;
constexpr int kLineLimit = 8191;  // characters read as one line at most

const char kAuthorLine[] = "id author Orlan Tesk";
const char kInvalidFen[] = "info string Invalid FEN string.";

bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

// Reads the rest of an id block whose "id name" line has been read: the
// author, any option lines, then "uciok".
::testing::AssertionResult ReadRestOfUciBlock(EngineProcess& engine) {
  auto author = engine.read_line(kReplyMs);
  if (author != kAuthorLine)
    return ::testing::AssertionFailure() << "expected the author line, got " << author.value_or("<nothing>");
  for (;;) {
    auto line = engine.read_line(kReplyMs);
    if (!line) return ::testing::AssertionFailure() << "the id block did not end with uciok";
    if (*line == "uciok") return ::testing::AssertionSuccess();
    if (!StartsWith(*line, "option name "))
      return ::testing::AssertionFailure() << "unexpected line in the id block: " << *line;
  }
}

// Sends `bytes` and returns every line the engine printed in answer, in
// order. The end of the answer is marked by an "isready" and a "uci" sent
// behind it: the answer is what comes before a "readyok" that is directly
// followed by "id name". So a stray "readyok" in the answer is still seen.
// Empty when the engine did not get through the marker in time.
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
  if (!ReadRestOfUciBlock(engine)) return std::nullopt;
  return lines;
}

using Lines = std::vector<std::string>;

// Checks the answer to `bytes`; an engine that stops answering ends the test.
#define EXPECT_REPLIES(engine, bytes, ...)                              \
  do {                                                                  \
    auto replies_ = RepliesTo(engine, bytes);                           \
    ASSERT_TRUE(replies_.has_value()) << "engine stopped answering";    \
    EXPECT_EQ(*replies_, (Lines __VA_ARGS__));                          \
  } while (0)

// Reads one complete id block and gives its name.
std::optional<std::string> ReadIdBlock(EngineProcess& engine) {
  auto first = engine.read_line(kReplyMs);
  if (!first || !StartsWith(*first, "id name ")) return std::nullopt;
  if (!ReadRestOfUciBlock(engine)) return std::nullopt;
  return first->substr(8);
}

std::optional<std::string> NameAnswered(EngineProcess& engine) {
  if (!engine.send("uci\n")) return std::nullopt;
  return ReadIdBlock(engine);
}

// Closes the input and expects a clean exit with no further output.
void ExpectCleanEnd(EngineProcess& engine) {
  engine.close_input();
  EXPECT_EQ(engine.wait_exit(kReplyMs), 0);
  EXPECT_TRUE(engine.expect_silence(kReplyMs)) << "output after the end of input";
}

std::string Repeat(char c, size_t count) { return std::string(count, c); }

// ---------------------------------------------------------------------------
// uci: the id block and the name taken from the command line.

TEST(EngineUciDialogue, IdBlockComesInOrderForEveryFormOfTheWord) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  // The harness starts quorl as a pool of one: "0 1" joins the plain name.
  for (const char* line : {"uci\n", "UCI\n", "Uci\n", "ucifoo\n", "uci with words\n"}) {
    SCOPED_TRACE(line);
    ASSERT_TRUE(engine.send(line));
    EXPECT_EQ(engine.read_line(kReplyMs), "id name Quorl 0 1");
    EXPECT_TRUE(ReadRestOfUciBlock(engine));
    EXPECT_TRUE(engine.expect_silence(30));
  }
  // ucinewgame is a word of its own when idle, and answers nothing.
  EXPECT_REPLIES(engine, "ucinewgame\n", {});
  ExpectCleanEnd(engine);
}

TEST(EngineUciDialogue, ArgumentsBecomePartOfTheName) {
  // Three numbers still make a MainProcess (parent id 0: no outside table,
  // one processor, 16 MB), and the whole command line feeds the name.
  EngineProcess engine(QUORL_BINARY, {QUORL_BINARY, "0", "1", "16"});
  ASSERT_TRUE(engine.started()) << engine.start_error();
  EXPECT_EQ(NameAnswered(engine), "Quorl 0 1 16");
  ExpectCleanEnd(engine);
}

// Copies of the engine under other file names, in a directory of their own.
class EngineProgramFileName : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "e2e-names-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    dir_ = pattern;
  }
  void TearDown() override {
    std::error_code ignored;
    if (!dir_.empty()) fs::remove_all(dir_, ignored);
  }
  std::string CopyAs(const std::string& file_name) {
    fs::path target = dir_ / file_name;
    fs::copy_file(QUORL_BINARY, target, fs::copy_options::overwrite_existing);
    fs::permissions(target, fs::perms::owner_all, fs::perm_options::add);
    return target.string();
  }
  fs::path dir_;
};

TEST_F(EngineProgramFileName, NameIsBuiltAroundTheProductWord) {
  struct Case {
    const char* file;
    const char* name;
  };
  const Case cases[] = {
      {"Grand Quorl 13 x64", "Grand Quorl 13 x64"},  // words on both sides stay
      {"grand-quorl", "grand Quorl"},  // the character in front of the word goes
      {"QUORL", "Quorl"},              // the word is found in any case
      {"quorl_dev", "Quorl dev"},      // an underscore behind belongs to the word
      {"fast_quorl_x", "fast Quorl x"},
      {"Quorl 13.1.bin", "Quorl 13.1"},  // a version stays, an extension goes
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    std::string path = CopyAs(c.file);
    EngineProcess engine(path);
    ASSERT_TRUE(engine.started()) << engine.start_error();
    EXPECT_EQ(NameAnswered(engine), c.name);
    ExpectCleanEnd(engine);
  }
}

// ---------------------------------------------------------------------------
// isready and the lines that are ignored.

TEST(EngineReadyDialogue, IsreadyIsAnsweredInAnyCaseAndAsAPrefix) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  for (const char* line : {"isready\n", "ISREADY\n", "IsReady\n", "isreadynow\n", "isready please\n"}) {
    SCOPED_TRACE(line);
    ASSERT_TRUE(engine.send(line));
    EXPECT_EQ(engine.read_line(kReplyMs), "readyok");
    EXPECT_TRUE(engine.expect_silence(20));
  }
  // Repeated at once, each one is answered.
  ASSERT_TRUE(engine.send("isready\nisready\nisready\n"));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(engine.read_line(kReplyMs), "readyok");
  ExpectCleanEnd(engine);
}

TEST(EngineReadyDialogue, UnknownAndNearMissLinesAreIgnoredSilently) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  for (const char* line : {"hello\n", "isread\n", " isready\n", "is ready\n", "readyok\n", "debug on\n",
                           "register later\n", "xboard\n", "bestmove e2e4\n", "qui\n", " quit\n",
                           "sto\n", "positio startpos\n", "12345\n"}) {
    SCOPED_TRACE(line);
    EXPECT_REPLIES(engine, line, {});
  }
  ExpectCleanEnd(engine);
}

// ---------------------------------------------------------------------------
// How the process ends.

TEST(EngineExit, QuitInAnyFormEndsAtOnceWithStatusZero) {
  for (const char* line : {"quit\n", "QUIT\n", "Quit\n", "quitting\n", "quit now\n", "quit\r\n",
                           "quit"  // the end of input completes the line
       }) {
    SCOPED_TRACE(line);
    EngineProcess engine;
    ASSERT_TRUE(engine.started()) << engine.start_error();
    ASSERT_TRUE(engine.send("isready\n"));
    ASSERT_EQ(engine.read_line(kReplyMs), "readyok");
    // Lines behind the quit in the same write are never answered.
    std::string bytes = line;
    if (bytes.back() == '\n') bytes += "isready\nuci\n";
    ASSERT_TRUE(engine.send(bytes));
    if (bytes.back() != '\n') engine.close_input();
    EXPECT_EQ(engine.wait_exit(kReplyMs), 0);
    EXPECT_TRUE(engine.expect_silence(kReplyMs)) << "output after quit";
  }
}

TEST(EngineExit, EndOfInputEndsWithStatusZeroAndNoOutput) {
  {
    SCOPED_TRACE("input closed before any line");
    EngineProcess engine;
    ASSERT_TRUE(engine.started()) << engine.start_error();
    ExpectCleanEnd(engine);
  }
  {
    SCOPED_TRACE("input closed after a dialogue");
    EngineProcess engine;
    ASSERT_TRUE(engine.started()) << engine.start_error();
    EXPECT_REPLIES(engine, "position startpos moves e2e4\n", {});
    ExpectCleanEnd(engine);
  }
  {
    SCOPED_TRACE("a last line without a line feed is still read");
    EngineProcess engine;
    ASSERT_TRUE(engine.started()) << engine.start_error();
    ASSERT_TRUE(engine.send("isready"));
    EXPECT_TRUE(engine.expect_silence(30)) << "answered before the line was complete";
    engine.close_input();
    EXPECT_EQ(engine.read_line(kReplyMs), "readyok");
    EXPECT_EQ(engine.wait_exit(kReplyMs), 0);
    EXPECT_TRUE(engine.expect_silence(kReplyMs));
  }
  {
    SCOPED_TRACE("the input stays open");
    EngineProcess engine;
    ASSERT_TRUE(engine.started()) << engine.start_error();
    ASSERT_TRUE(engine.send("isready\n"));
    EXPECT_EQ(engine.read_line(kReplyMs), "readyok");
    // An idle engine with open input waits for the next line; it is killed here.
    EXPECT_FALSE(engine.wait_exit(100).has_value());
  }
}

// ---------------------------------------------------------------------------
// How input is cut into lines.

TEST(EngineLineFraming, LinesAreAssembledAcrossWritesAndSplitWithinOne) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  {
    SCOPED_TRACE("one line in pieces, with pauses");
    for (const char* piece : {"i", "sre", "ad", "y"}) {
      ASSERT_TRUE(engine.send(piece));
      EXPECT_TRUE(engine.expect_silence(15)) << "answered an incomplete line";
    }
    ASSERT_TRUE(engine.send("\n"));
    EXPECT_EQ(engine.read_line(kReplyMs), "readyok");
  }
  {
    SCOPED_TRACE("the line feed of a CRLF in its own write");
    ASSERT_TRUE(engine.send("isready\r"));
    EXPECT_TRUE(engine.expect_silence(15));
    ASSERT_TRUE(engine.send("\n"));
    EXPECT_EQ(engine.read_line(kReplyMs), "readyok");
  }
  {
    SCOPED_TRACE("several lines in one write, answered in order");
    ASSERT_TRUE(engine.send("isready\nuci\nstop\nisready\n"));
    EXPECT_EQ(engine.read_line(kReplyMs), "readyok");
    EXPECT_EQ(ReadIdBlock(engine), "Quorl 0 1");
    EXPECT_EQ(engine.read_line(kReplyMs), "bestmove 0000");
    EXPECT_EQ(engine.read_line(kReplyMs), "readyok");
    EXPECT_TRUE(engine.expect_silence(20));
  }
  {
    SCOPED_TRACE("the end of one line and the start of the next in one write");
    ASSERT_TRUE(engine.send("isre"));
    ASSERT_TRUE(engine.send("ady\nisr"));
    EXPECT_EQ(engine.read_line(kReplyMs), "readyok");
    ASSERT_TRUE(engine.send("eady\n"));
    EXPECT_EQ(engine.read_line(kReplyMs), "readyok");
  }
  ExpectCleanEnd(engine);
}

TEST(EngineLineFraming, LongLinesArriveInPiecesOfTheLineLimit) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  const std::string full = Repeat('x', kLineLimit);
  {
    SCOPED_TRACE("a command right behind a full piece is a line of its own");
    EXPECT_REPLIES(engine, full + "isready\n", {"readyok"});
    EXPECT_REPLIES(engine, full + "stop\n", {"bestmove 0000"});
  }
  {
    SCOPED_TRACE("one character less and the command is inside the line");
    EXPECT_REPLIES(engine, Repeat('x', kLineLimit - 1) + "isready\n", {});
    EXPECT_REPLIES(engine, Repeat('x', kLineLimit - 1) + "stop\n", {});
  }
  {
    SCOPED_TRACE("a full piece ended by its line feed leaves an empty line");
    EXPECT_REPLIES(engine, full + "\n", {});
    EXPECT_REPLIES(engine, full + "\r\n", {});
  }
  {
    SCOPED_TRACE("the cutting goes on for every piece");
    // Pieces: the x's; "isready" and x's; "isready".
    EXPECT_REPLIES(engine, full + "isready" + Repeat('x', kLineLimit - 7) + "isready\n",
                   {"readyok", "readyok"});
    EXPECT_REPLIES(engine, Repeat('x', 2 * kLineLimit) + "isready\n", {"readyok"});
  }
  {
    SCOPED_TRACE("a line of 20000 characters");
    EXPECT_REPLIES(engine, Repeat('x', 20000) + "\n", {});
    EXPECT_REPLIES(engine, Repeat('x', 20000) + "isready\n", {});
  }
  ExpectCleanEnd(engine);
}

TEST(EngineLineFraming, QuitBehindAFullPieceIsALineOfItsOwn) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  ASSERT_TRUE(engine.send(Repeat('x', kLineLimit) + "quit\nisready\n"));
  EXPECT_EQ(engine.wait_exit(kReplyMs), 0);
  EXPECT_TRUE(engine.expect_silence(kReplyMs));
}

TEST(EngineLineFraming, CarriageReturnBeforeTheLineFeedIsDropped) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  EXPECT_REPLIES(engine, "isready\r\n", {"readyok"});
  EXPECT_REPLIES(engine, "stop\r\n", {"bestmove 0000"});
  EXPECT_REPLIES(engine, "position fen hello\r\n", {kInvalidFen});
  EXPECT_REPLIES(engine, "position startpos moves e2e4 e7e5\r\n", {});
  EXPECT_REPLIES(engine, "\r\n\r\n", {});
  // The replies themselves end in a bare line feed.
  ASSERT_TRUE(engine.send("uci\r\n"));
  EXPECT_EQ(engine.read_line(kReplyMs), "id name Quorl 0 1");
  EXPECT_TRUE(ReadRestOfUciBlock(engine));
  ExpectCleanEnd(engine);
}

TEST(EngineLineFraming, EmptyAndBinaryLinesDoNoHarm) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  using namespace std::string_literals;
  {
    SCOPED_TRACE("empty and blank lines");
    EXPECT_REPLIES(engine, "\n", {});
    EXPECT_REPLIES(engine, "\n\n\n\n", {});
    EXPECT_REPLIES(engine, "   \n\t\n", {});
  }
  {
    SCOPED_TRACE("NUL, control and high bytes");
    EXPECT_REPLIES(engine, "\0\n"s, {});
    EXPECT_REPLIES(engine, "\0\x01\x02\x1b[2J\x7f\x80\xc3\xa9\xfe\xff\n"s, {});
    EXPECT_REPLIES(engine, "\xff\xfeisready\n"s, {});
    EXPECT_REPLIES(engine, "\0isready\n"s, {});
    EXPECT_REPLIES(engine, "isre\0ady\n"s, {});
    // A NUL does not end the line early: what follows it up to the line
    // feed is still the same line, and the next line is read as usual.
    EXPECT_REPLIES(engine, "xx\0isready\n"s, {});
    EXPECT_REPLIES(engine, "isready\0garbage\nisready\n"s, {"readyok", "readyok"});
  }
  {
    SCOPED_TRACE("a long run of random bytes without line feeds");
    std::mt19937 random(20240611);
    std::string bytes(30000, '\0');
    for (char& c : bytes) {
      c = char(random() & 0xff);
      if (c == '\n') c = '\0';
    }
    bytes[0] = '\xff';
    // Pieces of the line limit start inside the noise; keep them off any
    // command by making each start a byte that begins none.
    for (size_t i = kLineLimit; i < bytes.size(); i += kLineLimit) bytes[i] = '\xff';
    EXPECT_REPLIES(engine, bytes + "\n", {});
  }
  ExpectCleanEnd(engine);
}

// ---------------------------------------------------------------------------
// position: silent set-up, the FEN check, and move lists that make no sense.

TEST(EnginePositionDialogue, WellFormedPositionsAreSetUpSilently) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  for (const char* line : {
           "position startpos\n",
           "position startpos moves e2e4 e7e5 g1f3 b8c6 f1b5 a7a6\n",
           "POSITION startpos\n",
           "position fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1\n",
           "position fen r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3 moves f1c4\n",
           "position fen 4k3/8/8/8/8/8/8/4K3 b - -\n",  // four fields are enough
           "position fen 4k3/8/8/8/8/8/8/4K3 w - - 0 1 moves e1e2 e8e7\n",
           "position startpos \n",
       }) {
    SCOPED_TRACE(line);
    EXPECT_REPLIES(engine, line, {});
  }
  ExpectCleanEnd(engine);
}

TEST(EnginePositionDialogue, MalformedFenIsReportedOnceAndTheEngineGoesOn) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  for (const char* line : {
           "position fen hello\n",
           "position fen hello moves e2e4\n",
           "position fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP w KQkq - 0 1\n",     // 6 slashes
           "position fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR x KQkq -\n",  // side x
           "position fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNZ w KQkq -\n",  // letter Z
           "position fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR\n",           // one field
       }) {
    SCOPED_TRACE(line);
    EXPECT_REPLIES(engine, line, {kInvalidFen});
  }
  // A good position afterwards is taken silently again.
  EXPECT_REPLIES(engine, "position startpos moves d2d4\n", {});
  ExpectCleanEnd(engine);
}

TEST(EnginePositionDialogue, NonsenseMoveListsDoNotUpsetTheEngine) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  std::string shuffle = "position startpos moves";
  while (shuffle.size() < 8000) shuffle += " g1f3 g8f6 f3g1 f6g8";
  std::string long_shuffle = "position startpos moves";
  while (long_shuffle.size() < 20000) long_shuffle += " b1c3 b8c6 c3b1 c6b8";
  for (const std::string& line : {
           std::string("position startpos moves zz99 e2e4"),
           std::string("position startpos moves"),
           std::string("position startpos moves "),
           std::string("position"),
           std::string("position moves e2e4"),
           std::string("position startpos moves e7e5 e7e5 e7e5"),        // wrong side, empty square
           std::string("position startpos moves e2e4 e2e4 e2e4 e2e4"),   // from an empty square
           std::string("position startpos moves e1e8 e8e1 d1d8 a1h8"),   // kings and queens taken
           std::string("position startpos moves e1g1 e8c8 e1c1"),        // castling through men
           std::string("position startpos moves a2a8q h7h1n b2b1r g7g8b a7a1k"),
           std::string("position startpos moves e2e4x e7e5qq a9a1 i2i4 0000 a1a1 A2A4 e2"),
           std::string("position startpos moves \xff\xfe\x01 e2e4"),
           std::string("position fen 8/8/8/8/8/8/8/8 w - - 0 1 moves e2e4"),  // no kings at all
           std::string("position fen kkkkkkkk/8/8/8/8/8/8/KKKKKKKK w KQkq e3 moves e1e2 a3b4"),
           std::string("position fen 9/9/9/9/9/9/9/9 w - -"),
           std::string("position fen 8/8/8/8/8/8/8/8 w - h6 moves h5g6"),  // en passant onto nothing
           shuffle,
           long_shuffle,
       }) {
    SCOPED_TRACE(line.substr(0, 80));
    auto replies = RepliesTo(engine, line + "\n");
    ASSERT_TRUE(replies.has_value()) << "engine stopped answering";
    // Whatever is wrong with these, the FEN report is the only thing said.
    for (const auto& reply : *replies) EXPECT_EQ(reply, kInvalidFen);
  }
  // The same engine still sets up a position and answers.
  EXPECT_REPLIES(engine, "position startpos\n", {});
  EXPECT_REPLIES(engine, "stop\n", {"bestmove 0000"});
  ExpectCleanEnd(engine);
}

// ---------------------------------------------------------------------------
// stop with nothing searched.

TEST(EngineStopDialogue, StopWithoutASearchAnswersTheNullMove) {
  EngineProcess engine;
  ASSERT_TRUE(engine.started()) << engine.start_error();
  EXPECT_REPLIES(engine, "stop\n", {"bestmove 0000"});
  EXPECT_REPLIES(engine, "STOP\n", {"bestmove 0000"});
  EXPECT_REPLIES(engine, "stopping\n", {"bestmove 0000"});
  // Each stop answers while no search has filled the root list.
  EXPECT_REPLIES(engine, "stop\nstop\n", {"bestmove 0000", "bestmove 0000"});
  EXPECT_REPLIES(engine, "position startpos moves e2e4\nstop\n", {"bestmove 0000"});
  EXPECT_REPLIES(engine, "ucinewgame\nstop\n", {"bestmove 0000"});
  ExpectCleanEnd(engine);
}

}  // namespace
