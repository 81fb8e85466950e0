// Move words from and to long algebraic text. The full words of legal moves
// (mover, victim, castling, en passant, promotion) are read in every random
// game of the make/unmake test; here the text forms around them.
#include <gtest/gtest.h>

#include <string>

#include "board/move.h"
#include "board/position.h"

namespace {

Move word(int from, int to) { return Move(from) << 10 | Move(to); }

TEST(MoveText, WordsReadFromTheirTexts) {
  ASSERT_EQ(SetPositionFromFen("1n2k3/P7/8/8/3Pp3/8/8/4K3 b - d3"), 1);
  const std::pair<const char*, Move> plain[] = {
      {"e2e4", word(12, 28)}, {"a1h8", word(0, 63)}, {"h8a2", word(63, 8)},
      // Empty words.
      {"0000", 0}, {"a1a1", 0}, {"A1a1", 0},
      // Malformed ones.
      {"", 0}, {"e", 0}, {"e2", 0}, {"e2e", 0}, {"i2e4", 0}, {"e9e4", 0}, {"e0e4", 0}, {"e2e9", 0},
      {"@2e4", 0}, {"e2 e4", 0}, {"2e4e", 0},
  };
  for (const auto& [text, expected] : plain) EXPECT_EQ(TextToMove(text, false) & MOVE_IDENTITY, expected) << text;
  // The lenient reader takes only the zeros as empty, adds no en-passant bit
  // and reads upper-case promotion letters, which the strict one does not.
  EXPECT_EQ(TextToMoveLenient("0000", true), 0u);
  EXPECT_EQ(TextToMoveLenient("a1a1", false), word(0, 0));
  EXPECT_NE(TextToMove("e4d3", true) & MOVE_EN_PASSANT, 0u);
  EXPECT_EQ(TextToMoveLenient("e4d3", true) & MOVE_EN_PASSANT, 0u);
  EXPECT_STREQ(MoveToText(TextToMoveLenient("a7a8N", true)), "a7a8n");
  EXPECT_EQ(TextToMove("a7a8Q", true) & PROMOTE_QUEEN, TextToMove("a7a8", true) & PROMOTE_QUEEN);
  EXPECT_NE(TextToMove("a7a8Q", true) & PROMOTE_QUEEN, PROMOTE_QUEEN);
  // Upper-case files count from 'a': a square below the board, where no mover stands.
  const Move below = TextToMove("E2e4", true);
  EXPECT_NE(below, 0u);
  EXPECT_EQ(below & MOVE_MOVER, 0u);
}

TEST(MoveText, EveryWordPrintsAndReadsBack) {
  ASSERT_EQ(SetPositionFromFen(START_FEN), 1);
  for (int from = 0; from < 64; ++from)
    for (int to = 0; to < 64; ++to) {
      if (word(from, to) == 0 || word(from, to) == NULL_MOVE_WORD) continue;
      const char* text = MoveToText(word(from, to));
      EXPECT_EQ(TextToMove(text, false), word(from, to)) << text;
    }
  EXPECT_STREQ(MoveToText(NULL_MOVE_WORD), "null");
  // Two buffers, for a move and its reply in one line.
  const char* first = MoveToText(word(12, 28));
  const char* second = MoveToText2(word(52, 36));
  EXPECT_EQ(std::string(first) + " " + second, "e2e4 e7e5");
  char buffer[8];
  EXPECT_EQ(MoveToText(word(48, 56) | PROMOTE_QUEEN, buffer), 5);
  EXPECT_STREQ(buffer, "a7a8q");
}

}  // namespace
