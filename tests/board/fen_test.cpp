// Reading and writing positions as FEN text.
#include <gtest/gtest.h>

#include <string>

#include "board/position.h"

namespace {

std::string fen_of_position() {
  char buffer[128];
  WriteFen(buffer);
  return buffer;
}

TEST(FenText, AcceptsWhatCanBeAPositionOnly) {
  const std::pair<const char*, bool> cases[] = {
      {START_FEN, true},
      {"rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 1", true},
      {"8/8/8/8/8/8/8/K6k   B   -   -", true},  // runs of blanks count once, upper case side
      {"8/8/8/8/8/8/8/8 w - -", true},          // the board check comes later
      {"8/8/8/8/8/8/8/K6k w - - MoVeS e2e4 x!", true},  // a move list ends the text
      {"", false},
      {"hello", false},
      {"8/8/8/8/8/8/8/K6k w -", false},        // three fields
      {"8/8/8/8/8/8/K6k w - -", false},         // six slashes
      {"8/8/8/8/8/8/8/8/8 w - -", false},       // eight slashes
      {"8/8/8/8/8/8/8/K6k x - -", false},       // side letter
      {"8/8/8/8/8/8/8/K6k w1 - -", false},      // side field holds a digit
      {"8/8/8/8/8/8/8/K6z w - -", false},       // no such letter
      {"8/8/8/8/8/8/8/K6k w - - 0 1;", false},  // punctuation in a later field
  };
  for (const auto& [text, accepted] : cases) EXPECT_EQ(CheckFenText(text), accepted) << text;
}

// What the parser makes of a text, written back: side, rights and the
// en-passant square as they were taken, counters ignored.
TEST(FenParser, TextsReadAsTheyAreWrittenBack) {
  const std::pair<const char*, const char*> cases[] = {
      {START_FEN, START_FEN},
      {"r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -", nullptr},
      {"rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6", nullptr},
      {"8/8/8/8/3pP3/8/8/K6k b - e3", nullptr},
      {"8/8/8/8/8/8/8/K6k w - - 57 143", "8/8/8/8/8/8/8/K6k w - -"},
      // Black only for a lower-case b.
      {"8/8/8/8/8/8/8/K6k B - -", "8/8/8/8/8/8/8/K6k w - -"},
      // Rights are read in KQkq order only.
      {"r3k2r/8/8/8/8/8/8/R3K2R w Kq -", nullptr},
      {"r3k2r/8/8/8/8/8/8/R3K2R w QK -", "r3k2r/8/8/8/8/8/8/R3K2R w Q -"},
      {"r3k2r/8/8/8/8/8/8/R3K2R w qkQK -", "r3k2r/8/8/8/8/8/8/R3K2R w q -"},
      // The en-passant square stays only where a pawn can take on it.
      {"4k3/8/8/3p4/8/8/8/4K3 w - d6", "4k3/8/8/3p4/8/8/8/4K3 w - -"},
      {"4k3/8/8/4P3/8/8/8/4K3 w - d6", "4k3/8/8/4P3/8/8/8/4K3 w - -"},
      {"4k3/8/3n4/3pP3/8/8/8/4K3 w - d6", "4k3/8/3n4/3pP3/8/8/8/4K3 w - -"},
      {"4k3/8/8/3pP3/8/8/8/4K3 w - d9", "4k3/8/8/3pP3/8/8/8/4K3 w - -"},
      // The neighbour test is plain index arithmetic: it wraps at the edges.
      {"4k3/8/8/p7/7P/8/8/4K3 w - a6", nullptr},
      {"4k3/8/8/p7/7P/8/8/4K3 b - h3", nullptr},
      // A letter that stands for nothing takes one file.
      {"4k3/8/8/8/8/8/8/aK6 w - -", "4k3/8/8/8/8/8/8/1K6 w - -"},
  };
  for (const auto& [text, written] : cases) {
    ASSERT_EQ(SetPositionFromFen(text), 1) << text;
    EXPECT_EQ(fen_of_position(), written ? written : text);
    EXPECT_EQ(position.state.fiftyCount, 0u);
  }
  // A refused text leaves the position alone; ragged boards stay inside the text.
  const std::string before = fen_of_position();
  EXPECT_EQ(SetPositionFromFen("r3k2r/8/8/8 b KQkq -"), 0);
  EXPECT_EQ(fen_of_position(), before);
  EXPECT_EQ(SetPositionFromFen("k/K/8/8/8/8/8/8 w - -"), 1);
  EXPECT_EQ(SetPositionFromFen("/////// w - -"), 1);
  EXPECT_EQ(SetPositionFromFen("9/8/8/8/8/8/8/8 w - -"), 1);
}

TEST(PositionRecord, ScratchRecordLaysTheBoardFromItsStart) {
  // The scratch parser's board starts in the low margin: FEN squares 32-63
  // land on 0-31 of the record's board and the upper half is empty.
  static Position record;
  ASSERT_EQ(SetRecordFromFen(&record, "4k3/8/8/8/8/8/8/4K3 b - -"), 1);
  EXPECT_EQ(record.board[60 - 32] & WORD_CODE, uint64_t(BLACK_KING));
  EXPECT_EQ(record.lowMargin[4] & WORD_CODE, uint64_t(WHITE_KING));
  EXPECT_EQ(record.board[60], 0u);
  EXPECT_EQ(record.pieceBits[KING_INDEX + BLACK], bit(28));
  EXPECT_EQ(record.pieceBits[KING_INDEX + WHITE], 0u);
}

TEST(PositionRecord, ConsistencyRefusesImpossiblePositions) {
  auto consistent = [](const char* fen) {
    EXPECT_EQ(SetPositionFromFen(fen), 1) << fen;
    return IsPositionConsistent();
  };
  EXPECT_TRUE(consistent(START_FEN));
  EXPECT_TRUE(consistent("4k3/8/8/3pP3/8/8/8/4K3 w - d6"));
  EXPECT_FALSE(consistent("8/8/8/8/8/8/8/8 w - -"));             // no kings
  EXPECT_FALSE(consistent("4k3/8/8/8/8/8/8/3KK3 w - -"));        // two white kings
  EXPECT_FALSE(consistent("4k3/8/8/8/8/8/8/4K3 w K -"));         // right without rook
  EXPECT_FALSE(consistent("4k3/8/8/8/8/8/8/R3K2R w q -"));       // black right without rook
  EXPECT_FALSE(consistent("r3k2r/8/8/8/8/8/8/R2K3R w Q -"));     // right without king
  EXPECT_FALSE(consistent("P3k3/8/8/8/8/8/8/4K3 w - -"));        // pawn on the last rank
  EXPECT_FALSE(consistent("4k3/8/8/8/8/8/8/4K2p b - -"));        // pawn on the first rank
  // The side to move must not be able to take the king.
  EXPECT_FALSE(consistent("4k3/8/8/8/8/8/8/4R1K1 w - -"));
  EXPECT_FALSE(consistent("4k3/8/8/1B6/8/8/8/6K1 w - -"));
  EXPECT_FALSE(consistent("4k3/3P4/8/8/8/8/8/6K1 w - -"));
  EXPECT_FALSE(consistent("4k3/8/3N4/8/8/8/8/6K1 w - -"));
  EXPECT_FALSE(consistent("8/8/8/8/8/8/5k2/6K1 w - -"));
  EXPECT_TRUE(consistent("4k3/4p3/8/8/8/8/8/4R1K1 w - -"));  // blocked
  EXPECT_TRUE(consistent("4k3/8/8/8/8/8/8/4R1K1 b - -"));    // in check, to move
  // The wrapped en-passant square passes the parser but not this test.
  EXPECT_FALSE(consistent("4k3/8/8/p7/7P/8/8/4K3 w - a6"));
}

}  // namespace
