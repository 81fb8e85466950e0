// Moves in the chess font's figurines, as the html record writes them, and
// in plain letters, as the samples do: captures, rivals that must be told apart (less the pinned ones), castling,
// en passant, and the promoted man and check mark after a promotion.
#include <gtest/gtest.h>

#include "board/position.h"
#include "report/html_log.h"

namespace {

TEST(Notation, FigurinesTellRivalsApartAndMarkChecks) {
  struct Case {
    const char* fen;
    const char* move;
    const char* text;
    const char* letters;  // the same in plain short algebraic
  };
  const Case cases[] = {
      {START_FEN, "g1f3", "kf3", "Nf3"},
      {START_FEN, "e2e4", "e4", "e4"},
      {"rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1", "g8f6", "Kf6", "Nf6"},
      {"4k3/8/8/3p4/2P1P3/8/8/4K3 w - - 0 1", "e4d5", "iexd5", "exd5"},
      {"4k3/8/8/3p4/4P3/8/8/4K3 w - - 0 1", "e4d5", "ixd5", "exd5"},
      {"4k3/8/8/8/8/5N2/8/1N2K3 w - - 0 1", "b1d2", "kbd2", "Nbd2"},
      {"4k3/8/8/8/R7/8/8/R3K3 w - - 0 1", "a1a2", "l1a2", "R1a2"},
      {"4k3/8/8/8/8/Q1Q5/8/Q3K3 w - - 0 1", "a1b2", "ma1b2", "Qa1b2"},
      {"4k3/4r3/8/8/8/8/2N1N3/4K3 w - - 0 1", "c2d4", "kd4", "Nd4"},
      {"5k2/8/8/8/8/8/8/4K2R w K - 0 1", "e1g1", "0-0+", "O-O+"},
      {"r3k3/8/8/8/8/8/8/4K3 b q - 0 1", "e8c8", "0-0-0", "O-O-O"},
      {"4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", "e5d6", "ixd6", "exd6"},
      {"4k3/P7/8/8/8/8/8/4K3 w - - 0 1", "a7a8q", "a8m+", "a8=Q+"},
      {"4k3/8/8/8/8/8/8/R3K3 w - - 0 1", "a1a8", "la8+", "Ra8+"},
  };
  for (const Case& c : cases) {
    ASSERT_TRUE(SetPositionFromFen(c.fen)) << c.fen;
    NotationBoard board;
    for (const bool letters : {false, true}) {
      load_notation_board(&board);
      board.letters = letters;
      char text[32] = "";
      EXPECT_TRUE(notate_move(&board, c.move, text, sizeof(text))) << c.fen;
      EXPECT_STREQ(text, letters ? c.letters : c.text) << c.fen << " " << c.move;
    }
  }
  // A move of the side not to move, or from an empty square, is no move.
  ASSERT_TRUE(SetPositionFromFen(START_FEN));
  NotationBoard board;
  load_notation_board(&board);
  char text[32] = "";
  EXPECT_FALSE(notate_move(&board, "e7e5", text, sizeof(text)));
  EXPECT_FALSE(notate_move(&board, "e4e5", text, sizeof(text)));
  EXPECT_STREQ(text, "");
}

}  // namespace
