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

TEST(PositionLine, LinesGiveTheirPositions) {
  const std::string promote = "position fen 1n2k3/P7/8/8/8/8/7p/4K3 w - - moves ";
  const std::string corners = "position fen r3k2r/8/8/8/8/8/8/R3K2R w KQkq - moves ";
  const std::pair<std::string, const char*> cases[] = {
      {"position startpos", START_FEN},
      {"position startpos moves e2e4 e7e5 g1f3", "rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq -"},
      // Moves without a starting word start from the start position.
      {"position moves d2d4", "rnbqkbnr/pppppppp/8/8/3P4/8/PPP1PPPP/RNBQKBNR b KQkq -"},
      {"position fen 4k3/8/8/8/8/8/8/4K2R w K - 3 40", "4k3/8/8/8/8/8/8/4K2R w K -"},
      {"position fen 4k3/8/8/8/8/8/8/4K2R w K - 3 40 moves h1h2 e8d8", "3k4/8/8/8/8/8/7R/4K3 w - -"},
      // A refused FEN leaves the start position, and the moves still apply.
      {"position fen nonsense moves e2e4", "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq -"},
      {"position fen", START_FEN},
      {"position startpos moves", START_FEN},
      // Castling moves the rook; a rook taken in its corner or moved ends its right.
      {corners + "e1g1 e8c8", "2kr3r/8/8/8/8/8/8/R4RK1 w - -"},
      {corners + "e1c1 e8g8", "r4rk1/8/8/8/8/8/8/2KR3R w - -"},
      {corners + "a1a8", "R3k2r/8/8/8/8/8/8/4K2R b Kk -"},
      {corners + "h1h2 h8h7", "r3k3/7r/8/8/8/8/7R/R3K3 w Qq -"},
      // An en-passant square only where a capture is possible, not across the edge.
      {"position startpos moves e2e4 a7a6 e4e5 d7d5", "rnbqkbnr/1pp1pppp/p7/3pP3/8/8/PPPP1PPP/RNBQKBNR w KQkq d6"},
      {"position startpos moves e2e4 a7a6 e4e5 d7d5 e5d6", "rnbqkbnr/1pp1pppp/p2P4/8/8/8/PPPP1PPP/RNBQKBNR b KQkq -"},
      {"position fen 4k3/8/8/8/7p/8/P7/4K3 w - - moves a2a4", "4k3/8/8/8/P6p/8/8/4K3 b - -"},
      {"position fen 4k3/p7/8/7P/8/8/8/4K3 b - - moves a7a5", "4k3/8/8/p6P/8/8/8/4K3 w - -"},
      // Promotions take the named piece, a queen without a letter.
      {promote + "a7a8q", "Qn2k3/8/8/8/8/8/7p/4K3 b - -"},
      {promote + "a7b8n", "1N2k3/8/8/8/8/8/7p/4K3 b - -"},
      {promote + "a7a8r e8e7 e1d2 h2h1b", "Rn6/4k3/8/8/8/8/3K4/7b w - -"},
      {promote + "a7a8", "Qn2k3/8/8/8/8/8/7p/4K3 b - -"},
      // Unreadable words and moves from empty squares are passes; words are
      // read five characters apart, and short ones at the end stay inside.
      {"position startpos moves e2e4 zz99", "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -"},
      {"position startpos moves e3e4", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b KQkq -"},
      {"position startpos moves e2e4e7e5", "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -"},
      {"position startpos moves e2e4 e7", "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -"},
      {"position startpos moves   e2e4   e7e5  ", "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -"},
  };
  for (const auto& [line, fen] : cases) EXPECT_EQ(fen_after(line), fen) << line;
  // The counters: a quiet move counts, a pass and a pawn move reset.
  fen_after("position fen 4k3/8/8/8/8/8/8/4K2R w K - 3 40 moves h1h2 e8d8");
  EXPECT_EQ(position.state.fiftyCount, 2u);
  EXPECT_EQ(position.state.historyCount, 2u);
  fen_after("position startpos moves e2e4 zz99");
  EXPECT_EQ(position.state.fiftyCount, 0u);
  EXPECT_EQ(position.state.historyCount, 2u);
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
