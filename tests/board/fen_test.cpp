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

int code_at(int square) { return int(position.board[square] & WORD_CODE); }

TEST(FenText, AcceptsTheShapesAFrontEndSends) {
  EXPECT_TRUE(CheckFenText(START_FEN));
  EXPECT_TRUE(CheckFenText("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 1"));
  // Runs of blanks count once; an upper-case side letter passes.
  EXPECT_TRUE(CheckFenText("8/8/8/8/8/8/8/K6k   B   -   -"));
  // Empty ranks pass the text check; the board check is later.
  EXPECT_TRUE(CheckFenText("8/8/8/8/8/8/8/8 w - -"));
  // The word that begins a move list ends the text.
  EXPECT_TRUE(CheckFenText("8/8/8/8/8/8/8/K6k w - - MoVeS e2e4 x!"));
}

TEST(FenText, RefusesWhatCannotBeAPosition) {
  EXPECT_FALSE(CheckFenText(""));
  EXPECT_FALSE(CheckFenText("hello"));
  EXPECT_FALSE(CheckFenText("8/8/8/8/8/8/8/K6k w -"));       // three fields
  EXPECT_FALSE(CheckFenText("8/8/8/8/8/8/K6k w - -"));        // six slashes
  EXPECT_FALSE(CheckFenText("8/8/8/8/8/8/8/8/8 w - -"));      // eight slashes
  EXPECT_FALSE(CheckFenText("8/8/8/8/8/8/8/K6k x - -"));      // side letter
  EXPECT_FALSE(CheckFenText("8/8/8/8/8/8/8/K6k w1 - -"));     // side field holds a digit
  EXPECT_FALSE(CheckFenText("8/8/8/8/8/8/8/K6z w - -"));      // no such letter
  EXPECT_FALSE(CheckFenText("8/8/8/8/8/8/8/K6k w - - 0 1;")); // punctuation in a later field
}

TEST(FenParser, RefusedTextLeavesThePositionAlone) {
  ASSERT_EQ(SetPositionFromFen("r3k2r/8/8/8/8/8/8/R3K2R b KQkq -"), 1);
  std::string before = fen_of_position();
  EXPECT_EQ(SetPositionFromFen("r3k2r/8/8/8 b KQkq -"), 0);
  EXPECT_EQ(fen_of_position(), before);
  EXPECT_EQ(sideToMove, BLACK);
}

TEST(FenParser, RoundTripsThroughWriteFen) {
  const char* fens[] = {
      START_FEN,
      "r3k2r/p1ppqpb1/bn2pnp1/3P4/1p2P3/2N2Q2/PPPPNPPP/R3K2R w KQkq -",
      "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
      "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -",
      "rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6",
      "8/8/8/8/3pP3/8/8/K6k b - e3",
      "4k3/8/8/8/8/8/8/4K2R w K -",
  };
  for (const char* fen : fens) {
    ASSERT_EQ(SetPositionFromFen(fen), 1) << fen;
    EXPECT_EQ(fen_of_position(), fen);
  }
}

TEST(FenParser, CountersAreIgnored) {
  ASSERT_EQ(SetPositionFromFen("8/8/8/8/8/8/8/K6k w - - 57 143"), 1);
  EXPECT_EQ(position.state.fiftyCount, 0u);
  EXPECT_EQ(position.state.historyCount, 0u);
  EXPECT_EQ(fen_of_position(), "8/8/8/8/8/8/8/K6k w - -");
}

TEST(FenParser, SideIsBlackOnlyForLowerCaseB) {
  ASSERT_EQ(SetPositionFromFen("8/8/8/8/8/8/8/K6k b - -"), 1);
  EXPECT_EQ(sideToMove, BLACK);
  ASSERT_EQ(SetPositionFromFen("8/8/8/8/8/8/8/K6k B - -"), 1);
  EXPECT_EQ(sideToMove, WHITE);
  ASSERT_EQ(SetPositionFromFen("8/8/8/8/8/8/8/K6k W - -"), 1);
  EXPECT_EQ(sideToMove, WHITE);
}

TEST(FenParser, CastlingLettersAreReadOnlyInKQkqOrder) {
  const char* board = "r3k2r/8/8/8/8/8/8/R3K2R w ";
  auto rights = [&](const char* field) {
    std::string fen = std::string(board) + field + " -";
    EXPECT_EQ(SetPositionFromFen(fen.c_str()), 1) << fen;
    return position.state.castling;
  };
  EXPECT_EQ(rights("KQkq"), 15u);
  EXPECT_EQ(rights("-"), 0u);
  EXPECT_EQ(rights("Kq"), WHITE_SHORT | BLACK_LONG);
  EXPECT_EQ(rights("QK"), WHITE_LONG);  // the K after the Q is not read
  EXPECT_EQ(rights("kK"), BLACK_SHORT);
  EXPECT_EQ(rights("qkQK"), BLACK_LONG);
}

TEST(FenParser, EnPassantSquareKeptOnlyWhenACaptureIsPossible) {
  // A white pawn beside the pushed black pawn: kept.
  ASSERT_EQ(SetPositionFromFen("4k3/8/8/3pP3/8/8/8/4K3 w - d6"), 1);
  EXPECT_EQ(position.state.epSquare, 43u);
  // No capturing pawn: dropped.
  ASSERT_EQ(SetPositionFromFen("4k3/8/8/3p4/8/8/8/4K3 w - d6"), 1);
  EXPECT_EQ(position.state.epSquare, 0u);
  // No pawn that could have made the double step: dropped.
  ASSERT_EQ(SetPositionFromFen("4k3/8/8/4P3/8/8/8/4K3 w - d6"), 1);
  EXPECT_EQ(position.state.epSquare, 0u);
  // Target square occupied: dropped.
  ASSERT_EQ(SetPositionFromFen("4k3/8/3n4/3pP3/8/8/8/4K3 w - d6"), 1);
  EXPECT_EQ(position.state.epSquare, 0u);
  // Black to move.
  ASSERT_EQ(SetPositionFromFen("4k3/8/8/8/3Pp3/8/8/4K3 b - d3"), 1);
  EXPECT_EQ(position.state.epSquare, 19u);
  // Off-board text is no square.
  ASSERT_EQ(SetPositionFromFen("4k3/8/8/3pP3/8/8/8/4K3 w - d9"), 1);
  EXPECT_EQ(position.state.epSquare, 0u);
}

TEST(FenParser, EnPassantNeighbourTestWrapsAtTheEdgeFiles) {
  // Target a6, black pawn on a5; the "left neighbour" of a5 is h4, where a
  // white pawn stands. The plain index arithmetic accepts it.
  ASSERT_EQ(SetPositionFromFen("4k3/8/8/p7/7P/8/8/4K3 w - a6"), 1);
  EXPECT_EQ(position.state.epSquare, 40u);
  // Target h3 for black: white pawn on h4, the "right neighbour" of h4 is a5.
  ASSERT_EQ(SetPositionFromFen("4k3/8/8/p7/7P/8/8/4K3 b - h3"), 1);
  EXPECT_EQ(position.state.epSquare, 23u);
}

TEST(FenParser, UnknownLettersLeaveEmptySquaresButAdvance) {
  // 'a' passes the text check, stands for nothing, and takes one file.
  ASSERT_EQ(SetPositionFromFen("4k3/8/8/8/8/8/8/aK6 w - -"), 1);
  EXPECT_EQ(code_at(0), NO_PIECE);
  EXPECT_EQ(code_at(1), WHITE_KING);
}

TEST(FenParser, ShortAndRaggedBoardsStayInsideTheText) {
  // Too few squares in the ranks: the parser consumes what is there and must
  // not read past the end of the text.
  EXPECT_EQ(SetPositionFromFen("k/K/8/8/8/8/8/8 w - -"), 1);
  EXPECT_EQ(SetPositionFromFen("/////// w - -"), 1);
  EXPECT_EQ(SetPositionFromFen("9/8/8/8/8/8/8/8 w - -"), 1);
  EXPECT_EQ(SetPositionFromFen("8/8/8/8/8/8/8/8 w"), 0);
}

TEST(PositionRecord, DerivedFieldsFollowTheBoard) {
  ASSERT_EQ(SetPositionFromFen(START_FEN), 1);
  EXPECT_EQ(position.occupied, 0xffff00000000ffffull);
  EXPECT_EQ(position.colourBits[WHITE], 0xffffull);
  EXPECT_EQ(position.colourBits[BLACK], 0xffff000000000000ull);
  EXPECT_EQ(position.pieceBits[PAWN_INDEX + WHITE], 0xff00ull);
  EXPECT_EQ(position.pieceBits[PAWN_INDEX + BLACK], 0x00ff000000000000ull);
  EXPECT_EQ(position.pieceBits[ROOK_INDEX + BLACK], bit(56) | bit(63));
  EXPECT_EQ(position.pieceBits[QUEEN_INDEX + WHITE], bit(3));
  EXPECT_EQ(position.kingSquare[WHITE], 4u);
  EXPECT_EQ(position.kingSquare[BLACK], 60u);
  // Margins stay empty.
  for (uint64_t word : position.lowMargin) EXPECT_EQ(word, 0u);
  for (uint64_t word : position.highMargin) EXPECT_EQ(word, 0u);
}

TEST(PositionRecord, PstSumCarriesTheCastlingTerms) {
  ASSERT_EQ(SetPositionFromFen("r3k2r/8/8/8/8/8/8/R3K2R w KQkq -"), 1);
  int64_t all = position.state.pstSum;
  ASSERT_EQ(SetPositionFromFen("r3k2r/8/8/8/8/8/8/R3K2R w K -"), 1);
  int64_t white_short = position.state.pstSum;
  ASSERT_EQ(SetPositionFromFen("r3k2r/8/8/8/8/8/8/R3K2R w - -"), 1);
  int64_t none = position.state.pstSum;
  EXPECT_EQ(white_short - none, 100 * 65536);
  EXPECT_EQ(all, none);  // the four rights cancel
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
