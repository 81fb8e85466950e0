// The move picker against the rules of chess: from each start stage a node
// gets every move it is meant to see exactly once, the hash move first, and
// nothing else but words that the king test after the make rejects; the
// stages that leave kinds of move out leave out exactly those.
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
#include "eval/attack_maps.h"
#include "eval/capture_lists.h"
#include "report/output.h"
#include "search/move_picker.h"
#include "search/ordering_margins.h"
#include "search/ordering_seeds.h"
#include "search/ordering_tables.h"

namespace {

using reference::Board;

const char* const START_POSITIONS[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -",
    "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -",
    "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - -",
    "3k4/1P6/8/8/8/8/6p1/4K2R b K -",
    "2r1k3/1P6/8/8/8/8/8/4K3 w - -",
    "r1bqkb1r/pppp1ppp/2n2n2/4p2Q/2B1P3/8/PPPP1PPP/RNB1K1NR w KQkq -",
};

struct Picked {
  std::vector<Move> words;
  std::vector<int> stages;
};

template <int Us>
Picked Drain(MovePicker* picker, NodeRecord* node) {
  Picked out;
  for (int guard = 0; guard < 400; ++guard) {
    const Move m = NextMove<Us>(picker, node);
    if (!m) break;
    out.words.push_back(m);
    out.stages.push_back(PickedStage(picker));
  }
  // Once finished, a picker stays finished.
  EXPECT_EQ(NextMove<Us>(picker, node), 0u);
  return out;
}

Picked DrainSide(int side, MovePicker* picker, NodeRecord* node) {
  return side == WHITE ? Drain<WHITE>(picker, node) : Drain<BLACK>(picker, node);
}

void Start(int side, MovePicker* p, int stage, Move first, Move second, int depth, int delta, bool cut, int budget) {
  if (side == WHITE) StartPicker<WHITE>(p, stage, first, second, depth, delta, cut, budget);
  else StartPicker<BLACK>(p, stage, first, second, depth, delta, cut, budget);
}

// An underpromotion that the capture list does not give: every rook one, and
// a knight one unless the knight checks from its square.
bool OmittedUnderpromotion(const Board& board, const std::string& text) {
  if (text.size() != 5) return false;
  if (text[4] == 'r') return true;
  if (text[4] != 'n') return false;
  const int to = (text[2] - 'a') + 8 * (text[3] - '1');
  const int king = board.KingSquare(board.Side() ^ 1);
  const int files = std::abs((to & 7) - (king & 7)), ranks = std::abs((to >> 3) - (king >> 3));
  return files * ranks != 2;
}

struct Tally {
  int positions = 0;
  int inCheck = 0;
  int deferred = 0;
  int illegalRejected = 0;
  int underpromotions = 0;
  int secondMoves = 0;
};

// Every word is a move of the position or one that the king test rejects;
// every text of `expected` comes exactly once; no legal text outside it.
void CheckSet(const Board& board, const Picked& picked, const std::set<std::string>& expected,
              const std::string& where, Tally* tally) {
  const std::set<std::string> legal = harness::ProducedLegalTexts(board);
  std::map<std::string, int> seen;
  for (const Move m : picked.words) {
    const std::string text = MoveToText(m);
    EXPECT_EQ(++seen[text], 1) << where << ": " << text << " given twice";
    if (legal.count(text)) {
      EXPECT_TRUE(expected.count(text)) << where << ": gave " << text << ", a move this stage leaves out";
    } else {
      EXPECT_FALSE(harness::KingSafeAfter(board.Side(), m)) << where << ": gave " << text << ", which is no legal move";
      ++tally->illegalRejected;
    }
  }
  for (const std::string& t : expected) EXPECT_EQ(seen[t], 1) << where << ": " << t << " missing";
}

// The stages of a run follow the table: non-decreasing, within `allowed`.
void CheckStages(const Picked& picked, const std::set<int>& allowed, const std::string& where) {
  for (size_t i = 0; i < picked.stages.size(); ++i) {
    EXPECT_TRUE(allowed.count(picked.stages[i])) << where << ": a move from stage " << picked.stages[i];
    if (i) {
      EXPECT_LE(picked.stages[i - 1], picked.stages[i]) << where;
    }
  }
}

// The winning captures come largest first; what is put off needed the
// exchange test.
void CheckCapturePhase(const Picked& picked, int captureStage, int deferredStage, const std::string& where,
                       Tally* tally) {
  Move last = ~Move(0);
  for (size_t i = 0; i < picked.words.size(); ++i) {
    const Move m = picked.words[i];
    if (picked.stages[i] == captureStage) {
      EXPECT_LE(m, last) << where << ": capture stage out of order";
      EXPECT_NE(m & PRIORITY_BITS, 0u) << where;
      last = m;
    } else if (picked.stages[i] == deferredStage) {
      EXPECT_NE(m & PRIORITY_BITS, 0u) << where << ": deferred word from outside the winning part";
      EXPECT_EQ(m & NO_EXCHANGE_TEST, 0u) << where << ": deferred word that needs no exchange test";
      ++tally->deferred;
    }
  }
}

// The wide capture list into the picker's own list, through the shared runner.
void MakeWideList(int side, MovePicker* p, NodeRecord* node, Move hash) {
  const Bitboard enemies = position.colourBits[side ^ 1];
  if (side == WHITE) harness::RunCaptureList<WHITE>(CAPTURES_WIDE, p->list, enemies, node, hash, p->historyRow);
  else harness::RunCaptureList<BLACK>(CAPTURES_WIDE, p->list, enemies, node, hash, p->historyRow);
}

void CheckPosition(const Board& board, std::mt19937_64& rng, Tally* tally) {
  const std::string fen = board.Fen(false);
  ASSERT_EQ(SetPositionFromFen(fen.c_str()), 1) << fen;
  const int side = board.Side();
  ++tally->positions;
  const std::set<std::string> legal = harness::ProducedLegalTexts(board);
  harness::NodeStack stack;
  NodeRecord* node = stack.node();
  stack.records[0].currentMove = rng() & 0x3fffffff;
  const Move killer = harness::HashFormMove(board, rng, false);
  node->killers[0] = killer;
  node->killers[1] = harness::HashFormMove(board, rng, false);
  static MovePicker picker;

  if (board.InCheck()) {
    ++tally->inCheck;
    Start(side, &picker, PICK_EVASIONS, 0, 0, 12, 0, false, 0);
    if (side == WHITE) {
      GenerateEvasions<WHITE>(picker.list, ~position.colourBits[WHITE], true);
      MarkEvasions<WHITE>(picker.list, node);
    } else {
      GenerateEvasions<BLACK>(picker.list, ~position.colourBits[BLACK], true);
      MarkEvasions<BLACK>(picker.list, node);
    }
    const Picked picked = DrainSide(side, &picker, node);
    CheckSet(board, picked, legal, fen + " stage 30", tally);
    CheckStages(picked, {30}, fen + " stage 30");
    for (size_t i = 1; i < picked.words.size(); ++i) EXPECT_LE(picked.words[i], picked.words[i - 1]) << fen;
    return;
  }

  std::set<std::string> withoutUnder;
  for (const std::string& t : legal)
    if (!OmittedUnderpromotion(board, t)) withoutUnder.insert(t);
  tally->underpromotions += int(legal.size() - withoutUnder.size());

  const int depth = int(rng() % 40);
  const int delta = int(rng() % 400) - 200;
  const bool child = rng() % 4 == 0;
  is_child = child;

  {  // Stage 4: hash move, captures, quiet moves, what was put off.
    const Move first = harness::HashFormMove(board, rng, false);
    AttackMaps(node);
    Start(side, &picker, PICK_FIRST, first, 0, depth, delta, false, int(rng() % 2));
    const Picked picked = DrainSide(side, &picker, node);
    const std::string where = fen + " stage 4" + (first ? std::string(" hash ") + MoveToText(first) : "");
    if (first) {
      ASSERT_FALSE(picked.words.empty()) << where;
      EXPECT_EQ(picked.words[0], first) << where;
      EXPECT_EQ(picked.stages[0], 4) << where;
    }
    CheckSet(board, picked, withoutUnder, where, tally);
    CheckStages(picked, {4, 6, 9, 10}, where);
    CheckCapturePhase(picked, 6, 10, where, tally);
  }

  {  // Stage 11: three hash moves, captures, quiet moves, the put off, underpromotions.
    Move first = harness::HashFormMove(board, rng, false);
    Move second = harness::HashFormMove(board, rng, true);
    if (second && first && !((second ^ first) & MOVE_IDENTITY)) second = 0;
    Move third = harness::HashFormMove(board, rng, true);
    if (third && ((first && !((third ^ first) & MOVE_IDENTITY)) || (second && !((third ^ second) & MOVE_IDENTITY))))
      third = 0;
    tally->secondMoves += second != 0;
    AttackMaps(node);
    Start(side, &picker, PICK_HASH_MOVES, first, second, depth, delta, true, int(rng() % 2));
    picker.third = third;
    const Picked picked = DrainSide(side, &picker, node);
    std::string where = fen + " stage 11";
    for (const Move m : {first, second, third}) where += std::string(" ") + (m ? MoveToText(m) : "-");
    std::vector<Move> hashMoves;
    for (const Move m : {first, second, third})
      if (m) hashMoves.push_back(m);
    ASSERT_GE(picked.words.size(), hashMoves.size()) << where;
    for (size_t i = 0; i < hashMoves.size(); ++i) EXPECT_EQ(picked.words[i], hashMoves[i]) << where;
    CheckSet(board, picked, legal, where, tally);
    CheckStages(picked, {11, 12, 13, 15, 18, 19, 21}, where);
    // The quiet maps no longer hold the second and third moves.
    for (const Move m : {second, third}) {
      if (!m) continue;
      EXPECT_FALSE(node->moveTargets[move_from(m)] >> move_to(m) & 1) << where;
      if ((m & MOVE_MOVER) == 0xc0) {
        EXPECT_FALSE(node->pawnPushes >> move_to(m) & 1) << where;
      }
    }
    CheckCapturePhase(picked, 15, 19, where, tally);
  }

  {  // Stage 0 after the node has taken the winning part of its own capture
     // list: the rest of that list and the quiet moves.
    AttackMaps(node);
    Start(side, &picker, PICK_QUIETS_ONLY, 0, 0, depth, delta, false, int(rng() % 2));
    MakeWideList(side, &picker, node, 0);
    std::set<std::string> expected = withoutUnder;
    Move* out = picker.list;
    for (Move* in = picker.list; *in; ++in) {
      if (*in & PRIORITY_BITS) expected.erase(MoveToText(*in));
      else *out++ = *in;
    }
    *out = 0;
    const Picked picked = DrainSide(side, &picker, node);
    CheckSet(board, picked, expected, fen + " stage 0", tally);
    CheckStages(picked, {2}, fen + " stage 0");
  }

  {  // Stage 6 after the node's own capture list, the hash move left out there.
    const Move first = harness::HashFormMove(board, rng, false);
    AttackMaps(node);
    Start(side, &picker, PICK_GOOD_CAPTURES, first, 0, depth, delta, false, 0);
    MakeWideList(side, &picker, node, first);
    const Picked picked = DrainSide(side, &picker, node);
    std::set<std::string> expected = withoutUnder;
    if (first) expected.erase(MoveToText(first));
    CheckSet(board, picked, expected, fen + " stage 6", tally);
    CheckStages(picked, {6, 9, 10}, fen + " stage 6");
  }

  {  // Stage 27: the hash move, then no quiet move from a generator.
    const Move first = harness::HashFormMove(board, rng, false);
    AttackMaps(node);
    Start(side, &picker, PICK_FAR_BELOW, first, 0, depth, delta, rng() & 1, 0);
    const Picked picked = DrainSide(side, &picker, node);
    const std::string where = fen + " stage 27";
    if (first) {
      ASSERT_FALSE(picked.words.empty()) << where;
      EXPECT_EQ(picked.words[0], first) << where;
    }
    CheckStages(picked, {27, 29}, where);
    std::set<std::string> given;
    for (size_t i = 0; i < picked.words.size(); ++i) {
      const Move m = picked.words[i];
      const std::string text = MoveToText(m);
      EXPECT_TRUE(given.insert(text).second) << where << ": " << text << " given twice";
      if (!legal.count(text)) {
        EXPECT_FALSE(harness::KingSafeAfter(side, m)) << where << ": " << text;
      }
      if (i == 0 && first) continue;
      const bool tactical = (m & (MOVE_VICTIM | MOVE_CHECK | THREAT_MARK)) || is_promotion(m);
      EXPECT_TRUE(tactical) << where << ": quiet move " << text;
    }
    // Every capture of a target is there: enemy pieces always, pawns only
    // with the all-targets byte.
    for (const auto& move : board.LegalMoves()) {
      const int victim = board.ManAt(move.to);
      if (!victim || move.promotion) continue;
      const int kind = victim < 0 ? -victim : victim;
      if (kind == reference::PAWN && !picker.allTargets) continue;
      EXPECT_TRUE(given.count(reference::MoveText(move))) << where << ": capture " << reference::MoveText(move) << " missing";
    }
  }
  is_child = false;
}

TEST(MovePicker, EveryStartStageGivesItsMovesOnceOverRandomPlayouts) {
  ResetOrderingTables();
  std::mt19937_64 rng(0x7069636b);
  Tally tally;
  for (int game = 0; game < 48; ++game) {
    Board board;
    ASSERT_TRUE(board.SetFen(START_POSITIONS[game % std::size(START_POSITIONS)]));
    for (int ply = 0; ply < 100; ++ply) {
      ASSERT_NO_FATAL_FAILURE(CheckPosition(board, rng, &tally));
      if (testing::Test::HasFailure()) return;
      if (!board.PlayRandom(rng)) break;
    }
  }
  is_child = false;
  // The runs must have met the rare paths.
  EXPECT_GT(tally.positions, 2500);
  EXPECT_GT(tally.inCheck, 100);
  EXPECT_GT(tally.deferred, 100);
  EXPECT_GT(tally.underpromotions, 20);
  EXPECT_GT(tally.secondMoves, 1000);
  EXPECT_GT(tally.illegalRejected, 0);
}

// ---------------------------------------------------------------------------
// Order of the quiet moves.

// The words of the quiet stage of a stage-4 run.
template <int Us>
std::vector<Move> QuietStage(NodeRecord* node, int budget) {
  static MovePicker picker;
  AttackMaps(node);
  StartPicker<Us>(&picker, PICK_FIRST, 0, 0, 10, 0, false, budget);
  std::vector<Move> quiets;
  while (const Move m = NextMove<Us>(&picker, node))
    if (PickedStage(&picker) == PICK_QUIETS) quiets.push_back(m);
  return quiets;
}

template <int Us>
std::vector<Move> QuietOrder(NodeRecord* node, int budget) {
  std::vector<Move> order = QuietStage<Us>(node, budget);
  for (Move& m : order) m &= 0xffff;
  return order;
}

template <int Us>
void CheckQuietOrder(std::mt19937_64& rng, int* checked) {
  harness::NodeStack stack;
  NodeRecord* node = stack.node();
  // The plain quiet words, without marks: no checks, threats or castling.
  node->killers[0] = node->killers[1] = 0;
  const std::vector<Move> all = QuietStage<Us>(node, 0);
  std::vector<Move> quiets;
  for (const Move m : all)
    if (!(m & (MOVE_CHECK | THREAT_MARK | MOVE_VICTIM)) && !is_castling(m)) quiets.push_back(m);
  if (quiets.size() < 8) return;
  std::shuffle(quiets.begin(), quiets.end(), rng);
  // Four marked moves, and last one whose history entry no other word of the
  // quiet stage shares, so that raising it raises that move alone.
  std::map<int, int> sharing;
  for (const Move m : all) ++sharing[int(m & 0x3ff)];
  std::vector<Move> chosen;
  for (const Move m : quiets)
    if (chosen.size() < 4) chosen.push_back(m & 0xffff);
  for (const Move m : quiets)
    if (chosen.size() == 4 && sharing[int(m & 0x3ff)] == 1 &&
        std::find(chosen.begin(), chosen.end(), m & 0xffff) == chosen.end())
      chosen.push_back(m & 0xffff);
  if (chosen.size() < 5) return;
  const Move previous = 0x1d5;  // some earlier move: its to-square and class index the counters
  stack.records[0].currentMove = previous;
  node->killers[0] = chosen[0];
  node->killers[1] = chosen[1];
  CounterMoves[previous & 0x1ff][0] = uint16_t(chosen[2] & 0xfdff);
  CounterMoves[previous & 0x1ff][1] = uint16_t(chosen[3] & 0xfdff);
  HistoryTable[chosen[4] & 0x3ff] = 32000;  // row 0: delta 0

  const std::vector<Move> order = QuietOrder<Us>(node, 0);
  std::vector<size_t> at;
  for (const Move m : chosen) {
    const auto it = std::find(order.begin(), order.end(), m);
    ASSERT_NE(it, order.end()) << MoveToText(m);
    at.push_back(size_t(it - order.begin()));
  }
  for (size_t i = 0; i < at.size(); ++i) EXPECT_EQ(at[i], i) << "mark " << i << " " << MoveToText(chosen[i]);

  // A shuffling child marks the killers only.
  is_child = true;
  const std::vector<Move> shuffled = QuietOrder<Us>(node, 1);
  is_child = false;
  ASSERT_GE(shuffled.size(), 2u);
  EXPECT_EQ(shuffled[0], chosen[0]);
  EXPECT_EQ(shuffled[1], chosen[1]);
  EXPECT_EQ(std::set<Move>(shuffled.begin(), shuffled.end()), std::set<Move>(order.begin(), order.end()));

  CounterMoves[previous & 0x1ff][0] = CounterMoves[previous & 0x1ff][1] = 0;
  HistoryTable[chosen[4] & 0x3ff] = 0;
  ++*checked;
}

TEST(Ordering, KillersThenCountersThenHistory) {
  ResetOrderingTables();
  std::mt19937_64 rng(0x6f726472);
  int checked = 0;
  for (int game = 0; game < 12; ++game) {
    Board board;
    ASSERT_TRUE(board.SetFen(START_POSITIONS[game % 6]));
    for (int ply = 0; ply < 60; ++ply) {
      if (!board.InCheck()) {
        ASSERT_EQ(SetPositionFromFen(board.Fen(false).c_str()), 1);
        if (board.Side() == WHITE) CheckQuietOrder<WHITE>(rng, &checked);
        else CheckQuietOrder<BLACK>(rng, &checked);
        if (testing::Test::HasFailure()) return;
      }
      if (!board.PlayRandom(rng)) break;
    }
  }
  ResetOrderingTables();
  EXPECT_GT(checked, 200);
}

// The stage that gives `text` in a stage-4 run on `fen` (White to move), or -1.
int StageOf(const char* fen, const char* text) {
  EXPECT_EQ(SetPositionFromFen(fen), 1) << fen;
  NodeRecord records[3] = {};
  static MovePicker picker;
  AttackMaps(&records[1]);
  StartPicker<WHITE>(&picker, PICK_FIRST, 0, 0, 8, 0, false, 0);
  while (const Move m = NextMove<WHITE>(&picker, &records[1]))
    if (std::string(MoveToText(m)) == text) return PickedStage(&picker);
  return -1;
}

// Men that cannot really take back do not count against a capture: one that
// shields its king, or its queen, from our slider; and, when we risk no more
// than a minor piece, one that shields any other man.
TEST(MovePicker, ExchangeTestLeavesOutShieldingDefenders) {
  // The knight on d7 is pinned to its king: Nxe5 wins a pawn.
  EXPECT_EQ(StageOf("4k3/3n4/8/1B2p3/8/5N2/8/4K3 w - -", "f3e5"), 6);
  EXPECT_EQ(StageOf("4k3/3n4/8/4p3/8/5N2/2B5/4K3 w - -", "f3e5"), 10);
  // The same for a rook, where only the pin and the queen screen count.
  EXPECT_EQ(StageOf("2k5/3n4/8/4p3/6B1/8/8/4RK2 w - -", "e1e5"), 6);
  EXPECT_EQ(StageOf("2k5/3n4/8/4p3/8/8/8/4RK2 w - -", "e1e5"), 10);
  // The knight on d6 shields the queen on e7 from the bishop: Rxf5 stands.
  EXPECT_EQ(StageOf("k7/4q3/3n4/5p2/1B6/8/8/K4R2 w - -", "f1f5"), 6);
  // It shields a rook instead: that counts only for a cheaper man than the rook.
  EXPECT_EQ(StageOf("k7/4r3/3n4/5p2/1B6/8/8/K4R2 w - -", "f1f5"), 10);
  EXPECT_EQ(StageOf("k7/4r3/3n4/5p2/1B6/6N1/8/K7 w - -", "g3f5"), 6);
  EXPECT_EQ(StageOf("k7/4r3/3n4/5p2/8/6N1/8/K7 w - -", "g3f5"), 10);
}

// ---------------------------------------------------------------------------
// Learning.

class Learning : public testing::Test {
 protected:
  void SetUp() override {
    ResetOrderingTables();
    ASSERT_EQ(SetPositionFromFen("r3k2r/pppq1ppp/2n1bn2/3pp3/3PP3/2N1BN2/PPPQ1PPP/R3K2R w KQkq -"), 1);
  }
  void TearDown() override { ResetOrderingTables(); }
  NodeRecord records[3] = {};
  NodeRecord* node = &records[1];
};

// A killer keeps its first order bits while credited again; a check bit
// goes once the move is credited without it and never comes back; a new
// killer keeps the low 49 bits of its word.
TEST_F(Learning, CreditMoveKeepsTheKillersAndTheCounterPair) {
  const Move quiet = TextToMove("a2a3", true) | Move(0x1234) << 32;
  const Move other = TextToMove("h2h3", true);
  const Move previous = TextToMove("e4d5", true);
  records[0].currentMove = previous;
  uint16_t* pair = CounterMoves[previous & 0x1ff];
  node->killers[0] = other;
  node->killers[1] = 0;
  CreditMove(quiet | MOVE_CHECK, 10, node, 0);
  EXPECT_EQ(node->killers[0], quiet | MOVE_CHECK);
  EXPECT_EQ(node->killers[1], other);
  EXPECT_EQ(pair[0], quiet & 0xfdff);
  CreditMove(TextToMove("a2a3", true) | MOVE_CHECK | Move(0x4321) << 32, 10, node, 0);
  EXPECT_EQ(node->killers[0], quiet | MOVE_CHECK);
  CreditMove(TextToMove("a2a3", true), 10, node, 0);
  EXPECT_EQ(node->killers[0], quiet);
  CreditMove(TextToMove("a2a3", true) | MOVE_CHECK, 10, node, 0);
  EXPECT_EQ(node->killers[0], quiet);
  EXPECT_EQ(node->killers[1], other);
  // The counter pair: the newest first, an entry already first stays.
  const Move b = TextToMove("b2b3", true);
  CreditMove(b, 6, node, 0);
  CreditMove(b, 6, node, 0);
  EXPECT_EQ(pair[0], b & 0xfdff);
  EXPECT_EQ(pair[1], quiet & 0xfdff);
  const Move wide = TextToMove("a2a3", true) | 0xfffe000000000000 | Move(0x1abcd) << 32;
  CreditMove(wide, 4, node, 1);
  EXPECT_EQ(node->killers[0], wide & ((Move(1) << 49) - 1));
  // After a null move the counters stay as they are; the rest still happens.
  std::vector<uint16_t> before(&CounterMoves[0][0], &CounterMoves[0][0] + 1024);
  records[0].currentMove = 0;
  const uint16_t h = HistoryEntry(0, b);
  CreditMove(b, 20, node, 0);
  EXPECT_TRUE(std::equal(before.begin(), before.end(), &CounterMoves[0][0]));
  EXPECT_EQ(node->killers[0], b);
  EXPECT_GT(HistoryEntry(0, b), h);
}

// History climbs toward its top without passing it and falls by a share of
// its value; the entries of the other row and the other check half stay.
TEST_F(Learning, HistoryRisesTowardTheTopAndFallsByItsShare) {
  const Move a = TextToMove("f3h4", true);
  const uint16_t otherRow = HistoryEntry(0, a);
  uint16_t& h = HistoryEntry(1, a);
  h = 0;
  for (int i = 0; i < 2000; ++i) {
    const uint16_t last = h;
    CreditMove(a, 30, node, 1);
    ASSERT_GE(h, last);
  }
  EXPECT_LT(h, 32765);
  EXPECT_GT(h, 32700);
  EXPECT_EQ(HistoryEntry(0, a), otherRow);
  const Move p = TextToMove("a2a3", true) | MOVE_CHECK;
  const uint16_t plain = HistoryEntry(0, p & ~MOVE_CHECK);
  HistoryEntry(0, p) = 20000;
  HistoryMalus(p, 60, 0);
  EXPECT_LT(HistoryEntry(0, p), 20000);
  EXPECT_GT(HistoryEntry(0, p), 10000);
  EXPECT_EQ(HistoryEntry(0, p & ~MOVE_CHECK), plain);
}

// UpdateGain runs at the node after the move: the entry of the move moves
// half way toward the change of the positional score in the mover's view,
// within +-127; a capture's gain leaves the victim's worth out, and a piece's
// capture teaches the victim's worth what the gain does not explain.
TEST_F(Learning, GainFollowsThePositionalChangeInTheMoversView) {
  const char* white = "r3k2r/pppq1ppp/2n1bn2/3pp3/3PP3/2N1BN2/PPPQ1PPP/R3K2R w KQkq -";
  const char* black = "r3k2r/pppq1ppp/2n1bn2/3pp3/3PP3/2N1BN2/PPPQ1PPP/R3K2R b KQkq -";
  const struct {
    const char* fen;
    const char* move;  // nullptr: a null move led here
    bool lazy;         // the parent's evaluation was approximate
    int8_t gain;       // the move's entry before and after
    int16_t worth;     // the pawn victim's entry before and after, where it takes one
    int32_t before, after;  // positional scores, White's view, of parent and node
    int8_t gainAfter;
    int16_t worthAfter;
  } rows[] = {
      {white, "f3g5", false, 10, 0, 100, 150, 30, 0},
      {white, "f3g5", false, 30, 0, 100, 75, 3, 0},  // 30 + trunc((-25 - 30) / 2)
      {white, "f3g5", false, 120, 0, 100, 5000, 127, 0},
      {white, "f3g5", false, -120, 0, 100, -5000, -127, 0},
      {white, "d4e5", false, 0, -20, 0, 10, 15, -20},  // (10 - (-20)) / 2
      {white, "c3d5", false, 6, 40, 0, -30, 6, 2},     // (-30 - 6 + 40) / 2
      {black, "f6g4", false, -4, 0, 100, 60, 18, 0},   // a fall of White's view is Black's gain
      // Nothing is learnt after a null move or from a lazy parent.
      {white, nullptr, false, 0, 0, 0, 90, 0, 0},
      {black, nullptr, false, 0, 0, 0, 90, 0, 0},
      {white, "f3g5", true, 5, 0, 0, 90, 5, 0},
      {white, "c3d5", true, 6, 40, 0, 90, 6, 40},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.move ? r.move : "null move");
    ASSERT_EQ(SetPositionFromFen(r.fen), 1);
    const int side = sideToMove;
    const Move m = r.move ? TextToMove(r.move, true) : 0;
    GainTable[side][m & 0xfcff] = r.gain;
    CaptureGainTable[side][CLASS_PAWN * 64 + move_to(m)] = r.worth;
    // Every other entry stays as it was.
    std::vector<int8_t> gains(&GainTable[0][0], &GainTable[0][0] + 2 * 65536);
    std::vector<int16_t> worths(&CaptureGainTable[0][0], &CaptureGainTable[0][0] + 2 * 512);
    gains[side * 65536 + (m & 0xfcff)] = r.gainAfter;
    worths[side * 512 + CLASS_PAWN * 64 + move_to(m)] = r.worthAfter;
    records[0].currentMove = m;
    records[0].approximate = r.lazy;
    records[0].positionalScore = r.before;
    node->positionalScore = r.after;
    if (side == WHITE) UpdateGain<BLACK>(node);
    else UpdateGain<WHITE>(node);
    EXPECT_TRUE(std::equal(gains.begin(), gains.end(), &GainTable[0][0]));
    EXPECT_TRUE(std::equal(worths.begin(), worths.end(), &CaptureGainTable[0][0]));
  }
}

// ---------------------------------------------------------------------------
// Replies to a check.

TEST_F(Learning, ReplyCreditAndEvasionMarks) {
  // White in check from the bishop on b4.
  ASSERT_EQ(SetPositionFromFen("rnbqk1nr/pppp1ppp/8/4p3/1b1P4/5N2/PPP1PPPP/RNBQKB1R w KQkq -"), 1);
  records[0].currentMove = 0x1d5;
  const Move block = TextToMove("c2c3", true), knight = TextToMove("b1d2", true);
  ReplyCredit<WHITE>(knight | MOVE_CHECK, node);
  ReplyCredit<WHITE>(block, node);
  const uint16_t* pair = EvasionCounterMoves[(0x1d5 & 0x1ff) * 64 + 4];
  EXPECT_EQ(pair[0], block & 0xfdff);
  EXPECT_EQ(pair[1], knight & 0xfdff);
  ReplyCredit<WHITE>(block, node);
  EXPECT_EQ(pair[1], knight & 0xfdff);

  static MovePicker picker;
  StartPicker<WHITE>(&picker, PICK_EVASIONS, 0, 0, 8, 0, false, 0);
  GenerateEvasions<WHITE>(picker.list, ~position.colourBits[WHITE], false);
  std::vector<Move> plain(picker.list, picker.list + 20);
  MarkEvasions<WHITE>(picker.list, node);
  for (int i = 0; picker.list[i]; ++i) {
    const Move m = picker.list[i], was = plain[i];
    if ((m & 0xfdff) == (block & 0xfdff)) EXPECT_EQ(m, was | 0xe00000000000);
    else if ((m & 0xfdff) == (knight & 0xfdff)) EXPECT_EQ(m, was | 0xc00000000000);
    else EXPECT_EQ(m, was);
  }
  EXPECT_EQ(NextMove<WHITE>(&picker, node) & 0xfdff, block & 0xfdff);
  EXPECT_EQ(NextMove<WHITE>(&picker, node) & 0xfdff, knight & 0xfdff);
}

}  // namespace
