// Won endings played out by the engine against itself at a fast time control
// with our tables on its path: the winner keeps the table's distance and the
// loser resists as long as it can, so the game ends in mate after exactly
// the plies the start position's table value says.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "board/reference_moves.h"
#include "support/engine_process.h"
#include "support/uci_session.h"
#include "tablebase/registry.h"
#include "tablebase/table_probe.h"
#include "tbgen/tb_solver.h"

namespace {

using namespace quorl_test;

TEST(EndgamePlayout, MateComesAtTheTableDistance) {
  char name[] = "/tmp/quorl-playout-XXXXXX";
  const std::string folder = mkdtemp(name);
  for (const char* ending : {"kqk", "krk", "kpk", "kbnk", "kqkr"}) tbgen::Solve(tb_row_by_name(ending));
  for (int solved : tbgen::SolvedRows()) ASSERT_TRUE(tbgen::WriteTable(tbgen::Solve(solved), folder, false));
  UseTablebaseCache(8 << 20);
  ASSERT_EQ(RegisterTablebases(folder.c_str()), 4);

  EngineProcess engine;
  engine.send("setoption name NalimovPath value " + folder + "\nsetoption name NalimovProbeFrequency value 100\n");
  for (const char* fen : {"8/8/8/4k3/8/8/8/KQ6 w - - 0 1", "8/8/8/4k3/8/8/8/KR6 w - - 0 1",
                          "4k3/8/4K3/4P3/8/8/8/8 b - - 0 1", "8/8/8/4k3/8/8/8/KBN5 w - - 0 1",
                          "4k3/8/2r5/8/8/8/8/Q3K3 w - - 0 1"}) {
    reference::Board board;
    ASSERT_TRUE(board.SetFen(fen));
    const int16_t moves = table_probe::ProbeFen(fen);
    ASSERT_NE(moves, 0) << fen;
    // A win in n moves is mate at ply 2n - 1; a loss in n moves at ply 2n.
    const int plies = moves > 0 ? 2 * moves - 1 : 2 * (-moves - 1);
    engine.send("ucinewgame\n");
    std::string line = std::string("position fen ") + fen + " moves";
    int played = 0;
    while (!board.LegalMoves().empty() && played <= plies) {
      engine.send(line + "\ngo wtime 3000 btime 3000 winc 50 binc 50\n");
      Answer answer;
      ASSERT_TRUE(ReadAnswer(engine, kReplyMs, &answer)) << fen;
      ASSERT_TRUE(board.PlayText(answer.best)) << fen << line;
      line += " " + answer.best;
      ++played;
    }
    EXPECT_TRUE(board.InCheck() && board.LegalMoves().empty()) << fen << line;
    EXPECT_EQ(played, plies) << fen << line;
  }
  std::system(("rm -rf " + folder).c_str());
}

}  // namespace
