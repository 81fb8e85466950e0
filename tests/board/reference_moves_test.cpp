// The reference generator against published move-path counts and hand-checked
// positions; everything later measured against it rests on these.
#include "board/reference_moves.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <set>

#include "board/move.h"
#include "board/position.h"

namespace {

using reference::Board;

constexpr const char* KIWIPETE =
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1";
constexpr const char* ENDGAME_ROOK = "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1";
constexpr const char* PROMOTIONS = "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1";
constexpr const char* PROMOTIONS_MIRRORED =
    "r2q1rk1/pP1p2pp/Q4n2/bbp1p3/Np6/1B3NBn/pPPP1PPP/R3K2R b KQ - 0 1";
constexpr const char* CHECKS = "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8";

Board FromFen(const std::string& fen) {
  Board b;
  EXPECT_TRUE(b.SetFen(fen)) << fen;
  return b;
}

bool Has(const std::vector<std::string>& moves, const std::string& text) {
  return std::find(moves.begin(), moves.end(), text) != moves.end();
}

TEST(ReferencePerft, StartPosition) {
  Board b;
  EXPECT_EQ(b.Perft(1), 20u);
  EXPECT_EQ(b.Perft(2), 400u);
  EXPECT_EQ(b.Perft(3), 8902u);
  EXPECT_EQ(b.Perft(4), 197281u);
}

TEST(ReferencePerft, Kiwipete) {
  Board b = FromFen(KIWIPETE);
  EXPECT_EQ(b.Perft(1), 48u);
  EXPECT_EQ(b.Perft(2), 2039u);
  EXPECT_EQ(b.Perft(3), 97862u);
  EXPECT_EQ(b.Perft(4), 4085603u);
}

TEST(ReferencePerft, RookEndgameWithEnPassantPins) {
  Board b = FromFen(ENDGAME_ROOK);
  EXPECT_EQ(b.Perft(1), 14u);
  EXPECT_EQ(b.Perft(2), 191u);
  EXPECT_EQ(b.Perft(3), 2812u);
  EXPECT_EQ(b.Perft(4), 43238u);
  EXPECT_EQ(b.Perft(5), 674624u);
}

TEST(ReferencePerft, PromotionsAndMirror) {
  Board b = FromFen(PROMOTIONS);
  EXPECT_EQ(b.Perft(1), 6u);
  EXPECT_EQ(b.Perft(2), 264u);
  EXPECT_EQ(b.Perft(3), 9467u);
  EXPECT_EQ(b.Perft(4), 422333u);
  Board m = FromFen(PROMOTIONS_MIRRORED);
  EXPECT_EQ(m.Perft(1), 6u);
  EXPECT_EQ(m.Perft(2), 264u);
  EXPECT_EQ(m.Perft(3), 9467u);
}

TEST(ReferencePerft, ChecksAndUnderpromotions) {
  Board b = FromFen(CHECKS);
  EXPECT_EQ(b.Perft(1), 44u);
  EXPECT_EQ(b.Perft(2), 1486u);
  EXPECT_EQ(b.Perft(3), 62379u);
  EXPECT_EQ(b.Perft(4), 2103487u);
}

TEST(ReferenceMoves, EnPassantThatUncoversTheKingOnTheRankIsIllegal) {
  // b5xc6 would take both pawns off the fifth rank between a5 and h5.
  auto pinned = FromFen("8/8/8/KPp4r/8/8/8/7k w - c6 0 2").LegalMoveTexts();
  EXPECT_FALSE(Has(pinned, "b5c6"));
  EXPECT_TRUE(Has(pinned, "b5b6"));
  auto free = FromFen("8/8/8/KPp5/8/8/8/7k w - c6 0 2").LegalMoveTexts();
  EXPECT_TRUE(Has(free, "b5c6"));
}

TEST(ReferenceMoves, EnPassantCapturesThePawnBehindTheTarget) {
  Board b = FromFen("4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 2");
  ASSERT_TRUE(b.PlayText("e5d6"));
  EXPECT_EQ(b.Fen(false), "4k3/8/3P4/8/8/8/8/4K3 b - -");
}

TEST(ReferenceMoves, EnPassantSquareKeptOnlyWhenAPawnCanTake) {
  Board b;
  ASSERT_TRUE(b.PlayText("e2e4"));
  EXPECT_EQ(b.EpSquare(), -1);
  Board c = FromFen("4k3/8/8/8/3p4/8/4P3/4K3 w - - 0 1");
  ASSERT_TRUE(c.PlayText("e2e4"));
  EXPECT_EQ(c.EpSquare(), 20);  // e3
  EXPECT_EQ(c.Fen(false), "4k3/8/8/8/3pP3/8/8/4K3 b - e3");
  // A pawn on the far side of the board edge does not count.
  Board d = FromFen("4k3/8/8/8/7p/8/P7/4K3 w - - 0 1");
  ASSERT_TRUE(d.PlayText("a2a4"));
  EXPECT_EQ(d.EpSquare(), -1);
  // Parsing drops an en-passant field no pawn can use.
  EXPECT_EQ(FromFen("4k3/8/8/8/4P3/8/8/4K3 b - e3 0 1").EpSquare(), -1);
}

TEST(ReferenceMoves, CastlingNeedsRightsEmptySquaresAndSafePassage) {
  auto both = FromFen("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1").LegalMoveTexts();
  EXPECT_TRUE(Has(both, "e1g1"));
  EXPECT_TRUE(Has(both, "e1c1"));
  // f1 attacked: no short castling; long unaffected.
  auto f1 = FromFen("4k3/8/8/8/8/8/5r2/R3K2R w KQ - 0 1").LegalMoveTexts();
  EXPECT_FALSE(Has(f1, "e1g1"));
  EXPECT_TRUE(Has(f1, "e1c1"));
  // Only b1 attacked: the king does not cross it, so long castling stays.
  auto b1 = FromFen("4k3/8/8/8/8/8/1r6/R3K2R w KQ - 0 1").LegalMoveTexts();
  EXPECT_TRUE(Has(b1, "e1c1"));
  EXPECT_TRUE(Has(b1, "e1g1"));
  // In check: neither.
  auto checked = FromFen("4r1k1/8/8/8/8/8/8/R3K2R w KQ - 0 1").LegalMoveTexts();
  EXPECT_FALSE(Has(checked, "e1g1"));
  EXPECT_FALSE(Has(checked, "e1c1"));
  // A piece between king and rook, and a missing right.
  auto blocked = FromFen("4k3/8/8/8/8/8/8/RN2K2R w K - 0 1").LegalMoveTexts();
  EXPECT_FALSE(Has(blocked, "e1c1"));
  EXPECT_TRUE(Has(blocked, "e1g1"));
  // Black's side.
  auto black = FromFen("r3k2r/8/8/8/8/8/8/4K3 b kq - 0 1").LegalMoveTexts();
  EXPECT_TRUE(Has(black, "e8g8"));
  EXPECT_TRUE(Has(black, "e8c8"));
}

TEST(ReferenceMoves, CastlingMovesTheRookAndRightsFollowMoves) {
  Board b = FromFen("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
  ASSERT_TRUE(b.PlayText("e1g1"));
  EXPECT_EQ(b.Fen(false), "r3k2r/8/8/8/8/8/8/R4RK1 b kq -");
  ASSERT_TRUE(b.PlayText("e8c8"));
  EXPECT_EQ(b.Fen(false), "2kr3r/8/8/8/8/8/8/R4RK1 w - -");
  Board c = FromFen("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
  ASSERT_TRUE(c.PlayText("a1a8"));  // takes the rook: both a-file rights go
  EXPECT_EQ(c.Castling(), 1 | 4);
}

TEST(ReferenceMoves, PromotionsToAllFourPieces) {
  Board b = FromFen("1n5k/P7/8/8/8/8/8/K7 w - - 0 1");
  auto moves = b.LegalMoveTexts();
  for (const char* text : {"a7a8q", "a7a8r", "a7a8b", "a7a8n", "a7b8q", "a7b8r", "a7b8b", "a7b8n"})
    EXPECT_TRUE(Has(moves, text)) << text;
  EXPECT_FALSE(Has(moves, "a7a8"));
  ASSERT_TRUE(b.PlayText("a7b8n"));
  EXPECT_EQ(b.Fen(false), "1N5k/8/8/8/8/8/8/K7 b - -");
}

TEST(ReferenceMoves, PinnedMenMoveOnlyAlongThePin) {
  auto knight = FromFen("4k3/4r3/8/8/8/8/4N3/4K3 w - - 0 1").LegalMoveTexts();
  for (const std::string& m : knight) EXPECT_NE(m.substr(0, 2), "e2") << m;
  auto rook = FromFen("4k3/4r3/8/8/8/8/4R3/4K3 w - - 0 1").LegalMoveTexts();
  std::set<std::string> rookMoves;
  for (const std::string& m : rook)
    if (m.substr(0, 2) == "e2") rookMoves.insert(m);
  EXPECT_EQ(rookMoves, (std::set<std::string>{"e2e3", "e2e4", "e2e5", "e2e6", "e2e7"}));
}

TEST(ReferenceMoves, DoubleCheckLeavesOnlyKingMoves) {
  // Rook on e8 and bishop on b4 both give check; the knight could take the
  // bishop and the rook could block the file, but not both at once.
  Board b = FromFen("4r1k1/8/8/8/1b6/3N4/8/R3K3 w Q - 0 1");
  ASSERT_TRUE(b.InCheck());
  auto moves = b.LegalMoveTexts();
  ASSERT_FALSE(moves.empty());
  for (const std::string& m : moves) EXPECT_EQ(m.substr(0, 2), "e1") << m;
  EXPECT_FALSE(Has(moves, "e1c1"));
  EXPECT_FALSE(Has(moves, "e1d2"));  // still on the bishop's diagonal
  EXPECT_FALSE(Has(moves, "e1e2"));  // still on the rook's file
}

TEST(ReferenceMoves, MateAndStalemateHaveNoMoves) {
  Board mate = FromFen("rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3");
  EXPECT_TRUE(mate.LegalMoves().empty());
  EXPECT_TRUE(mate.InCheck());
  Board stale = FromFen("7k/5Q2/6K1/8/8/8/8/8 b - - 0 1");
  EXPECT_TRUE(stale.LegalMoves().empty());
  EXPECT_FALSE(stale.InCheck());
  std::mt19937_64 rng(1);
  std::string before = stale.Fen();
  EXPECT_FALSE(stale.PlayRandom(rng));
  EXPECT_EQ(stale.Fen(), before);
}

TEST(ReferenceFen, RoundTripAndRejects) {
  for (const char* fen : {KIWIPETE, ENDGAME_ROOK, PROMOTIONS, PROMOTIONS_MIRRORED, CHECKS})
    EXPECT_EQ(FromFen(fen).Fen(), fen);
  EXPECT_EQ(Board().Fen(false), START_FEN);
  Board b;
  EXPECT_FALSE(b.SetFen("8/8/8/8/8/8/8/8 w - -"));                 // no kings
  EXPECT_FALSE(b.SetFen("rnbqkbnr/pppppppp/9/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -"));
  EXPECT_FALSE(b.SetFen("rnbqkbnr/pppppppp/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -"));  // 7 ranks
  EXPECT_FALSE(b.SetFen("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR x KQkq -"));
  EXPECT_EQ(b.Fen(false), START_FEN);  // left alone by the failures
}

TEST(ReferenceFen, RecordRoundTrip) {
  for (const char* fen : {KIWIPETE, ENDGAME_ROOK, PROMOTIONS, CHECKS}) {
    Board b = FromFen(fen);
    auto record = std::make_unique<Position>();
    b.FillRecord(record.get());
    Board back;
    back.SetFromRecord(*record, b.Side());
    EXPECT_EQ(back.Fen(false), b.Fen(false));
    EXPECT_EQ(popcount(record->occupied), popcount(record->colourBits[0]) +
                                               popcount(record->colourBits[1]));
    EXPECT_EQ(record->kingSquare[0], uint32_t(b.KingSquare(0)));
    EXPECT_EQ(record->kingSquare[1], uint32_t(b.KingSquare(1)));
  }
}

TEST(ReferencePlayout, RandomGamesStayLegal) {
  std::mt19937_64 rng(20240607);
  int plies = 0, promotions = 0, castles = 0, enPassants = 0;
  for (int game = 0; game < 40; ++game) {
    Board b;
    for (int ply = 0; ply < 300; ++ply) {
      std::string text;
      if (!b.PlayRandom(rng, &text)) break;
      ++plies;
      promotions += text.size() == 5;
      castles += (text == "e1g1" || text == "e1c1" || text == "e8g8" || text == "e8c8") &&
                 std::abs(b.ManAt(text[2] - 'a' + (text[3] - '1') * 8)) == reference::KING;
      // The side that just moved is never left in check.
      ASSERT_FALSE(b.IsAttacked(b.KingSquare(b.Side() ^ 1), b.Side())) << b.Fen();
      Board again;
      ASSERT_TRUE(again.SetFen(b.Fen())) << b.Fen();
      ASSERT_EQ(again.Fen(), b.Fen());
      if (b.EpSquare() >= 0) {
        auto moves = b.LegalMoveTexts();
        for (const std::string& m : moves)
          if (m.substr(2, 2) == std::string{char('a' + (b.EpSquare() & 7)),
                                             char('1' + (b.EpSquare() >> 3))} &&
              std::abs(b.ManAt((m[1] - '1') * 8 + (m[0] - 'a'))) == reference::PAWN)
            ++enPassants;
      }
      if (b.HalfmoveClock() >= 100) break;
    }
  }
  EXPECT_GT(plies, 2000);
  // The walks reach the special moves, so later users of playouts see them.
  EXPECT_GT(promotions, 0);
  EXPECT_GT(castles, 0);
  EXPECT_GT(enPassants, 0);
}

TEST(ReferenceEngineMoves, WordsReadBackAsTheirTexts) {
  for (const char* fen : {KIWIPETE, ENDGAME_ROOK, PROMOTIONS, CHECKS,
                          "r3k2r/8/8/8/3pP3/8/8/R3K2R b KQkq e3 0 1"}) {
    Board b = FromFen(fen);
    std::vector<std::string> texts = b.LegalMoveTexts();
    std::vector<Move> words = reference::EngineMoves(b);
    ASSERT_EQ(words.size(), texts.size()) << fen;
    std::set<Move> identities;
    for (size_t i = 0; i < words.size(); ++i) {
      const std::string& text = texts[i];
      Move w = words[i];
      char buffer[8];
      MoveToText(w, buffer);
      EXPECT_EQ(std::string(buffer), text) << fen;
      int from = (text[1] - '1') * 8 + (text[0] - 'a');
      int to = (text[3] - '1') * 8 + (text[2] - 'a');
      EXPECT_EQ(move_from(w), from);
      EXPECT_EQ(move_to(w), to);
      EXPECT_EQ(is_promotion(w), text.size() == 5) << text;
      bool kingMove = std::abs(b.ManAt(from)) == reference::KING;
      EXPECT_EQ(is_castling(w), kingMove && std::abs(from - to) == 2) << text;
      bool enPassant = std::abs(b.ManAt(from)) == reference::PAWN && ((from ^ to) & 7) &&
                       b.ManAt(to) == reference::EMPTY;
      EXPECT_EQ((w & MOVE_EN_PASSANT) != 0, enPassant) << text;
      identities.insert(w & MOVE_IDENTITY);
    }
    // Promotions share their squares, so identities cover the rest.
    size_t promotions = std::count_if(texts.begin(), texts.end(),
                                      [](const std::string& t) { return t.size() == 5; });
    EXPECT_EQ(identities.size(), texts.size() - promotions * 3 / 4) << fen;
  }
}

}  // namespace
