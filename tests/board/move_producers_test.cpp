// The producers against the reference generator: every legal move exactly
// once, each word making the move it names, and nothing illegal that the
// king test after the make would let through.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "board/make_unmake.h"
#include "board/move.h"
#include "board/move_producers.h"
#include "board/position.h"
#include "board/producer_harness.h"
#include "board/reference_moves.h"
#include "clock/node_count.h"
#include "eval/capture_lists.h"

namespace {

using reference::Board;

const char* const CLASSIC_POSITIONS[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -",
    "r2q1rk1/pP1p2pp/Q4n2/bbp1p3/Np6/1B3NBn/pPPP1PPP/R3K2R b KQ -",
    "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -",
    "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - -",
    // Checks, pins, en passant and promotions in small spaces.
    "8/8/8/2k5/3Pp3/8/8/4K2R b K d3",        // en passant that removes a checking pawn
    "8/8/8/8/k2Pp2Q/8/8/3K4 b - d3",         // en passant pinned along the rank
    "4k3/8/8/8/8/8/8/4K2R w K -",            // castling that gives no check
    "5k2/8/8/8/8/8/8/4K2R w K -",            // castling that checks along the f-file
    "3k4/1P6/8/8/8/8/6p1/4K2R b K -",        // promotions both sides, one into a rook's line
    "r3k2r/8/8/8/8/8/8/R3K2R w KQkq -",
    "4k3/8/8/8/1b6/8/3P4/4K3 w - -",         // a pawn pinned on a diagonal
    "4k3/4r3/8/8/8/8/4R3/4K3 w - -",         // a rook pinned on its file
    "4k3/8/8/8/8/8/1q6/K7 w - -",            // the king alone against a queen check
    "4k3/8/3n4/8/8/8/8/R3K2R w KQ -",
    "8/4k1P1/8/8/8/8/8/4K3 w - -",           // promotion giving check as a knight
    "2r1k3/1P6/8/8/8/8/8/4K3 w - -",         // capture promotions
    "4k3/8/8/8/8/8/8/r3K3 w - -",            // king in check from a rook on the rank
    "4k3/6N1/8/8/8/8/8/4K3 b - -",           // knight check
    "4k3/8/8/4q3/8/8/8/4K3 w - -",
    "2k5/8/8/8/8/8/4r3/R3K2R w KQ -",        // castling squares under attack
    "8/5bk1/8/2Pp4/8/1K6/8/8 w - d6",        // en passant with a bishop looking at the king
    "1k6/1b6/8/8/4P3/5K2/8/8 w - -",
    "6k1/6P1/8/8/8/8/8/K7 w - -",            // a blocked pawn before the king
    "k7/8/8/8/8/8/1p6/R2K4 b - -",           // capture-promotion of a rook, or a step
};

// The four-field FEN after a made move, read back from the engine's record.
std::string FenAfter(int moverSide) {
  Board after;
  after.SetFromRecord(position, moverSide ^ 1);
  return after.Fen(false);
}

template <int Us>
void MakeUnmake(Move m, std::string* fenAfter, bool* kingSafe) {
  static NodeRecord stack[4];
  node_countdown = int64_t(1) << 62;  // no periodic check (it would read our input)
  SavedState saved;
  MakeMove<Us>(m, &saved, &stack[1]);
  *fenAfter = FenAfter(Us);
  *kingSafe = !harness::InCheck(Us);
  UnmakeMove<Us>(m, &saved);
}

struct Checked {
  int positions = 0;
  int moves = 0;
  int inCheck = 0;
  int illegalRejected = 0;
  int promotions = 0;
  int enPassant = 0;
  int castlings = 0;
  int checksMarked = 0;
  int threats = 0;
};

// Compares the produced words with the reference on the current position.
// `exact`: also make each word and compare the board that results.
void CheckProduced(const Board& board, const std::vector<Move>& words, bool exact, const std::string& where,
                   Checked* seen) {
  const int side = board.Side();
  const std::set<std::string> legal = harness::ProducedLegalTexts(board);
  std::map<std::string, int> produced;
  std::map<std::string, std::string> expectedFen;
  if (exact) {
    for (const auto& move : board.LegalMoves()) {
      Board next = board;
      next.Play(move);
      expectedFen[reference::MoveText(move)] = next.Fen(false);
    }
  }
  for (const Move m : words) {
    const std::string text = MoveToText(m);
    ++produced[text];
    seen->checksMarked += (m & MOVE_CHECK) != 0;
    seen->threats += (m & THREAT_MARK) != 0;
    if (!legal.count(text)) {
      // Only a word whose make leaves our king attacked may stand here.
      std::string fen;
      bool safe = false;
      if (side == WHITE) MakeUnmake<WHITE>(m, &fen, &safe);
      else MakeUnmake<BLACK>(m, &fen, &safe);
      EXPECT_FALSE(safe) << where << ": produced a legal-looking word that is not legal: " << text;
      ++seen->illegalRejected;
      continue;
    }
    if (exact) {
      std::string fen;
      bool safe = false;
      if (side == WHITE) MakeUnmake<WHITE>(m, &fen, &safe);
      else MakeUnmake<BLACK>(m, &fen, &safe);
      EXPECT_TRUE(safe) << where << " " << text;
      EXPECT_EQ(fen, expectedFen[text]) << where << ": the word of " << text << " makes another move";
    }
  }
  for (const std::string& t : legal) {
    EXPECT_EQ(produced[t], 1) << where << ": legal move " << t << " produced " << produced[t] << " times";
    seen->promotions += t.size() == 5;
  }
  for (const auto& move : board.LegalMoves()) {
    seen->enPassant += (move.flags & reference::MOVE_IS_EN_PASSANT) != 0;
    seen->castlings += (move.flags & reference::MOVE_IS_CASTLE) != 0;
  }
  seen->moves += int(legal.size());
}

void CheckAllVariants(const Board& board, std::mt19937_64& rng, bool exact, Checked* seen) {
  const std::string fen = board.Fen(false);
  ASSERT_EQ(SetPositionFromFen(fen.c_str()), 1) << fen;
  const int side = board.Side();
  ASSERT_FALSE(board.IsAttacked(board.KingSquare(side ^ 1), side)) << fen << ": the side not to move is in check";
  const bool check = harness::InCheck(side);
  ASSERT_EQ(check, board.InCheck()) << fen;
  seen->inCheck += check;
  ++seen->positions;
  for (int variant = QUIESCE_NARROW; variant <= RESTRICTED_LOW; ++variant) {
    harness::NodeStack stack;
    stack.records[0].currentMove = (rng() & 1) ? 0x18000000 : 0;  // the parent took something, or not
    stack.node()->killers[0] = 0;
    const Move hash = (variant & 1) ? harness::HashFormMove(board, rng) : 0;
    const std::vector<Move> words = harness::ProduceAll(side, variant, stack.node(), hash, int(rng() & 1));
    CheckProduced(board, words, exact && variant == CAPTURES_WIDE,
                  fen + " variant " + std::to_string(variant) + (hash ? " hash " + std::string(MoveToText(hash)) : ""),
                  seen);
    if (check) break;  // evasions do not depend on the variant
  }
}

TEST(ProducerCompleteness, ClassicAndConstructedPositionsGiveEveryLegalMoveOnce) {
  std::mt19937_64 rng(11);
  Checked seen;
  for (const char* fen : CLASSIC_POSITIONS) {
    Board board;
    ASSERT_TRUE(board.SetFen(fen)) << fen;
    ASSERT_NO_FATAL_FAILURE(CheckAllVariants(board, rng, true, &seen));
    // The mirror image, so both colours' copies see each position.
    for (const auto& move : board.LegalMoves()) {
      Board next = board;
      next.Play(move);
      ASSERT_NO_FATAL_FAILURE(CheckAllVariants(next, rng, true, &seen));
    }
  }
  EXPECT_GT(seen.inCheck, 20);
  EXPECT_GT(seen.enPassant, 3);
  EXPECT_GT(seen.castlings, 20);
  EXPECT_GT(seen.promotions, 50);
}

TEST(ProducerCompleteness, RandomPlayoutsGiveEveryLegalMoveOnceForEveryVariant) {
  std::mt19937_64 rng(0x70726f64);
  Checked seen;
  for (int game = 0; game < 60; ++game) {
    Board board;
    ASSERT_TRUE(board.SetFen(CLASSIC_POSITIONS[game % 7]));
    for (int ply = 0; ply < 120; ++ply) {
      ASSERT_NO_FATAL_FAILURE(CheckAllVariants(board, rng, ply % 4 == 0, &seen));
      if (testing::Test::HasFailure()) return;
      if (!board.PlayRandom(rng)) break;
    }
  }
  EXPECT_GT(seen.positions, 4000);
  EXPECT_GT(seen.inCheck, 100);
  EXPECT_GT(seen.enPassant, 10);
  EXPECT_GT(seen.castlings, 100);
  EXPECT_GT(seen.promotions, 100);
  EXPECT_GT(seen.checksMarked, 1000);
  EXPECT_GT(seen.threats, 100);
}

}  // namespace
