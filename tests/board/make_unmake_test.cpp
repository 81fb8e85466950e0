// Make and unmake of the search against the reference board and the
// from-scratch words, over random games.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "board/keys.h"
#include "board/make_move.h"
#include "board/move.h"
#include "board/position.h"
#include "board/reference_moves.h"
#include "clock/node_count.h"
#include "eval/node_record.h"
#include "eval/piece_square.h"

namespace {

using reference::RefMove;

// Distinct adjust steps, so that a wrong index shows in materialAdjust.
constexpr int32_t TEST_ADJUST_STEPS[12] = {3, -5, 70, -110, 130, -170, 190, -230, 290, -310, 370, -410};

// The node count starts far from a block end, so that no make reaches the
// periodic check (which reads standard input; the search dialogues show that
// it runs), and the adjust steps are left at zero.
class MakeUnmake : public ::testing::Test {
 protected:
  void SetUp() override {
    node_countdown = int64_t(1) << 40;
    std::memset(MATERIAL_ADJUST_STEPS, 0, sizeof(MATERIAL_ADJUST_STEPS));
  }
  void TearDown() override {
    std::memset(MATERIAL_ADJUST_STEPS, 0, sizeof(MATERIAL_ADJUST_STEPS));
    reset_node_count();
  }
};

// --- Colour dispatch for the tests --------------------------------------------

void make_move(int side, Move move, SavedState* saved, NodeRecord* node) {
  side == WHITE ? MakeMove<WHITE>(move, saved, node) : MakeMove<BLACK>(move, saved, node);
}
void unmake_move(int side, Move move, const SavedState* saved) {
  side == WHITE ? UnmakeMove<WHITE>(move, saved) : UnmakeMove<BLACK>(move, saved);
}
void make_quiet(int side, Move move, SavedState* saved, NodeRecord* node) {
  side == WHITE ? MakeQuiet<WHITE>(move, saved, node) : MakeQuiet<BLACK>(move, saved, node);
}
void unmake_quiet(int side, Move move, const SavedState* saved) {
  side == WHITE ? UnmakeQuiet<WHITE>(move, saved) : UnmakeQuiet<BLACK>(move, saved);
}
void make_null(int side, NullRecord* record, NodeRecord* node) {
  side == WHITE ? MakeNull<WHITE>(record, node) : MakeNull<BLACK>(record, node);
}

std::unique_ptr<Position> copy_of_position() {
  auto copy = std::make_unique<Position>();
  std::memcpy(static_cast<void*>(copy.get()), &position, sizeof(Position));
  return copy;
}

void restore_position(const Position& copy) {
  std::memcpy(static_cast<void*>(&position), &copy, sizeof(Position));
}

// Offset of the first byte where two records differ, for the message.
std::string first_difference(const Position& a, const Position& b) {
  const auto* x = reinterpret_cast<const unsigned char*>(&a);
  const auto* y = reinterpret_cast<const unsigned char*>(&b);
  for (size_t i = 0; i < sizeof(Position); ++i)
    if (x[i] != y[i]) return "first difference at byte " + std::to_string(i);
  return "identical";
}

// --- Expectations written from the rules ---------------------------------------

int code_of_man(int man) { return man == 0 ? 0 : 2 * std::abs(man) + (man < 0 ? 1 : 0); }

bool is_dark(int square) { return ((square_file(square) + square_rank(square)) & 1) == 0; }

// pstSum as the rules define it: both halves biased by 0x8000, each right
// worth 100 (short) or 20 (long) in the opening half, for White, against for
// Black, plus the table entries of all men.
int64_t expected_pst_sum(const reference::Board& board) {
  int64_t sum = 0x80008000;
  int rights = board.Castling();
  if (rights & 1) sum += 100 * 65536;
  if (rights & 2) sum += 20 * 65536;
  if (rights & 4) sum -= 100 * 65536;
  if (rights & 8) sum -= 20 * 65536;
  for (int sq = 0; sq < 64; ++sq) {
    int code = code_of_man(board.ManAt(sq));
    if (code) sum += PIECE_SQUARE_VALUES[(code - 2) * 64 + sq];
  }
  return sum;
}

// Sum of the adjust steps of the men on a board, bishops by square colour,
// kings not counted.
int32_t adjust_of(const reference::Board& board) {
  int32_t sum = 0;
  for (int sq = 0; sq < 64; ++sq) {
    int man = board.ManAt(sq);
    if (man == 0 || std::abs(man) == reference::KING) continue;
    int colour = man < 0 ? 1 : 0;
    int index = code_of_man(man) - 2;
    if (std::abs(man) == reference::BISHOP && is_dark(sq)) index = 10 + colour;
    sum += MATERIAL_ADJUST_STEPS[index];
  }
  return sum;
}

// How far the incremental words stand from the from-scratch ones: only a
// promotion to bishop opens a gap, and the gap stays for the rest of the game.
struct Drift {
  uint64_t signature = 0;
  uint64_t pawnKey = 0;
  int32_t adjust = 0;
};

void add_bishop_promotion(Drift* drift, int side, int square) {
  // The new bishop is counted with the light-square step and adds no pawnKey
  // term; from scratch it counts by its square's colour and has its term.
  const uint64_t light_step = MATERIAL_STEPS[BISHOP_INDEX + side];
  const uint64_t dark_step = MATERIAL_STEPS[10 + side];
  const uint64_t dark_key = side == WHITE ? WHITE_BISHOP_DARK_KEY : BLACK_BISHOP_DARK_KEY;
  const uint64_t light_key = side == WHITE ? WHITE_BISHOP_LIGHT_KEY : BLACK_BISHOP_LIGHT_KEY;
  if (is_dark(square)) {
    drift->signature += light_step - dark_step;
    drift->pawnKey ^= dark_key;
    drift->adjust += MATERIAL_ADJUST_STEPS[BISHOP_INDEX + side] - MATERIAL_ADJUST_STEPS[10 + side];
  } else {
    drift->pawnKey ^= light_key;
  }
}

// What the playout saw, so that a run that never met a rule fails.
struct Coverage {
  int moves = 0, captures = 0, castlings = 0, enPassant = 0, promotions = 0;
  int bishopPromotionsDark = 0, darkBishopCaptures = 0, doublePushesWithEp = 0;
  int doublePushesWithoutEp = 0, rightsLostByCapture = 0;
};

// Checks the global position just after `move` was made from `before`.
void check_made(const Position& before, const reference::Board& board_before,
                const reference::Board& board_after, const RefMove& ref, Move move, int side,
                const SavedState& saved, const NodeRecord& node, const Drift& drift,
                int32_t adjust_base, const std::string& where) {
  SCOPED_TRACE(where);
  const Position& now = position;

  // Placement against the reference board.
  auto placed = std::make_unique<Position>();
  board_after.FillRecord(placed.get());
  ASSERT_EQ(std::memcmp(now.board, placed->board, sizeof(now.board)), 0);
  ASSERT_EQ(std::memcmp(now.colourBits, placed->colourBits, sizeof(now.colourBits)), 0);
  ASSERT_EQ(std::memcmp(now.pieceBits, placed->pieceBits, sizeof(now.pieceBits)), 0);
  ASSERT_EQ(now.occupied, placed->occupied);
  ASSERT_EQ(now.kingSquare[0], placed->kingSquare[0]);
  ASSERT_EQ(now.kingSquare[1], placed->kingSquare[1]);
  ASSERT_EQ(now.state.castling, placed->state.castling);
  ASSERT_EQ(now.state.epSquare, placed->state.epSquare);
  for (int i = 0; i < 32; ++i) ASSERT_EQ(now.lowMargin[i] | now.highMargin[i], 0u);

  // Keys and sums against a from-scratch rebuild of a copy.
  auto scratch = std::make_unique<Position>();
  std::memcpy(static_cast<void*>(scratch.get()), &now, sizeof(Position));
  RebuildDerived(scratch.get(), side ^ 1);
  ASSERT_EQ(now.state.key, scratch->state.key);
  ASSERT_EQ(now.state.pawnKey, scratch->state.pawnKey ^ drift.pawnKey);
  ASSERT_EQ(now.state.materialSignature, scratch->state.materialSignature + drift.signature);
  ASSERT_EQ(now.state.pstSum, scratch->state.pstSum);
  ASSERT_EQ(now.state.pstSum, expected_pst_sum(board_after));
  ASSERT_EQ(now.state.materialAdjust, adjust_of(board_after) - adjust_base + drift.adjust);

  // Counters and the captured code.
  const int mover = board_before.ManAt(ref.from);
  const int victim = board_before.ManAt(ref.to);
  const bool resets = victim != 0 || std::abs(mover) == reference::PAWN ||
                      (ref.flags & reference::MOVE_IS_CASTLE);
  ASSERT_EQ(now.state.capturedCode, uint32_t(code_of_man(victim)));
  ASSERT_EQ(now.state.fiftyCount, resets ? 0u : before.state.fiftyCount + 1);
  ASSERT_EQ(now.state.historyCount, before.state.historyCount + 1);
  ASSERT_EQ(now.keyHistory[before.state.historyCount], before.state.key);
  ASSERT_EQ(std::memcmp(now.keyHistory, before.keyHistory, sizeof(uint64_t) * before.state.historyCount), 0);

  // The saved slot is the state before the move, with this move's victim.
  SavedState expected_saved = before.state;
  expected_saved.capturedCode = uint32_t(code_of_man(victim));
  ASSERT_EQ(std::memcmp(&saved, &expected_saved, sizeof(SavedState)), 0);
  ASSERT_EQ(node.currentMove, move);
}

// After an unmake the record is the one before the make, but for the two
// words the make leaves behind by design: the key it appended past the end of
// the history, and capturedCode, which the saved slot carried back with the
// unmade move's victim in it.
void check_unmade(const Position& before, uint32_t captured, const std::string& where) {
  SCOPED_TRACE(where);
  auto expected = std::make_unique<Position>();
  std::memcpy(static_cast<void*>(expected.get()), &before, sizeof(Position));
  expected->keyHistory[before.state.historyCount] = before.state.key;
  expected->state.capturedCode = captured;
  ASSERT_EQ(std::memcmp(&position, expected.get(), sizeof(Position)), 0)
      << first_difference(position, *expected);
}

std::map<std::string, RefMove> moves_by_text(const reference::Board& board) {
  std::map<std::string, RefMove> by_text;
  for (const RefMove& m : board.LegalMoves()) by_text[reference::MoveText(m)] = m;
  return by_text;
}

// The engine words of the legal moves, read against a fresh parse of the
// board's FEN; the live position is put back afterwards.
std::vector<Move> engine_moves_keeping_position(const reference::Board& board) {
  auto live = copy_of_position();
  std::vector<Move> moves = reference::EngineMoves(board);
  restore_position(*live);
  return moves;
}

const char* const START_POSITIONS[] = {
    START_FEN,
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -",
    "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -",
};

// --- Random playouts ----------------------------------------------------------

TEST_F(MakeUnmake, EveryLegalMoveOfRandomGamesMakesExactlyAndUnmakesToTheSameRecord) {
  std::memcpy(MATERIAL_ADJUST_STEPS, TEST_ADJUST_STEPS, sizeof(TEST_ADJUST_STEPS));
  std::mt19937_64 rng(0x6d616b65);
  Coverage seen;
  int positions = 0;
  for (int game = 0; game < 80; ++game) {
    const char* start = START_POSITIONS[game % 5];
    reference::Board board;
    ASSERT_TRUE(board.SetFen(start));
    ASSERT_EQ(SetPositionFromFen(start), 1);
    int side = board.Side();
    const int32_t adjust_base = adjust_of(board);
    Drift drift;
    for (int ply = 0; ply < 200; ++ply) {
      std::vector<Move> moves = engine_moves_keeping_position(board);
      std::vector<std::string> texts = board.LegalMoveTexts();
      ASSERT_EQ(moves.size(), texts.size());
      if (moves.empty()) break;
      auto by_text = moves_by_text(board);
      ++positions;
      const std::string fen = board.Fen(false);

      // Every legal move: make, compare, unmake, compare.
      std::vector<Drift> drift_after(moves.size(), drift);
      std::vector<reference::Board> boards_after(moves.size(), board);
      for (size_t i = 0; i < moves.size(); ++i) {
        const RefMove& ref = by_text.at(texts[i]);
        const std::string where = fen + " " + texts[i];
        boards_after[i].Play(ref);
        if (ref.promotion == reference::BISHOP) add_bishop_promotion(&drift_after[i], side, ref.to);
        auto before = copy_of_position();
        SavedState saved;
        NodeRecord node{};
        const int64_t countdown = node_countdown;
        make_move(side, moves[i], &saved, &node);
        ASSERT_NO_FATAL_FAILURE(check_made(*before, board, boards_after[i], ref, moves[i], side, saved,
                                           node, drift_after[i], adjust_base, where));
        const uint32_t captured = position.state.capturedCode;
        auto made = copy_of_position();
        unmake_move(side, moves[i], &saved);
        ASSERT_NO_FATAL_FAILURE(check_unmade(*before, captured, where));
        // The quiet copy, for every move but castling, gives the same records;
        // only White's makes count nodes, quiet or not.
        if (!(ref.flags & reference::MOVE_IS_CASTLE)) {
          auto unmade = copy_of_position();
          restore_position(*before);
          SavedState quiet_saved;
          NodeRecord quiet_node{};
          make_quiet(side, moves[i], &quiet_saved, &quiet_node);
          ASSERT_EQ(std::memcmp(&position, made.get(), sizeof(Position)), 0) << where << ": "
                                                                             << first_difference(position, *made);
          ASSERT_EQ(std::memcmp(&quiet_saved, &saved, sizeof(SavedState)), 0) << where;
          unmake_quiet(side, moves[i], &quiet_saved);
          ASSERT_EQ(std::memcmp(&position, unmade.get(), sizeof(Position)), 0) << where;
          ASSERT_EQ(node_countdown, countdown - (side == WHITE ? 2 : 0)) << where;
        }

        ++seen.moves;
        const int victim = board.ManAt(ref.to);
        seen.captures += victim != 0;
        seen.castlings += (ref.flags & reference::MOVE_IS_CASTLE) != 0;
        seen.enPassant += (ref.flags & reference::MOVE_IS_EN_PASSANT) != 0;
        seen.promotions += ref.promotion != 0;
        seen.bishopPromotionsDark += ref.promotion == reference::BISHOP && is_dark(ref.to);
        seen.darkBishopCaptures += std::abs(victim) == reference::BISHOP && is_dark(ref.to);
        if (ref.flags & reference::MOVE_IS_DOUBLE_PUSH) {
          if (boards_after[i].EpSquare() >= 0)
            ++seen.doublePushesWithEp;
          else
            ++seen.doublePushesWithoutEp;
        }
        // The victim's side loses a right without moving.
        seen.rightsLostByCapture +=
            victim != 0 && (board.Castling() & ~boards_after[i].Castling() & (side == WHITE ? 12 : 3));
      }

      // A null move here: side key and en-passant term, then the undo.
      {
        auto before = copy_of_position();
        NullRecord record;
        NodeRecord node{};
        node.currentMove = moves[0];
        make_null(side, &record, &node);
        ASSERT_EQ(node.currentMove, 0u);
        ASSERT_EQ(position.state.key, PositionKey(&position, side ^ 1)) << fen;
        ASSERT_EQ(position.state.epSquare, 0u);
        ASSERT_EQ(position.state.fiftyCount, before->state.fiftyCount + 1);
        UndoNull(&record);
        auto expected = std::make_unique<Position>();
        std::memcpy(static_cast<void*>(expected.get()), before.get(), sizeof(Position));
        expected->keyHistory[before->state.historyCount] = before->state.key;
        ASSERT_EQ(std::memcmp(&position, expected.get(), sizeof(Position)), 0) << fen;
      }

      // Go on with a random move, made and kept, so that the incremental
      // words run through whole games.
      const size_t pick = size_t(rng() % moves.size());
      const RefMove& ref = by_text.at(texts[pick]);
      auto before = copy_of_position();
      SavedState saved;
      NodeRecord node{};
      make_move(side, moves[pick], &saved, &node);
      ASSERT_NO_FATAL_FAILURE(check_made(*before, board, boards_after[pick], ref, moves[pick], side,
                                         saved, node, drift_after[pick], adjust_base,
                                         fen + " " + texts[pick] + " (kept)"));
      board = boards_after[pick];
      drift = drift_after[pick];
      side ^= 1;
      sideToMove = side;
      if (drift.signature == 0 && drift.pawnKey == 0) {
        // With no promoted bishop the whole-position test agrees too.
        ASSERT_TRUE(IsPositionConsistent()) << board.Fen(false);
      }
    }
  }
  EXPECT_GT(positions, 10000);
  EXPECT_GT(seen.captures, 1000);
  EXPECT_GT(seen.castlings, 20);
  EXPECT_GT(seen.enPassant, 5);
  EXPECT_GT(seen.promotions, 50);
  EXPECT_GT(seen.bishopPromotionsDark, 5);
  EXPECT_GT(seen.darkBishopCaptures, 20);
  EXPECT_GT(seen.doublePushesWithEp, 20);
  EXPECT_GT(seen.doublePushesWithoutEp, 20);
  EXPECT_GT(seen.rightsLostByCapture, 5);
}

}  // namespace
