// kpkp end to end: the generator solves it with every table its promotions
// and captures lead into (fifteen four-man tables), and each of its
// en-passant positions, with a sample of the others, must agree with one ply
// of the reference move generator, which knows en passant and promotion on
// its own.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "support/engine_process.h"
#include "support/uci_session.h"
#include "tablebase/registry.h"
#include "tablebase/table_probe.h"
#include "tbgen/tb_solver.h"

namespace {

TEST(EnPassantTable, KpkpFollowsFromOnePly) {
  char name[] = "/tmp/quorl-kpkp-XXXXXX";
  const std::string folder = mkdtemp(name);
  const int row = tb_row_by_name("kpkp");
  tbgen::Solve(row);
  for (int solved : tbgen::SolvedRows()) ASSERT_TRUE(tbgen::WriteTable(tbgen::Solve(solved), folder, false));
  UseTablebaseCache(8 << 20);
  ASSERT_EQ(RegisterTablebases(folder.c_str()), 4);
  // The en-passant positions follow 81664 first-pawn places times 47.
  constexpr uint64_t EN_PASSANT_START = 3838208;
  for (int side = 0; side < 2; ++side)
    for (uint64_t index = side; index < TB_ROW_SIZES[row][side]; index += index < EN_PASSANT_START ? 61 : 1)
      ASSERT_EQ(table_probe::CheckOnePly(row, side, index), "");
  // The engine's search reads the en-passant form too: after e2-e4 Black may
  // take on e3, which saves the draw; read without it, e4 would win.
  const std::string fen = "8/8/8/8/3p4/8/4P3/1K5k w - - 0 1";
  quorl_test::EngineProcess engine;
  engine.send("setoption name NalimovPath value " + folder + "\nsetoption name NalimovProbeFrequency value 100\n" +
              "position fen " + fen + "\ngo depth 4\n");
  quorl_test::Answer answer;
  ASSERT_TRUE(quorl_test::ReadAnswer(engine, quorl_test::kReplyMs, &answer));
  const std::vector<std::string> words = quorl_test::LastScoreLine(answer);
  ASSERT_GE(words.size(), 6u);
  EXPECT_EQ(words[4] + " " + words[5], table_probe::ScoreText(table_probe::ProbeFen(fen)));
  std::system(("rm -rf " + folder).c_str());
}

}  // namespace
