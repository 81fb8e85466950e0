// The table files end to end: tables solved by the generator are written to
// a temporary folder, registered, and read back through the block cache; the
// values are checked against an independent program's tables, against known
// longest wins, against one ply of an independent move generator, and plain
// against compressed. The index family is checked by decoding and symmetry.
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "board/attacks.h"
#include "board/reference_moves.h"
#include "support/engine_process.h"
#include "support/uci_session.h"
#include "tablebase/probe.h"
#include "tablebase/registry.h"
#include "tablebase/table_probe.h"
#include "tbgen/tb_solver.h"

#ifdef QUORL_GAVIOTA_TABLES
#include <gtb-probe.h>
#endif

namespace {

using namespace table_probe;

// The tables are solved once per build of the tests, into a folder beside
// the engine named after this binary's time, and shared by the test
// processes that ctest starts side by side: the first one writes them under
// a lock, the others wait for it.
class TablesOnDisk : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    struct stat self;
    stat("/proc/self/exe", &self);
    const std::string engine = QUORL_BINARY, dir = engine.substr(0, engine.rfind('/'));
    const std::string name = "test-tables-" + std::to_string(self.st_mtime), base = dir + "/" + name;
    // Tables of earlier builds go.
    if (DIR* d = opendir(dir.c_str())) {
      while (const dirent* e = readdir(d))
        if (!std::strncmp(e->d_name, "test-tables-", 12) && name != e->d_name)
          std::system(("rm -rf " + dir + "/" + e->d_name).c_str());
      closedir(d);
    }
    plain = base + "/plain";
    packed = base + "/packed";
    mkdir(base.c_str(), 0755);
    const int lock = open((base + "/lock").c_str(), O_CREAT | O_RDWR, 0644);
    flock(lock, LOCK_EX);
    if (access((base + "/complete").c_str(), F_OK)) {
      mkdir(plain.c_str(), 0755);
      mkdir(packed.c_str(), 0755);
      for (const char* name : {"kqk", "krk", "kpk", "kbk", "knk", "kbnk", "kqkr", "krkn", "kbbk"})
        ASSERT_TRUE(tbgen::WriteTable(tbgen::Solve(tb_row_by_name(name)), plain, false));
      for (const char* name : {"kqk", "kpk", "krkn"})
        ASSERT_TRUE(tbgen::WriteTable(tbgen::Solve(tb_row_by_name(name)), packed, true));
      close(open((base + "/complete").c_str(), O_CREAT | O_WRONLY, 0644));
    }
    close(lock);
  }
  void SetUp() override { UseTablebaseCache(1 << 20); }
  static std::string plain, packed;
};
std::string TablesOnDisk::plain, TablesOnDisk::packed;

// What a man attacks beside the two kings.
Bitboard ManAttacks(int kind, int colour, int s, int wk, int bk) {
  const Bitboard occupied = bit(wk) | bit(bk) | bit(s);
  switch (kind) {
    case 0: return colour ? WHITE_PAWN_SOURCES[s] : BLACK_PAWN_SOURCES[s];
    case 1: return KNIGHT_ATTACKS[s];
    case 2: return BishopAttacks(s, occupied);
    case 3: return RookAttacks(s, occupied);
    default: return QueenAttacks(s, occupied);
  }
}

// Every position of the three-man tables, either side to move and either
// colour holding the man, against the independent program's tables, which
// count plies where ours count moves.
TEST_F(TablesOnDisk, ThreeMenAgreeWithAnIndependentProgram) {
#ifndef QUORL_GAVIOTA_TABLES
  GTEST_SKIP() << "gaviotatb and libgaviotatb-dev are not installed: no outside oracle for the table values";
#else
  const char** paths = tbpaths_add(tbpaths_init(), QUORL_GAVIOTA_TABLES);
  tb_init(0, tb_CP3, paths);
  tbcache_init(1 << 24, 0);
  if (tb_availability() == 0) GTEST_SKIP() << "no tables under " QUORL_GAVIOTA_TABLES;
  ASSERT_EQ(RegisterTablebases(plain.c_str()), 4);
  int checked = 0;
  for (int kind = 0; kind < 5; ++kind)
    for (int strong = 0; strong < 2; ++strong)
      for (int wk = 0; wk < 64; ++wk)
        for (int bk = 0; bk < 64; ++bk)
          for (int s = 0; s < 64; ++s)
            for (int side = 0; side < 2; ++side) {
              const std::vector<Man> men = {{0, 5, wk}, {1, 5, bk}, {strong, kind, s}};
              if (wk == bk || wk == s || bk == s || (kind == 0 && (s < 8 || s >= 56)) ||
                  (KING_ATTACKS[wk] & bit(bk)) || (strong == side && (ManAttacks(kind, strong, s, wk, bk) & bit(side ? wk : bk))))
                continue;
              unsigned w[3] = {unsigned(wk), tb_NOSQUARE, tb_NOSQUARE}, b[3] = {unsigned(bk), tb_NOSQUARE, tb_NOSQUARE};
              unsigned char wp[3] = {tb_KING, tb_NOPIECE, tb_NOPIECE}, bp[3] = {tb_KING, tb_NOPIECE, tb_NOPIECE};
              (strong ? b : w)[1] = unsigned(s);
              (strong ? bp : wp)[1] = (unsigned char)(tb_PAWN + kind);
              unsigned info, plies;
              ASSERT_TRUE(tb_probe_hard(side, tb_NOSQUARE, tb_NOCASTLE, w, b, wp, bp, &info, &plies));
              const bool won = info == (side ? tb_BMATE : tb_WMATE);
              const int16_t expected = info == tb_DRAW ? 0 : won ? int16_t((plies + 1) / 2) : int16_t(-int(plies / 2) - 1);
              ASSERT_EQ(Probe(men, side), expected) << Fen(men, side);
              ++checked;
            }
  EXPECT_GT(checked, 1000000);
  tbcache_done();
  tb_done();
  tbpaths_done(paths);
#endif
}

TEST_F(TablesOnDisk, LongestWinsAreTheKnownOnes) {
  RegisterTablebases(plain.c_str());
  const struct {
    const char* name;
    int longest;
  } known[] = {{"kqk", 10}, {"krk", 16}, {"kpk", 28}, {"kbnk", 33}, {"kqkr", 35}, {"krkn", 40}, {"kbbk", 19}};
  for (const auto& k : known) {
    const int row = tb_row_by_name(k.name);
    int longest = 0;
    for (uint64_t i = 0; i < tb_descriptors[row].size[0]; ++i) longest = std::max<int>(longest, Moves(ReadTableValue(row, 0, i)) % NO_RESULT);
    EXPECT_EQ(longest, k.longest) << k.name;
  }
}

// Each position's value is what its best move gives, by a move generator
// that shares nothing with the solver; promotions and captures lead into the
// smaller tables.
TEST_F(TablesOnDisk, EveryValueFollowsFromOnePly) {
  ASSERT_EQ(RegisterTablebases(plain.c_str()), 4);
  for (const char* name : {"kpk", "kqk", "kbnk", "kqkr", "krkn"}) {
    const int row = tb_row_by_name(name);
    const uint64_t step = tb_row_men(row).men == 3 ? 1 : 97;
    for (int side = 0; side < 2; ++side)
      for (uint64_t index = side; index < tb_descriptors[row].size[side]; index += step)
        ASSERT_EQ(CheckOnePly(row, side, index), "") << name;
  }
}

// The compressed files hold the same bytes as the plain ones, read through a
// cache small enough that blocks come and go; a code of one symbol names it
// whichever bit comes.
TEST_F(TablesOnDisk, CompressedFilesReadLikePlainOnes) {
  static DecodeTable one;
  const uint8_t lengths[3] = {0, 0, 1};
  ASSERT_EQ(BuildDecodeTable(&one, lengths, 3, 8), 0);
  EXPECT_EQ(std::count(one.entries, one.entries + 256, int16_t(2 << 5 | 1)), 256);
  UseTablebaseCache(5 * TB_SLOT_BYTES);
  for (const char* name : {"kqk", "kpk", "krkn"}) {
    const int row = tb_row_by_name(name);
    std::vector<int32_t> values[2];
    for (int form = 0; form < 2; ++form) {
      RegisterTablebases((form ? packed : plain).c_str());
      std::vector<int32_t>& v = values[form];
      for (int side = 0; side < 2; ++side)
        for (uint64_t i = 0; i < tb_descriptors[row].size[side]; ++i) v.push_back(ReadTableValue(row, side, i));
    }
    EXPECT_EQ(values[0], values[1]) << name;
  }
}

// A missing folder is no error; a cache too small for one block, or a side
// without a file, gives no value; a damaged file ends the program.
TEST_F(TablesOnDisk, RegistryEdges) {
  EXPECT_EQ(RegisterTablebases("/nonexistent;"), 0);
  ASSERT_EQ(RegisterTablebases(("/nonexistent," + plain).c_str()), 4);
  const std::vector<Man> kqk = {{0, 5, 0}, {0, 4, 9}, {1, 5, 37}};
  EXPECT_EQ(Probe(kqk, 0), 10);
  UseTablebaseCache(55);
  EXPECT_EQ(Probe(kqk, 0), NO_RESULT);
  char oneSideName[] = "/tmp/quorl-one-side-XXXXXX";
  const std::string oneSide = mkdtemp(oneSideName);
  std::system(("cp " + plain + "/kqk.nbw " + oneSide).c_str());
  UseTablebaseCache(1 << 20);
  EXPECT_EQ(RegisterTablebases(oneSide.c_str()), 3);
  EXPECT_EQ(Probe(kqk, 0), 10);
  EXPECT_EQ(Probe(kqk, 1), NO_RESULT);
  std::system(("head -c 1000 " + plain + "/kqk.nbw > " + oneSide + "/kqk.nbw").c_str());
  EXPECT_EXIT(RegisterTablebases(oneSide.c_str()), ::testing::ExitedWithCode(0), "");
  std::system(("head -c 100 " + packed + "/kqk.nbw.emd | sed s/DATACOMP/DATAKOMP/ > " + oneSide + "/kqk.nbw.emd && rm " +
               oneSide + "/kqk.nbw").c_str());
  EXPECT_EXIT(RegisterTablebases(oneSide.c_str()), ::testing::ExitedWithCode(0), "");
  std::system(("rm -rf " + oneSide).c_str());
}

// Endgames searched by the engine with the tables on its path, against the
// tables' own distances read by the test: a win in n moves is "mate n", a
// loss in n moves "mate -n", a draw "cp 0"; tbhits are counted. The castling
// right is the only difference between the last two positions.
struct TableSearch {
  const char* fen;
  int frequency;  // NalimovProbeFrequency: 0 never probes
};
const TableSearch kTableSearches[] = {
    {"8/8/8/4k3/8/8/8/KR6 w - - 0 1", 100},   // krk, won
    {"8/8/8/4k3/8/8/8/KR6 w - - 0 1", 0},     // the same, tables out of reach
    {"8/8/8/8/3K4/8/8/kr6 w - - 0 1", 100},   // krk, lost with White to move
    {"8/8/8/3k4/8/8/8/KBN5 b - - 0 1", 100},  // kbnk, lost with Black to move
    {"8/8/8/8/8/4k3/4P3/4K3 w - - 0 1", 100}, // kpk, drawn
    {"4k3/8/2r5/8/8/8/8/Q3K3 w - - 0 1", 100}, // kqkr, won
    {"4k3/8/8/8/8/8/8/R3K3 w Q - 0 1", 100},  // krk with a castling right
};

// The text the engine should give: the table's distance, or "" when the
// tables are not asked.
std::string TableScore(const TableSearch& t) { return t.frequency ? ScoreText(ProbeFen(t.fen)) : ""; }

// The score and whether tbhits were counted, from a search of depth 4 after
// the given setup lines.
std::pair<std::string, bool> SearchedScore(quorl_test::EngineProcess& engine, const std::string& setup,
                                           const TableSearch& t) {
  using namespace quorl_test;
  Answer answer;
  engine.send(setup + "setoption name NalimovProbeFrequency value " + std::to_string(t.frequency) +
              "\nposition fen " + t.fen + "\ngo depth 4\n");
  EXPECT_TRUE(ReadAnswer(engine, kReplyMs, &answer));
  const std::vector<std::string> words = LastScoreLine(answer);
  std::string score;
  bool hits = false;
  for (size_t i = 0; i + 2 < words.size(); ++i) {
    if (words[i] == "score") score = words[i + 1] + " " + words[i + 2];
    hits |= words[i] == "tbhits";
  }
  return {score, hits};
}

TEST_F(TablesOnDisk, SearchReportsTheTableDistance) {
  quorl_test::EngineProcess engine;
  const std::string setup = "setoption name NalimovPath value " + plain + "\n";
  ASSERT_EQ(RegisterTablebases(plain.c_str()), 4);
  for (const TableSearch& t : kTableSearches) {
    const std::string expected = TableScore(t);
    const auto [score, hits] = SearchedScore(engine, setup, t);
    EXPECT_EQ(hits, !expected.empty()) << t.fen;
    if (!expected.empty()) {
      EXPECT_EQ(score, expected) << t.fen;
    }
  }
  // The castling right alone closes the gate at the root.
  tablebase_pieces = 4;
  tablebase_probe_depth = 0;
  for (const char* fen : {"4k3/8/8/8/8/8/8/R3K3 w Q - 0 1", "4k3/8/8/8/8/8/8/R3K3 w - - 0 1"}) {
    ASSERT_TRUE(SetPositionFromFen(fen));
    EXPECT_EQ(TablebaseGate(0), std::string(fen).find('Q') == std::string::npos) << fen;
  }
  tablebase_pieces = 0;
}

// The probing library: one without its probe entry point is refused; the
// one built over the distance-to-mate tables reports the same mates as our
// files on the three-man positions it covers.
TEST_F(TablesOnDisk, ProbingLibraryAgreesWithTheFiles) {
  using Lines = std::vector<std::string>;
  quorl_test::EngineProcess engine;
  EXPECT_EQ(quorl_test::LinesBeforeReady(engine, "setoption name EgtbGate value " QUORL_EGTBGATE_STUB "\n"),
            (Lines{"info string EgtbGate dynamic library failed to load"}));
  // Beside the engine, a library takes the place of the files' options.
  char folderName[] = "/tmp/quorl-gate-XXXXXX";
  const std::string folder = mkdtemp(folderName);
  std::system(("cp " QUORL_BINARY " " + folder + " && cp " QUORL_EGTBGATE_STUB " " + folder + "/libegtbgate.so").c_str());
  {
    quorl_test::EngineProcess beside(folder + "/quorl");
    const Lines options = quorl_test::LinesBeforeReady(beside, "uci\nsetoption name Use EgtbGate value true\n");
    const auto has = [&](const std::string& line) { return std::count(options.begin(), options.end(), line) == 1; };
    EXPECT_TRUE(has("option name Use EgtbGate type check default false"));
    EXPECT_FALSE(has("option name NalimovPath type string default <empty>"));
    EXPECT_TRUE(has("info string EgtbGate dynamic library failed to load"));
  }
  std::system(("rm -rf " + folder).c_str());
#ifndef QUORL_EGTBGATE
  GTEST_SKIP() << "libgaviotatb-dev is not installed: the probing library is not built";
#else
  if (access("/usr/share/gaviotatb/gtb3/kqk.gtb.cp3", R_OK)) GTEST_SKIP() << "gaviotatb's tables are not installed";
  ASSERT_EQ(RegisterTablebases(plain.c_str()), 4);
  EXPECT_EQ(quorl_test::LinesBeforeReady(engine, "setoption name EgtbGate value " QUORL_EGTBGATE "\n"),
            (Lines{"info string EgtbGate dynamic library loaded"}));
  int compared = 0;
  for (const TableSearch& t : kTableSearches) {
    const std::string board = std::string(t.fen).substr(0, std::string(t.fen).find(' '));
    if (!t.frequency || std::count_if(board.begin(), board.end(), ::isalpha) != 3) continue;
    const auto [score, hits] = SearchedScore(engine, "", t);
    EXPECT_TRUE(hits) << t.fen;
    EXPECT_EQ(score, TableScore(t)) << t.fen;
    ++compared;
  }
  EXPECT_GE(compared, 3);
#endif
}

}  // namespace
