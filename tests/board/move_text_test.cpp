// Move words from and to long algebraic text.
#include <gtest/gtest.h>

#include <string>

#include "board/move.h"
#include "board/position.h"

namespace {

Move word(int from, int to) { return Move(from) << 10 | Move(to); }

TEST(MoveText, PlainWordsReadToFromAndTo) {
  ASSERT_EQ(SetPositionFromFen(START_FEN), 1);
  EXPECT_EQ(TextToMove("e2e4", false), word(12, 28));
  EXPECT_EQ(TextToMove("a1h8", false), word(0, 63));
  EXPECT_EQ(TextToMove("h8a2", false), word(63, 8));
  EXPECT_EQ(TextToMoveLenient("g1f3", false), word(6, 21));
}

TEST(MoveText, EmptyMoveWords) {
  EXPECT_EQ(TextToMove("0000", true), 0u);
  EXPECT_EQ(TextToMove("a1a1", true), 0u);
  EXPECT_EQ(TextToMove("A1a1", true), 0u);
  EXPECT_EQ(TextToMoveLenient("0000", true), 0u);
  // The lenient reader takes only the zeros as empty.
  EXPECT_EQ(TextToMoveLenient("a1a1", false), word(0, 0));
}

TEST(MoveText, MalformedWordsGiveZero) {
  const char* bad[] = {"", "e", "e2", "e2e", "i2e4", "e9e4", "e0e4", "e2e9", "@2e4", "e2 e4", "2e4e"};
  for (const char* text : bad) EXPECT_EQ(TextToMove(text, true), 0u) << text;
}

TEST(MoveText, CompleteWordsCarryMoverAndVictim) {
  ASSERT_EQ(SetPositionFromFen("4k3/8/8/3p4/4P3/8/8/4K2R w K -"), 1);
  Move quiet = TextToMove("e4e5", true);
  EXPECT_EQ((quiet & MOVE_MOVER) >> 6, uint64_t(CLASS_PAWN));
  EXPECT_EQ(quiet & MOVE_VICTIM, 0u);
  EXPECT_NE(quiet & 0x20000, 0u);  // bit 17 marks a quiet move
  Move capture = TextToMove("e4d5", true);
  EXPECT_EQ((capture & MOVE_VICTIM) >> 27, uint64_t(CLASS_PAWN));
  EXPECT_EQ(capture & 0x20000, 0u);
  EXPECT_NE(capture & (Move(1) << 52), 0u);  // one-hot victim: pawn
  Move castle = TextToMove("e1g1", true);
  EXPECT_TRUE(is_white_castling(castle));
  EXPECT_TRUE(is_white_castling(castle | MOVE_CHECK));
  EXPECT_FALSE(is_white_castling(TextToMove("e1f1", true)));
  EXPECT_FALSE(is_white_castling(TextToMove("h1g1", true)));
  // The same words are one move whatever bit 9 says.
  EXPECT_EQ(castle & MOVE_IDENTITY, (castle | MOVE_CHECK) & MOVE_IDENTITY);
}

TEST(MoveText, BlackCastlingAndEnPassantAreRecognised) {
  ASSERT_EQ(SetPositionFromFen("r3k2r/8/8/8/3Pp3/8/8/4K3 b kq d3"), 1);
  EXPECT_TRUE(is_black_castling(TextToMove("e8c8", true)));
  EXPECT_TRUE(is_black_castling(TextToMove("e8g8", true)));
  EXPECT_FALSE(is_white_castling(TextToMove("e8g8", true)));
  Move ep = TextToMove("e4d3", true);
  EXPECT_NE(ep & MOVE_EN_PASSANT, 0u);
  EXPECT_EQ(TextToMove("e4e3", true) & MOVE_EN_PASSANT, 0u);
  // The lenient reader adds no en-passant bit.
  EXPECT_EQ(TextToMoveLenient("e4d3", true) & MOVE_EN_PASSANT, 0u);
}

TEST(MoveText, PromotionsReadAndPrintBack) {
  ASSERT_EQ(SetPositionFromFen("1n2k3/P7/8/8/8/8/7p/4K3 w - -"), 1);
  for (const char* text : {"a7a8q", "a7a8r", "a7a8b", "a7a8n", "a7b8q", "a7b8n"}) {
    Move move = TextToMove(text, true);
    EXPECT_TRUE(is_white_promotion(move)) << text;
    EXPECT_STREQ(MoveToText(move), text);
  }
  for (const char* text : {"h2h1q", "h2h1r", "h2h1b", "h2h1n"}) {
    Move move = TextToMove(text, true);
    EXPECT_TRUE(is_black_promotion(move)) << text;
    EXPECT_STREQ(MoveToText(move), text);
  }
  // Upper-case promotion letters only in the lenient reader. A pawn word
  // that reaches the last rank is a promotion either way; without a letter
  // it carries no promotion pattern.
  EXPECT_EQ(TextToMove("a7a8Q", true) & PROMOTE_QUEEN, TextToMove("a7a8", true) & PROMOTE_QUEEN);
  EXPECT_NE(TextToMove("a7a8Q", true) & PROMOTE_QUEEN, PROMOTE_QUEEN);
  EXPECT_STREQ(MoveToText(TextToMoveLenient("a7a8Q", true)), "a7a8q");
  EXPECT_STREQ(MoveToText(TextToMoveLenient("a7a8N", true)), "a7a8n");
}

TEST(MoveText, PrintingUsesTwoBuffersAndTheNullWord) {
  EXPECT_STREQ(MoveToText(NULL_MOVE_WORD), "null");
  const char* first = MoveToText(word(12, 28));
  const char* second = MoveToText2(word(52, 36));
  EXPECT_EQ(std::string(first) + " " + second, "e2e4 e7e5");
  char buffer[8];
  EXPECT_EQ(MoveToText(word(1, 18), buffer), 4);
  EXPECT_STREQ(buffer, "b1c3");
  EXPECT_EQ(MoveToText(word(48, 56) | PROMOTE_QUEEN, buffer), 5);
  EXPECT_STREQ(buffer, "a7a8q");
}

TEST(MoveText, EveryPlainWordRoundTrips) {
  ASSERT_EQ(SetPositionFromFen(START_FEN), 1);
  for (int from = 0; from < 64; ++from)
    for (int to = 0; to < 64; ++to) {
      if (word(from, to) == 0 || word(from, to) == NULL_MOVE_WORD) continue;
      const char* text = MoveToText(word(from, to));
      EXPECT_EQ(TextToMove(text, false), word(from, to)) << text;
    }
}

TEST(MoveText, UpperCaseFilesReadAsSquaresBelowTheBoard) {
  // Upper-case file letters pass the letter test and count from 'a': the
  // square lands in the low margin, which reads as empty.
  ASSERT_EQ(SetPositionFromFen(START_FEN), 1);
  Move move = TextToMove("E2e4", true);
  EXPECT_NE(move, 0u);
  EXPECT_EQ(move & MOVE_MOVER, 0u);  // no mover found on that "square"
}

}  // namespace
