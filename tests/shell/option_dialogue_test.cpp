// The option list as a front end reads it, and the setoption replies byte for
// byte, through a real engine process; then the options that change what a
// search shows or how deep it goes.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "support/engine_process.h"
#include "support/uci_session.h"

namespace {

using namespace quorl_test;

class OptionDialogue : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(engine.started()) << engine.start_error(); }
  // The replies to one setoption line.
  std::vector<std::string> Set(const std::string& nameAndValue) {
    return LinesBeforeReady(engine, "setoption name " + nameAndValue + "\n");
  }
  EngineProcess engine;
};

TEST_F(OptionDialogue, ListInItsOrder) {
  const std::vector<std::string> lines = LinesBeforeReady(engine, "uci\n");
  std::vector<std::string> options;
  for (const std::string& line : lines)
    if (StartsWith(line, "option ")) options.push_back(line);
  std::vector<std::string> expected = {
      "option name UCI_Query type button",
      "option name System Query type button",
      "option name Hash type spin min 2 max 4096 default 32",
      "option name Log Dir type string default <empty>",
      "option name Log type check default false",
      "option name xLog type check default false",
      "option name Max CPUs type spin min 1 max 2048 default 2048",
      "option name Random type spin min 0 max 4095 default 0",
      "option name CPU Usage type spin min 1 max 100 default 100",
      "option name NalimovPath type string default <empty>",
      "option name NalimovCache type spin min 1 max 256 default 1",
      "option name NalimovProbeFrequency type spin min 0 max 256 default 36",
      "option name Main Process Priority type combo default Inherit var Normal var BelowNormal var Low var Inherit",
      "option name Child Process Priority type combo default BelowNormal var Normal var BelowNormal var Low",
      "option name Use Large Pages type check default false",
      "option name Always Score Main Move type check default false",
      "option name Display Upperbounds type check default false",
      "option name Preserve Analysis type check default false",
      "option name Clear Hash type button",
      "option name Hash File type string default <empty>",
      "option name Save Hash type button",
      "option name Load Hash type button",
      "option name Ponder type check default false",
      "option name MultiPV type spin default 1 min 1 max 256",
      "option name MultiPV_cp type spin default 20000 min 0 max 20000",
      "option name TC Buffer type spin default 3 min 0 max 120",
      "option name TC Normal Move Time type spin default 80 min 1 max 10000",
      "option name TC Max Move Time type spin default 100 min 1 max 10000",
  };
  // The material and score adjustments, all alike.
  for (const char* name : {"White Pawn", "Black Pawn", "White Knight", "Black Knight", "White Light Squared Bishop",
                           "White Dark Squared Bishop", "Black Light Squared Bishop", "Black Dark Squared Bishop",
                           "White Rook", "Black Rook", "White Queen", "Black Queen", "Score Offset",
                           "Rook Endgame Penalty", "Bishops Are Opposite Colored Penalty",
                           "Opposite Colored Bishops Endgame Penalty"})
    expected.push_back(std::string("option name ") + name + " millipawns type spin default 0 min -10000 max 10000");
  expected.insert(expected.end(), {"option name Rook Endgame Scaling type spin default 100 min 0 max 1000",
                                    "option name UCI_LimitStrength type check default false",
                                    "option name UCI_Elo type spin default 1200 min 1200 max 2400"});
  EXPECT_EQ(options, expected);
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), "uciok");
}

TEST_F(OptionDialogue, HashRoundsDownAndRebuildsOnEveryChange) {
  using V = std::vector<std::string>;
  EXPECT_EQ(Set("Hash value 100"), V{"info string Hash size changed from 32 Mb to 64 Mb."});
  // 100 is not the 64 in force, so the table is built again.
  EXPECT_EQ(Set("Hash value 100"), V{"info string Hash size changed from 64 Mb to 64 Mb."});
  EXPECT_EQ(Set("Hash value 64"), V{"info string Hash size already set to 64 Mb."});
  EXPECT_EQ(Set("hash value 1"), V{"info string Hash size changed from 64 Mb to 1 Mb."});
  // The engine still searches on the new table.
  ASSERT_TRUE(engine.send("position startpos\ngo depth 4\n"));
  Answer answer;
  EXPECT_TRUE(ReadAnswer(engine, kReplyMs, &answer));
}

TEST_F(OptionDialogue, RepliesAndClamps) {
  using V = std::vector<std::string>;
  EXPECT_EQ(Set("Ponder value true"), V{});
  EXPECT_EQ(Set("Ponder value false"), V{});
  EXPECT_EQ(Set("No Such Option value 3"), V{});
  EXPECT_EQ(Set("MultiPV value 300"), V{"info string Displaying 256 variations."});
  EXPECT_EQ(Set("MultiPV value 0"), V{"info string Displaying 1 variations."});
  EXPECT_EQ(Set("MultiPV_cp value 30000"), V{"info string Displaying variations up to 20000 cp."});
  EXPECT_EQ(Set("CPU Usage value 0"), V{"info string CPU usage set to 1"});
  EXPECT_EQ(Set("CPU Usage value 100"), V{"info string CPU usage set to 100"});
  EXPECT_EQ(Set("Random value 0"), V{"info string Random value already set to 0."});
  EXPECT_EQ(Set("Random value 7"), V{"info string Random value set to 7 (had been 0)."});
  EXPECT_EQ(Set("Max CPUs value 4000"), V{"info string Max CPUs set to 2048 (had been 2048)."});
  EXPECT_EQ(Set("Max CPUs value 2"), V{"info string Max CPUs set to 2 (had been 2048)."});
  EXPECT_EQ(Set("Max CPUs value 2"), V{"info string Max CPUs already set to 2."});
  EXPECT_EQ(Set("Preserve Analysis value true"), V{"info string Preserve analysis enabled."});
  EXPECT_EQ(Set("Always Score Main Move value true"), V{"info string Always score main move enabled."});
  EXPECT_EQ(Set("Display Upperbounds value false"), V{"info string Display upperbounds disabled."});
  EXPECT_EQ(Set("Rook Endgame Scaling value 80"), V{"info string Rook endgame scaling set to 80 percent."});
  EXPECT_EQ(Set("Rook Endgame Scaling value 2147483647"),
            V{"info string Rook endgame scaling set to 1000 percent."});
  EXPECT_EQ(Set("White Pawn millipawns value 120"),
            V{"info string White pawn adjustment set to 120 millipawns (had been 0 millipawns)."});
  EXPECT_EQ(Set("Opposite Colored Bishops Endgame Penalty millipawns value -40"),
            V{"info string Opposite colored bishops endgame penalty set to -40 millipawns (had been 0 millipawns)."});
  EXPECT_EQ(Set("Black Queen millipawns value -2147483648"),
            V{"info string Black queen adjustment set to -10000 millipawns (had been 0 millipawns)."});
  EXPECT_EQ(Set("Score Offset millipawns value 15"),
            V{"info string Score offset set to 15 millipawns (had been 0 millipawns)."});
  EXPECT_EQ(Set("TC Buffer value 7"), V{"info string TC Buffer set to 7 seconds"});
  EXPECT_EQ(Set("TC Hard Buffer msec value 300"), V{"info string TC Hard Buffer set to 300 milliseconds"});
  // Its number is read four places further on than the plain line has it.
  EXPECT_EQ(Set("TC Hard Move Depth value 5"), V{"info string TC Hard Move Depth set to 0"});
  EXPECT_EQ(Set("TC Max Move Time value 90"), V{"info string TC Max Move Time set to 90"});
  EXPECT_EQ(Set("Main Process Priority value Inherit"), V{"info string Main process priority set to inherit."});
  EXPECT_EQ(Set("Child Process Priority value Low"), V{"info string Child process priority set to low."});
  EXPECT_EQ(Set("UCI_Elo value 1500"), V{"info string Elo set to 1500, currently ignored"});
  EXPECT_EQ(Set("UCI_LimitStrength value true"),
            V{"info string Limited strength mode enabled, will play at 1500 Elo."});
  EXPECT_EQ(Set("UCI_Elo value 1000"), V{"info string Elo set to 1000, currently in use"});
  // Start-up looked in the built-in folders with the built-in cache.
  EXPECT_EQ(Set("NalimovPath value /tmp/tables"),
            V{"info string Tablebase directory set to '/tmp/tables' (had been "
              "'C:\\autoTB\\TB4;C:\\autoTB\\TB5;C:\\autoTB\\TB6')."});
  EXPECT_EQ(Set("NalimovCache value 16"), V{"info string Tablebase cache size set to 16 Mb (had been 8 Mb)."});
  EXPECT_EQ(Set("egtbgate value "), V{"info string EgtbGate dynamic library unloaded"});
  EXPECT_EQ(Set("egtbgate value /nonexistent/library.so"),
            V{"info string EgtbGate dynamic library failed to load"});
  EXPECT_EQ(Set("Clear Hash"), V{"info string Hash clear invoked."});
  EXPECT_EQ(Set("Hash File value games.bin"), V{"info string Hash file set to 'games.bin'."});
  EXPECT_EQ(Set("slave mode query"), V{"info string Slave Mode Version 9, Tuesday January 4, 2011."});
  EXPECT_EQ(Set("UCI_Query"), (V{"info string uci3 supported", "info string qvn3 supported",
                                  "info string dwx3 supported", "info string queryok"}));
  const V system = Set("System Query");
  ASSERT_EQ(system.size(), 1u);
  EXPECT_TRUE(StartsWith(system[0], "info string Cores: 1     Nominal Clock Speed: ")) << system[0];
  EXPECT_NE(system[0].find("Hash Size: 32 Mb       Page Size: "), std::string::npos) << system[0];
}

TEST_F(OptionDialogue, LogDirectoryAndLogFile) {
  using V = std::vector<std::string>;
  char pattern[] = "/tmp/quorl-log-XXXXXX";
  ASSERT_NE(mkdtemp(pattern), nullptr);
  const std::string dir = pattern;
  EXPECT_EQ(Set("Log Dir value " + dir), V{"info string Log directory set to '" + dir + "/' (had been '<empty>')."});
  EXPECT_EQ(Set("Log Dir value " + dir + "/"), V{"info string Log directory already set to '" + dir + "/'."});
  const V opened = Set("Log value true");
  ASSERT_EQ(opened.size(), 1u);
  EXPECT_TRUE(StartsWith(opened[0], "info string UCI logging enabled (had been disabled), log file is at '" + dir +
                                        "/uci log "))
      << opened[0];
  const V again = Set("Log value true");
  ASSERT_EQ(again.size(), 1u);
  EXPECT_TRUE(StartsWith(again[0], "info string UCI logging already enabled, log file is at '")) << again[0];
  EXPECT_EQ(Set("Log value false"), V{});
  std::system(("rm -rf '" + dir + "'").c_str());
}

TEST_F(OptionDialogue, SavedTableGoesToAFileAndComesBack) {
  using V = std::vector<std::string>;
  EXPECT_EQ(Set("Hash File value *.vsh"), V{"info string Hash file set to '*.vsh'."});
  EXPECT_EQ(Set("Save Hash"), V{"info string Save hash invoked but failed - file not set."});
  EXPECT_EQ(Set("Load Hash"), V{"info string Load hash invoked but failed - file not set."});

  char pattern[] = "/tmp/quorl-table-XXXXXX";
  ASSERT_NE(mkdtemp(pattern), nullptr);
  const std::string dir = pattern, file = dir + "/analysis.bin";
  const std::string fen = "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1";
  // An exact entry of the greatest depth (a score past every bound first,
  // then the one kept), then the table to the file.
  ASSERT_TRUE(engine.send("write 2147483647 " + fen + "\nwrite 123 " + fen + "\n"));
  Set("Hash File value " + file);
  EXPECT_EQ(Set("Save Hash"), V{"info string Save hash invoked and succeeded - 32 mb saved to " + file + "."});
  struct stat status;
  ASSERT_EQ(stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_size, 33554432);

  // Another engine with a 64 Mb table takes the file's 32 Mb and its entry.
  EngineProcess other;
  ASSERT_TRUE(other.started());
  EXPECT_EQ(LinesBeforeReady(other, "setoption name Hash value 64\n").size(), 1u);
  LinesBeforeReady(other, "setoption name Hash File value " + file + "\n");
  const V loaded = LinesBeforeReady(other, "setoption name Load Hash\n");
  ASSERT_FALSE(loaded.empty());
  EXPECT_EQ(loaded.back(), "info string Load hash invoked and succeeded - 32 mb loaded from " + file + ".");
  EXPECT_EQ(LinesBeforeReady(other, "setoption name Hash value 32\n"),
            V{"info string Hash size already set to 32 Mb."});
  const V probe = LinesBeforeReady(other, "probe " + fen + "\n");
  ASSERT_EQ(probe.size(), 1u);
  EXPECT_TRUE(StartsWith(probe[0], "info probe position " + fen + " move ")) << probe[0];
  EXPECT_NE(probe[0].find(" depth 31 ex 123"), std::string::npos) << probe[0];
  std::system(("rm -rf '" + dir + "'").c_str());
}

TEST_F(OptionDialogue, FlavoursAndControllerLines) {
  using V = std::vector<std::string>;
  EXPECT_EQ(LinesBeforeReady(engine, "uci3\n"), (V{"option name EgtbGate type path default <empty>",
                                                   "option name Hash File type file default *.vsh", "uci3ok"}));
  EXPECT_EQ(LinesBeforeReady(engine, "qvn3\n"),
            (V{"option name qvn3_randomizer_threshold type spin default 8 min 1 max 512",
               "option name qvn3_randomizer_mode type check default false",
               "option name qvn3_randomizer_reset type button", "qvn3ok"}));
  EXPECT_EQ(LinesBeforeReady(engine, "dwx3\n"), V{"dwx3ok"});
  EXPECT_EQ(Set("qvn3_randomizer_mode value true"), V{"info string Randomizer mode enabled."});
  EXPECT_EQ(Set("qvn3_randomizer_threshold value 600"), V{"info string Randomizer threshold set to 600"});
  EXPECT_EQ(Set("qvn3_randomizer_reset"), V{"info string Randomizer reset invoked."});
  EXPECT_EQ(LinesBeforeReady(engine, "slave mode 2\n"), V{"info string Slave mode set to 2 (had been 0)."});
  // A controller's silent line gets the node count.
  const V count = LinesBeforeReady(engine, "#\n");
  ASSERT_EQ(count.size(), 1u);
  EXPECT_EQ(count[0][0], '#');
  // A probe of a position the table does not hold.
  EXPECT_EQ(LinesBeforeReady(engine, "probe 4k3/8/8/8/8/8/8/4K2R w K - 0 1\n"),
            V{"info string Probed position not found."});
}

TEST_F(OptionDialogue, TestRunSearchesThreePositions) {
  ASSERT_TRUE(engine.send("tt 1\n"));
  std::optional<std::string> first = engine.read_line(kReplyMs);
  ASSERT_TRUE(first.has_value());
  EXPECT_EQ(*first, "info string Max CPUs set to 1");
  // The texts of the second and third search hold no "fen": both run from
  // the start position, so all three answers are start-position moves.
  for (int i = 0; i < 3; ++i) {
    Answer answer;
    ASSERT_TRUE(ReadAnswer(engine, kReplyMs, &answer)) << "search " << i + 1;
    EXPECT_TRUE(LegalAnswer(reference::Board(), answer)) << "search " << i + 1;
    const std::vector<std::string> score = LastScoreLine(answer);
    ASSERT_GE(score.size(), 3u);
    EXPECT_EQ(score[2], "3");
  }
  ExpectNothingMore(engine);
}

// ---------------------------------------------------------------------------
// What the options change in a search

TEST_F(OptionDialogue, MultiPvShowsNumberedLines) {
  ASSERT_TRUE(engine.send("setoption name MultiPV value 3\nposition startpos\ngo depth 6\n"));
  Answer answer;
  ASSERT_TRUE(ReadAnswer(engine, kReplyMs, &answer));
  // The last line of each number at the full depth.
  std::map<std::string, std::string> lastMove;
  for (const std::string& line : answer.lines) {
    const std::vector<std::string> w = Words(line);
    if (w.size() > 6 && w[0] == "info" && w[1] == "multipv" && w[3] == "depth" && w[4] == "6")
      lastMove[w[2]] = PvFirst(w);
  }
  ASSERT_EQ(lastMove.size(), 3u);
  EXPECT_EQ(lastMove.begin()->first, "1");
  EXPECT_EQ(lastMove.rbegin()->first, "3");
  const std::set<std::string> moves = {lastMove["1"], lastMove["2"], lastMove["3"]};
  EXPECT_EQ(moves.size(), 3u) << "three lines, three different moves";

  // Back to one line: no multipv field at all.
  ASSERT_TRUE(engine.send("setoption name MultiPV value 1\nposition startpos\ngo depth 6\n"));
  Answer single;
  ASSERT_TRUE(ReadAnswer(engine, kReplyMs, &single));
  for (const std::string& line : single.lines) EXPECT_EQ(line.find(" multipv "), std::string::npos) << line;
}

TEST_F(OptionDialogue, LimitedStrengthCutsTheDepth) {
  ASSERT_TRUE(engine.send("setoption name UCI_Elo value 1500\nsetoption name UCI_LimitStrength value true\n"
                          "position startpos\ngo depth 20\n"));
  Answer answer;
  ASSERT_TRUE(ReadAnswer(engine, kReplyMs, &answer));
  const std::vector<std::string> score = LastScoreLine(answer);
  ASSERT_GE(score.size(), 3u);
  EXPECT_EQ(score[2], "2") << "1500 Elo searches 4 half plies";
  EXPECT_TRUE(LegalAnswer(reference::Board(), answer));

  ASSERT_TRUE(engine.send("setoption name UCI_LimitStrength value false\nposition startpos\ngo depth 5\n"));
  Answer full;
  ASSERT_TRUE(ReadAnswer(engine, kReplyMs, &full));
  const std::vector<std::string> fullScore = LastScoreLine(full);
  ASSERT_GE(fullScore.size(), 3u);
  EXPECT_EQ(fullScore[2], "5");
}

}  // namespace
