// The quiescence routines on positions whose outcome is known by hand.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "board/position.h"
#include "clock/node_count.h"
#include "eval/evaluate.h"
#include "hash/table.h"
#include "search/ordering_tables.h"
#include "search/quiescence.h"
#include "search/search_common.h"
#include "support/fen_flip.h"

namespace {

constexpr int32_t INF = 20000;

class Quiescence : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (!hash_table) {
      ASSERT_TRUE(BuildHashTable(1, false).ok);
    }
  }
  void SetUp() override {
    ClearHashTable();
    ResetOrderingTables();
    node_countdown = int64_t(1) << 62;  // no periodic check: it would read our input
  }

  // Sets the position and prepares the root record as the search would
  // leave it after a null move from its parent: the parent holds the
  // evaluation from the other side, so the root takes it over.
  int Prepare(const std::string& fen) {
    EXPECT_EQ(SetPositionFromFen(fen.c_str()), 1) << fen;
    const int side = sideToMove;
    for (int i = 0; i < NODE_STACK_SIZE; ++i) {
      NodeRecord& r = node_stack[i];
      r = NodeRecord{};
      r.sideIndex = (side + i + 1) & 1;  // record 1 has the side to move
      r.sideSign = r.sideIndex ? -1 : 1;
      r.otherSign = -r.sideSign;
    }
    // The parent's evaluation, with the root's tempo, so that the root takes
    // over exactly the static score of its own side.
    NodeRecord& parent = node_stack[0];
    parent.sideSign = node_stack[1].sideSign;
    const int32_t white = Evaluate(&parent);
    parent.sideSign = -parent.sideSign;
    parent.staticScore = side == WHITE ? -white : white;
    return side;
  }

  int32_t Static(const std::string& fen) {
    const int side = Prepare(fen);
    const int32_t white = Evaluate(&node_stack[1]);
    return side == WHITE ? white : -white;
  }

  // An open window around the static score: far above it the capture list
  // keeps only the men that could reach beta (an infinite beta keeps queens).
  int32_t Open(const std::string& fen, int32_t below = 100, int32_t above = 450) {
    const int32_t s = Static(fen);
    return Open(fen, s - below, s + above, true);
  }
  int32_t Open(const std::string& fen, int32_t alpha, int32_t beta, bool) {
    const int side = Prepare(fen);
    return side == WHITE ? QuiescePv<WHITE>(alpha, beta, 0, &node_stack[1])
                         : QuiescePv<BLACK>(alpha, beta, 0, &node_stack[1]);
  }

  int32_t Null(const std::string& fen, int32_t beta) {
    const int side = Prepare(fen);
    return side == WHITE ? Quiesce<WHITE>(beta, 0, &node_stack[1]) : Quiesce<BLACK>(beta, 0, &node_stack[1]);
  }
};

// What an open window around the static score gains: a loose rook about a
// rook; a rook defended by a pawn is not worth the queen, so the side stands
// pat; pawn takes knight, the knight's defender takes back: a knight for a
// pawn (below 250 over the static score the list still takes knights).
TEST_F(Quiescence, OpenWindowGainsWhatTheExchangesWin) {
  const struct {
    const char* fen;
    int32_t below, above, least, under;
  } rows[] = {
      {"4k3/8/8/3r4/8/8/3Q4/4K3 w - -", 100, 450, 351, INF},
      {"4k3/2p5/3r4/8/8/8/3Q4/4K3 w - -", 100, 450, 6, 100},
      {"4k3/8/4p3/3n4/4P3/8/8/4K3 w - -", 100, 250, 151, 300},
  };
  for (const auto& r : rows) {
    const int32_t gain = Open(r.fen, r.below, r.above) - Static(r.fen);
    EXPECT_GE(gain, r.least) << r.fen;
    EXPECT_LT(gain, r.under) << r.fen;
  }
}

TEST_F(Quiescence, BothColoursAgreeOnAPositionAndItsFlip) {
  const char* fens[] = {
      "4k3/8/8/3r4/8/8/3Q4/4K3 w - -",
      "r1bqkb1r/pppp1ppp/2n2n2/4p2Q/2B1P3/8/PPPP1PPP/RNB1K1NR w KQkq -",
      "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
      "4k3/8/4p3/3n4/4P3/8/8/4K3 w - -",
      "2r3k1/5ppp/8/8/8/8/5PPP/2R3K1 w - -",
  };
  for (const char* fen : fens) {
    const int32_t white = Open(fen);
    const int32_t black = Open(FlipFen(fen));
    EXPECT_EQ(white, black) << fen;
    for (int32_t beta : {-300, -20, 0, 40, 400}) EXPECT_EQ(Null(fen, beta), Null(FlipFen(fen), beta)) << fen << " beta " << beta;
  }
}

TEST_F(Quiescence, AKingCaptureAnswersTheIllegalMoveBeforeIt) {
  // Black has just left the king in the rook's line: White takes it.
  const std::string fen = "4k3/8/8/8/8/8/8/4RK2 w - -";
  Prepare(fen);
  node_stack[1].currentMove = 0x1000;  // some move led here: the lazy path runs
  const int32_t v = Quiesce<WHITE>(5000, 0, &node_stack[2]);
  EXPECT_EQ(v, KING_CAPTURE_SCORE - 2);
  Prepare(fen);
  node_stack[1].currentMove = 0x1000;
  EXPECT_EQ(QuiescePv<WHITE>(-INF, 5000, 0, &node_stack[2]), KING_CAPTURE_SCORE - 2);
}

TEST_F(Quiescence, MateInCheckIsThePlyIndexBelowTheMateScore) {
  const std::string mated = "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq -";
  Prepare(mated);
  EXPECT_EQ(QuiescePvEvasions<WHITE>(-INF, INF, 0, &node_stack[1]), 1 - MATED_SCORE);
  Prepare(FlipFen(mated));
  EXPECT_EQ(QuiescePvEvasions<BLACK>(-INF, INF, 0, &node_stack[1]), 1 - MATED_SCORE);
}

TEST_F(Quiescence, ACheckWithNoEscapeIsTakenForTheKingCaptureItForces) {
  // The queen takes on f7 with the bishop behind her: nothing blocks, takes
  // or flees; the list marks it like a king capture and the node ends there.
  const std::string mate = "r1bqkb1r/pppp1ppp/2n2n2/4p2Q/2B1P3/8/PPPP1PPP/RNB1K1NR w KQkq -";
  EXPECT_EQ(Open(mate), KING_CAPTURE_SCORE - 1);
  EXPECT_EQ(Open(FlipFen(mate)), KING_CAPTURE_SCORE - 1);
}

TEST_F(Quiescence, AFailHighLeavesALowerBoundOfDepthTwo) {
  const std::string fen = "4k3/8/8/3r4/8/8/3Q4/4K3 w - -";
  const int32_t s = Static(fen);
  const int32_t beta = s + 200;  // the rook capture reaches it, standing pat does not
  const int32_t v = Null(fen, beta);
  ASSERT_GE(v, beta);
  const HashBucket bucket = LoadBucket(position.state.key);
  bool found = false;
  for (uint64_t e : bucket.word) {
    if (!HashEntry::Matches(e, position.state.key) || !HashEntry::IsLower(e)) continue;
    found = true;
    EXPECT_EQ(HashEntry::Depth(e), 2);
    EXPECT_EQ(HashEntry::Value(e), v);
    EXPECT_EQ(HashEntry::BestMove(e), Move(11 << 10 | 35));  // d2 takes d5
  }
  EXPECT_TRUE(found);
}

TEST_F(Quiescence, ARepeatedPositionIsADraw) {
  Prepare("4k3/8/8/3r4/8/8/3Q4/4K3 w - -");
  position.state.fiftyCount = 4;
  position.state.historyCount = 4;
  position.keyHistory[0] = position.state.key;
  EXPECT_EQ(QuiescePv<WHITE>(-INF, INF, 0, &node_stack[1]), 0);
  EXPECT_EQ(Quiesce<WHITE>(100, 0, &node_stack[1]), 0);
}

}  // namespace
