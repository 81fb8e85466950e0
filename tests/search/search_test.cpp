// The whole search, run in this process through the root driver: mates at
// their exact distance, material won by simple tactics, positions without a
// move, a perpetual check held to a draw, and legal answers on positions
// reached by random play.
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "board/move.h"
#include "board/position.h"
#include "board/reference_moves.h"
#include "board/types.h"
#include "clock/budget.h"
#include "clock/go_command.h"
#include "hash/table.h"
#include "report/output.h"
#include "report/search_lines.h"
#include "search/root_driver.h"
#include "search/root_list.h"
#include "search/search_state.h"
#include "shell/dialogue.h"
#include "support/fen_flip.h"
#include "support/quiet_input.h"

namespace {

// Mate scores count down from a king capture by the plies to the mate: mate
// in n moves is 8160 - (2n - 1), being mated in n is -(8160 - 2n).
constexpr int32_t KING_CAPTURE = 8160;
constexpr int32_t MateScore(int32_t moves) {
  return moves > 0 ? KING_CAPTURE - (2 * moves - 1) : -(KING_CAPTURE + 2 * moves);
}
static_assert(MateScore(1) == 8159 && MateScore(2) == 8157 && MateScore(-1) == -8158);

// Enough for every mate below: the search is selective, so the nominal
// depth of a short mate is well above its length in plies.
constexpr int32_t MATE_PLIES = 12;
constexpr int32_t TACTIC_PLIES = 8;

struct SearchResult {
  Move move = 0;
  std::string text;  // empty for no move
  int32_t score = 0;
  int32_t depth = 0;  // half plies
  std::string pv;
  std::string reply;  // the table's reply to the move, the ponder move; empty for none
};

class Search : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    // The search polls standard input and ends the process at its end: an
    // empty pipe whose write end stays open keeps it searching.
    quorl_test::KeepInputOpenAndEmpty();
    if (!hash_table) {
      ASSERT_TRUE(BuildHashTable(16, false).ok);
    }
  }
  void SetUp() override { goe_mode = true; }  // keeps info and bestmove lines off our output
  void TearDown() override { goe_mode = false; }

  // Searches the position of a position line to `plies` as a fresh game
  // would: empty table, empty ordering tables, no limit but the depth.
  static SearchResult Run(const std::string& line, int32_t plies) {
    new_game_reset();
    std::snprintf(position_line, sizeof(position_line), "%s", line.c_str());
    parse_position_line(position_line);
    const int side = sideToMove;
    const uint64_t key = position.state.key;

    depth_limit = 2 * plies;
    min_score = -64000;
    multi_pv = 1;
    wait_for_gui = ponder_search = search_restart = false;
    target_time = max_time = move_time_limit = NO_BUDGET;
    node_limit = iter_node_limit = 0x7fffffffffffffffull;
    search_moves[0] = 0;
    mate_limit = contempt = 0;
    prepare_search();
    if (side == WHITE) RootDriver<WHITE>();
    else RootDriver<BLACK>();
    is_searching = false;

    // Every move the search made was taken back.
    EXPECT_EQ(sideToMove, side);
    EXPECT_EQ(position.state.key, key) << "root position not restored after " << line;

    SearchResult r;
    r.move = root_list[0].move;
    if (r.move) r.text = MoveToText(r.move);
    r.score = root_list[0].score;
    r.depth = root_list[0].depth;
    r.pv = root_list[0].pv;
    if (r.move) {
      const Move reply = ReplyFromTable(r.move);
      if (reply) r.reply = MoveToText(reply);
    }
    return r;
  }
  static SearchResult RunFen(const std::string& fen, int32_t plies) { return Run("position fen " + fen, plies); }
};

// A move text as the other side sees the board.
std::string FlipMove(std::string text) {
  for (size_t i : {size_t(1), size_t(3)}) text[i] = char('1' + '8' - text[i]);
  return text;
}

// Plays the words of a line on a copy of the board; the first that is not
// legal fails.
testing::AssertionResult LegalLine(const reference::Board& board, const std::string& line) {
  reference::Board b = board;
  std::istringstream words(line);
  for (std::string w; words >> w;)
    if (!b.PlayText(w))
      return testing::AssertionFailure() << w << " is illegal in " << b.Fen() << " (line: " << line << ")";
  return testing::AssertionSuccess();
}

// Cases are told for one colour and played for both.
struct Case {
  const char* name;
  std::string fen;
  std::vector<std::string> moves;  // the accepted first moves
  int32_t value = 0;               // by table: a mate distance, or the least gain
};

void PrintTo(const Case& c, std::ostream* os) { *os << c.name << " " << c.fen; }

std::vector<Case> BothColours(const std::vector<Case>& cases) {
  std::vector<Case> out;
  for (const Case& c : cases) {
    out.push_back(c);
    Case flipped = c;
    flipped.fen = FlipFen(c.fen);
    for (std::string& m : flipped.moves) m = FlipMove(m);
    out.push_back(flipped);
  }
  return out;
}

std::string CaseName(const testing::TestParamInfo<Case>& info) {
  const bool white = info.param.fen.find(" w ") != std::string::npos;
  return std::string(info.param.name) + (white ? "_WhiteToMove" : "_BlackToMove");
}

// ---------------------------------------------------------------------------
// Mates at their exact distance. value > 0: the side to move mates in that
// many moves; < 0: it is mated in -value. Each distance and each set of
// first moves that keeps it was confirmed by an exhaustive search with the
// reference generator; the lines are the textbook ones.

class SearchMate : public Search, public testing::WithParamInterface<Case> {};

TEST_P(SearchMate, FindsTheShortestMateWithAnAcceptedMove) {
  const Case& c = GetParam();
  const SearchResult r = RunFen(c.fen, MATE_PLIES);
  EXPECT_EQ(r.score, MateScore(c.value)) << c.fen;
  EXPECT_EQ(std::count(c.moves.begin(), c.moves.end(), r.text), 1) << c.fen << ": got " << r.text;
  EXPECT_GT(r.depth, 0);
  EXPECT_EQ(r.pv.rfind(r.text, 0), 0u) << r.pv;
}

INSTANTIATE_TEST_SUITE_P(
    Positions, SearchMate,
    testing::ValuesIn(BothColours({
        // One move.
        {"RookOnTheBackRank", "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - -", {"d1d8"}, 1},
        {"QueenTakesF7", "r1bqkb1r/pppp1ppp/2n2n2/4p2Q/2B1P3/8/PPPP1PPP/RNB1K1NR w KQkq -", {"h5f7"}, 1},
        {"QueenToH4AfterTwoPawnMoves", "rnbqkbnr/pppp1ppp/8/4p3/6P1/5P2/PPPPP2P/RNBQKBNR b KQkq -", {"d8h4"}, 1},
        // Two moves.
        {"RookSacrificeThenPawnMates", "kbK5/pp6/1P6/8/8/8/8/R7 w - -", {"a1a6"}, 2},
        {"QueenSacrificeThenSmotheredMate", "4r2k/6pp/7N/8/2Q5/8/6PP/6K1 w - -", {"c4g8"}, 2},
        {"QueenSacrificeOnTheBackRank", "r5k1/5ppp/8/8/8/8/1Q3PPP/1R4K1 w - -", {"b2b8"}, 2},
        {"RookWaitingMove", "5k2/8/4K3/8/8/8/8/R7 w - -", {"a1g1"}, 2},
        // Three moves.
        {"DoubleCheckThenSmotheredMate", "4r1k1/5Npp/8/8/2Q5/8/6PP/6K1 w - -", {"f7h6"}, 3},
        {"KingAndRookAgainstKing", "k7/8/8/3K4/8/8/8/7R w - -", {"d5c6"}, 3},
        // Four moves.
        {"KnightChecksThenSmotheredMate", "4r2k/6pp/8/6N1/2Q5/8/6PP/6K1 w - -", {"g5f7"}, 4},
        // Mated: the longest defence.
        // Either move allows Rh1 mate; two moves, so that the search is not
        // cut short as it is with a single legal move.
        {"MatedInOne", "7k/5K2/8/8/8/p7/8/6R1 b - -", {"h8h7", "a3a2"}, -1},
        {"MatedInTwo", "k7/8/2K5/8/8/8/8/7R b - -", {"a8a7", "a8b8"}, -2},
    })),
    CaseName);

// ---------------------------------------------------------------------------
// Tactics with one winning move each: every other move leaves the material
// as it is or loses it. value is the least gain, in centipawns, the score
// must show.

class SearchTactic : public Search, public testing::WithParamInterface<Case> {};

TEST_P(SearchTactic, FindsTheOnlyWinningMove) {
  const Case& c = GetParam();
  const SearchResult r = RunFen(c.fen, TACTIC_PLIES);
  EXPECT_EQ(std::count(c.moves.begin(), c.moves.end(), r.text), 1) << c.fen << ": got " << r.text;
  EXPECT_GT(r.score, c.value) << c.fen;
  EXPECT_LT(r.score, MateScore(50)) << "no mate here: " << c.fen;
}

INSTANTIATE_TEST_SUITE_P(
    Positions, SearchTactic,
    testing::ValuesIn(BothColours({
        // Nc7+ forks king and rook; a knight and three pawns against none.
        {"KnightForksKingAndRook", "r3k3/8/8/1N6/8/8/5PPP/6K1 w - -", {"b5c7"}, 300},
        // Nd6+ forks king and queen.
        {"KnightForksKingAndQueen", "4k3/8/8/1q6/4N3/8/5PPP/6K1 w - -", {"e4d6"}, 300},
        // Bf3+ skewers king and queen on the long diagonal.
        {"BishopSkewersKingAndQueen", "q7/8/2k5/7B/8/8/5PPP/6K1 w - -", {"h5f3"}, 300},
        // Qd4+ forks king and rook; Qd7+ would be taken.
        {"QueenForksKingAndRook", "8/r5k1/8/8/8/8/P4PPP/3Q2K1 w - -", {"d1d4"}, 300},
    })),
    CaseName);

// ---------------------------------------------------------------------------
// Positions without a move: stalemate is a draw, mate the worst score, and
// there is no move to play.

class SearchNoMove : public Search, public testing::WithParamInterface<Case> {};

TEST_P(SearchNoMove, ScoresTheBoardAndGivesNoMove) {
  const Case& c = GetParam();
  const SearchResult r = RunFen(c.fen, 4);
  EXPECT_EQ(r.move, Move(0)) << c.fen << ": got " << r.text;
  EXPECT_EQ(r.score, c.value) << c.fen;
}

INSTANTIATE_TEST_SUITE_P(
    Positions, SearchNoMove,
    testing::ValuesIn(BothColours({
        {"StalemateByQueenAndKing", "7k/5Q2/6K1/8/8/8/8/8 b - -", {}, 0},
        {"StalemateOfAKingBehindPawns", "5k2/5P2/5K2/8/8/8/8/8 b - -", {}, 0},
        {"MateOnTheBackRank", "6k1/5ppp/8/8/8/8/5PPP/3r2K1 w - -", {}, -KING_CAPTURE},
    })),
    CaseName);

// ---------------------------------------------------------------------------
// A perpetual check: a queen and a rook down, White checks forever (Qe8+ Kh7
// Qh5+ Kg8, and no black man can cover e8 or h6 or take the queen), so a
// draw is the best it has. With the black rook on a8 instead of a2, Qe8+ is
// taken and the same material loses.

constexpr const char* PERPETUAL = "6k1/6p1/8/8/8/1q6/r5PP/4Q2K w - -";
constexpr const char* NO_PERPETUAL = "r5k1/6p1/8/8/8/1q6/6PP/4Q2K w - -";

TEST_F(Search, PerpetualCheckScoresADrawAndWithoutItTheSameMaterialLoses) {
  for (const bool flip : {false, true}) {
    const std::string fen = flip ? FlipFen(PERPETUAL) : PERPETUAL;
    const SearchResult r = RunFen(fen, TACTIC_PLIES);
    EXPECT_EQ(r.score, 0) << fen;
    EXPECT_EQ(r.text, flip ? "e8e1" : "e1e8") << fen;
    EXPECT_LT(RunFen(flip ? FlipFen(NO_PERPETUAL) : NO_PERPETUAL, TACTIC_PLIES).score, -300) << fen;
  }
}

// ---------------------------------------------------------------------------
// Positions from random play, given as the start and the moves played, so
// that the game history reaches the search as it does through the dialogue.
// Every answer must be a legal move of the reference generator, and so must
// the principal line and the ponder move read from the table.

TEST_F(Search, RandomPositionsGetALegalMove) {
  const char* starts[] = {
      START_FEN,
      "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
      "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
      "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -",
      "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -",
  };
  std::mt19937_64 rng(20240611);
  int searched = 0;
  for (const char* start : starts) {
    // Several games from each start; a position every few plies.
    for (int game = 0; game < 2; ++game) {
      reference::Board board;
      ASSERT_TRUE(board.SetFen(start)) << start;
      std::string line = std::string("position fen ") + start + " moves";
      for (int ply = 1; ply <= 60; ++ply) {
        std::string text;
        if (!board.PlayRandom(rng, &text)) break;
        line += " " + text;
        if (ply % 12 != game * 6 + 3) continue;
        const std::vector<std::string> legal = board.LegalMoveTexts();
        if (legal.empty()) break;
        const SearchResult r = Run(line, 3 + ply / 12 % 2);
        ++searched;
        EXPECT_EQ(std::count(legal.begin(), legal.end(), r.text), 1) << board.Fen() << ": '" << r.text << "'\n" << line;
        EXPECT_GT(r.depth, 0) << board.Fen();
        EXPECT_EQ(r.pv.rfind(r.text, 0), 0u) << board.Fen() << ": pv '" << r.pv << "'";
        EXPECT_TRUE(LegalLine(board, r.pv));
        EXPECT_TRUE(LegalLine(board, r.text + " " + r.reply)) << "ponder move";
        EXPECT_GE(r.score, -KING_CAPTURE) << board.Fen();
        EXPECT_LE(r.score, KING_CAPTURE) << board.Fen();
      }
    }
  }
  EXPECT_GE(searched, 40);
}

}  // namespace
