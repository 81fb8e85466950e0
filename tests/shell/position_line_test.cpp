// Position lines and game moves: what the Position looks like afterwards.
#include <gtest/gtest.h>

#include <string>

#include "board/position.h"
#include "shell/dialogue.h"

namespace {

std::string fen_after(const std::string& line) {
  parse_position_line(line.c_str());
  char buffer[128];
  WriteFen(buffer);
  return buffer;
}

TEST(PositionLine, StartposWithMoves) {
  EXPECT_EQ(fen_after("position startpos"), START_FEN);
  EXPECT_EQ(fen_after("position startpos moves e2e4 e7e5 g1f3"),
            "rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq -");
  // A line with moves and no starting word starts from the start position.
  EXPECT_EQ(fen_after("position moves d2d4"), "rnbqkbnr/pppppppp/8/8/3P4/8/PPP1PPPP/RNBQKBNR b KQkq -");
  EXPECT_EQ(position.state.historyCount, 1u);
  EXPECT_EQ(position.state.fiftyCount, 0u);
}

TEST(PositionLine, FenWithAndWithoutMoves) {
  EXPECT_EQ(fen_after("position fen 4k3/8/8/8/8/8/8/4K2R w K - 3 40"), "4k3/8/8/8/8/8/8/4K2R w K -");
  EXPECT_EQ(fen_after("position fen 4k3/8/8/8/8/8/8/4K2R w K - 3 40 moves h1h2 e8d8"),
            "3k4/8/8/8/8/8/7R/4K3 w - -");
  EXPECT_EQ(position.state.fiftyCount, 2u);
  EXPECT_EQ(position.state.historyCount, 2u);
  // A refused FEN leaves the start position, and the moves still apply.
  EXPECT_EQ(fen_after("position fen nonsense moves e2e4"),
            "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq -");
  // The word with nothing behind it holds no FEN.
  EXPECT_EQ(fen_after("position fen"), START_FEN);
  EXPECT_EQ(fen_after("position startpos moves"), START_FEN);
}

TEST(PositionLine, CastlingMovesTheRookAndEndsTheRights) {
  EXPECT_EQ(fen_after("position fen r3k2r/8/8/8/8/8/8/R3K2R w KQkq - moves e1g1 e8c8"),
            "2kr3r/8/8/8/8/8/8/R4RK1 w - -");
  EXPECT_EQ(position.state.fiftyCount, 0u);
  EXPECT_EQ(fen_after("position fen r3k2r/8/8/8/8/8/8/R3K2R w KQkq - moves e1c1 e8g8"),
            "r4rk1/8/8/8/8/8/8/2KR3R w - -");
  // A rook taken in its corner ends that right; a rook move ends its own.
  EXPECT_EQ(fen_after("position fen r3k2r/8/8/8/8/8/8/R3K2R w KQkq - moves a1a8"),
            "R3k2r/8/8/8/8/8/8/4K2R b Kk -");
  EXPECT_EQ(fen_after("position fen r3k2r/8/8/8/8/8/8/R3K2R w KQkq - moves h1h2 h8h7"),
            "r3k3/7r/8/8/8/8/7R/R3K3 w Qq -");
}

TEST(PositionLine, EnPassantSquareOnlyWhenACaptureIsPossible) {
  // d7d5 next to the pawn on e5: capturable.
  EXPECT_EQ(fen_after("position startpos moves e2e4 a7a6 e4e5 d7d5"),
            "rnbqkbnr/1pp1pppp/p7/3pP3/8/8/PPPP1PPP/RNBQKBNR w KQkq d6");
  EXPECT_EQ(fen_after("position startpos moves e2e4 a7a6 e4e5 d7d5 e5d6"),
            "rnbqkbnr/1pp1pppp/p2P4/8/8/8/PPPP1PPP/RNBQKBNR b KQkq -");
  // No pawn beside the target: none.
  EXPECT_EQ(fen_after("position startpos moves e2e4"),
            "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq -");
  // A pawn on the far edge of the neighbouring rank does not count.
  EXPECT_EQ(fen_after("position fen 4k3/8/8/8/7p/8/P7/4K3 w - - moves a2a4"),
            "4k3/8/8/8/P6p/8/8/4K3 b - -");
  EXPECT_EQ(fen_after("position fen 4k3/p7/8/7P/8/8/8/4K3 b - - moves a7a5"),
            "4k3/8/8/p6P/8/8/8/4K3 w - -");
}

TEST(PositionLine, PromotionsTakeTheNamedPieceAndAQueenByDefault) {
  const std::string start = "position fen 1n2k3/P7/8/8/8/8/7p/4K3 w - - moves ";
  EXPECT_EQ(fen_after(start + "a7a8q"), "Qn2k3/8/8/8/8/8/7p/4K3 b - -");
  EXPECT_EQ(fen_after(start + "a7b8n"), "1N2k3/8/8/8/8/8/7p/4K3 b - -");
  EXPECT_EQ(fen_after(start + "a7a8r e8e7 e1d2 h2h1b"), "Rn6/4k3/8/8/8/8/3K4/7b w - -");
  EXPECT_EQ(fen_after(start + "a7a8"), "Qn2k3/8/8/8/8/8/7p/4K3 b - -");
}

TEST(PositionLine, UnreadableWordsArePasses) {
  EXPECT_EQ(fen_after("position startpos moves e2e4 zz99"),
            "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -");
  EXPECT_EQ(position.state.fiftyCount, 0u);
  EXPECT_EQ(position.state.historyCount, 2u);
  // A move from an empty square names no piece: a pass too.
  EXPECT_EQ(fen_after("position startpos moves e3e4"),
            "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b KQkq -");
  // Words are read five characters apart: a glued list loses its rhythm.
  EXPECT_EQ(fen_after("position startpos moves e2e4e7e5"),
            "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -");
  // Short words at the end are read without running past the line.
  EXPECT_EQ(fen_after("position startpos moves e2e4 e7"),
            "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -");
  EXPECT_EQ(fen_after("position startpos moves   e2e4   e7e5  "),
            "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -");
}

TEST(PositionLine, VeryLongGamesKeepTheirHistoryInBounds) {
  std::string line = "position startpos moves";
  for (int i = 0; i < 400; ++i) line += " g1f3 g8f6 f3g1 f6g8";
  EXPECT_EQ(fen_after(line), START_FEN);
  EXPECT_LT(position.state.historyCount, uint32_t(KEY_HISTORY_SIZE));
  EXPECT_LE(position.state.fiftyCount, position.state.historyCount);
  EXPECT_TRUE(IsPositionConsistent());
}

TEST(PositionLine, PlayAppendsToThePositionLine) {
  char line[64] = "position startpos";
  dispatch_command(line);
  char play[] = "play e2e4";
  dispatch_command(play);
  EXPECT_STREQ(position_line, "position startpos moves e2e4");
  char play2[] = "play e7e5";
  dispatch_command(play2);
  EXPECT_STREQ(position_line, "position startpos moves e2e4 e7e5");
  // The line rebuilds the same position that play made.
  char fen[128], rebuilt[128];
  WriteFen(fen);
  parse_position_line(position_line);
  WriteFen(rebuilt);
  EXPECT_STREQ(fen, rebuilt);
  EXPECT_STREQ(fen, "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -");
}

TEST(PositionLine, IgnoredUnlessIdle) {
  char line[64] = "position startpos moves e2e4";
  dispatch_command(line);
  char before[128];
  WriteFen(before);
  wait_for_gui = true;
  char other[64] = "position startpos moves d2d4";
  dispatch_command(other);
  char play[] = "play e7e5";
  dispatch_command(play);
  wait_for_gui = false;
  char after[128];
  WriteFen(after);
  EXPECT_STREQ(before, after);
  EXPECT_STREQ(position_line, "position startpos moves e2e4");
  EXPECT_STREQ(last_move_text, " e2e4");
}

}  // namespace
