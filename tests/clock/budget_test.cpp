// The clock budget of the go line and the rules that end a running search,
// driven in this process with a clock that the test sets by hand: nothing
// here sleeps, so every limit is checked to the millisecond.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "board/position.h"
#include "clock/budget.h"
#include "clock/go_command.h"
#include "clock/iteration_end.h"
#include "clock/node_count.h"
#include "platform/clock.h"
#include "report/search_lines.h"
#include "search/root_driver.h"
#include "search/root_list.h"
#include "search/search_state.h"
#include "shell/dialogue.h"
#include "support/quiet_input.h"

namespace {

uint64_t fake_now = 0;
uint64_t FakeClock() { return fake_now; }

class Budget : public testing::Test {
 protected:
  static void SetUpTestSuite() { quorl_test::KeepInputOpenAndEmpty(); }
  void SetUp() override {
    set_tick_source(FakeClock);
    fake_now = 100000;
    reset_node_count();  // the node limit reads the count other tests left
    new_game_reset();
    SetPositionFromFen(START_FEN);
    time_settings = TimeSettings{};
    ponder_option = false;
    limit_strength = false;
    root_list[0].score = 0;
    // The reply the last search expected was played: no surprise factor.
    expected_key = position.state.key;
  }
  void TearDown() override {
    set_tick_source(nullptr);
    wait_for_gui = ponder_search = ponderhit_seen = false;
    root_pv_search = false;
    is_searching = false;
    expected_key = 0;
  }

  // Reads a go line as the handler does, without launching a search.
  static void Go(const std::string& line) {
    char text[256];
    std::snprintf(text, sizeof(text), "%s", line.c_str());
    read_go_line(text);
    // As the launch does.
    iteration_time_out = false;
    search_start = fake_now;
  }
};

// Target and hard limit of the clock words, each from a fresh game.
TEST_F(Budget, TargetAndHardLimitOfTheClockWords) {
  const char* blackToMove = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq -";
  const struct {
    const char* fen;
    bool surprise, ponder;
    const char* go;
    int64_t target, max;
  } cases[] = {
      // reserve 3000, avail 56750: 56750 / 60 * 80 / 100 and 56750 / 6.
      {START_FEN, false, false, "go wtime 60000 btime 60000", 756, 9458},
      // A position the last search did not expect gets more time, but no
      // more of the hard limit; a pondering front end gives the engine the
      // opponent's time as well.
      {START_FEN, true, false, "go wtime 60000 btime 60000", 1360, 9458},
      {START_FEN, false, true, "go wtime 60000 btime 60000", 756 * 16 / 10, 9458},
      // Only the own clock counts.
      {blackToMove, false, false, "go wtime 1000 btime 60000 winc 5000", 756, 9458},
      // avail 59750, share 1493: target 1194, hard limit 11944 (below the share bound).
      {START_FEN, false, false, "go wtime 60000 btime 60000 movestogo 20", 1194, 11944},
      // An increment of a sixtieth of the clock or more: the B divisor, half
      // the clock as the hard share, and the increment on top of both.
      {START_FEN, false, false, "go wtime 60000 btime 60000 winc 1000 binc 1000", 1357 * 80 / 100 + 800, 29875 + 2000},
      // A smaller one blends the divisors: (500 * 60 + 500 * 44) / 1000 = 52
      // and (500 * 6 + 1000) / 1000 = 4.
      {START_FEN, false, false, "go wtime 60000 btime 60000 winc 500 binc 500", 59750 / 52 * 80 / 100 + 400, 59750 / 4 + 1000},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.go);
    new_game_reset();
    SetPositionFromFen(c.fen);
    expected_key = c.surprise ? ~position.state.key : position.state.key;
    ponder_option = c.ponder;
    Go(c.go);
    EXPECT_EQ(target_time, c.target);
    EXPECT_EQ(max_time, c.max);
    EXPECT_TRUE(play_mode);
    EXPECT_EQ(contempt, sideToMove == WHITE ? 15 : -15);
  }
  // Only an increment, no clock left: the least move time, not nothing.
  Go("go wtime 0 btime 0 winc 100");
  EXPECT_GE(target_time, 5);
  EXPECT_LE(max_time, 5);
}

TEST_F(Budget, LargestClockSetsTheDivisorsUntilANewGame) {
  Go("go wtime 200000 btime 200000");
  EXPECT_EQ(largest_clock, 200000u);
  // From 150 s on: A 48 and C 4, also when the clock has fallen since.
  Go("go wtime 60000 btime 60000");
  EXPECT_EQ(target_time, 56750 / 48 * 80 / 100);
  EXPECT_EQ(max_time, 56750 / 4);

  new_game_reset();
  expected_key = position.state.key;
  Go("go wtime 60000 btime 60000");
  EXPECT_EQ(target_time, 756);
  EXPECT_EQ(largest_clock, 60000u);

  // A negative clock is enormous as an unsigned number.
  Go("go wtime -100 btime 60000 winc 1000");
  EXPECT_GT(largest_clock, uint64_t(1) << 63);
}

TEST_F(Budget, TinyClockLimitsTheDepth) {
  Go("go wtime 200 btime 200");
  EXPECT_EQ(depth_limit, 10);
  EXPECT_GE(max_time, 5);
  EXPECT_LE(max_time, 200);
  Go("go wtime 300 btime 300");
  EXPECT_EQ(depth_limit, 0x7ffffffe);

  // The hard move depth is an option.
  time_settings.hard_move_depth = 3;
  Go("go wtime 200 btime 200");
  EXPECT_EQ(depth_limit, 6);
}

TEST_F(Budget, WordsWithoutClock) {
  Go("go infinite");
  EXPECT_EQ(target_time, NO_BUDGET);
  EXPECT_EQ(max_time, NO_BUDGET);
  EXPECT_TRUE(wait_for_gui);
  EXPECT_FALSE(play_mode);

  Go("go depth 5,5");
  EXPECT_EQ(depth_limit, 11);
  Go("go depth 12");
  EXPECT_EQ(depth_limit, 24);

  Go("go calc_nodes 5000 iternodes 777");
  EXPECT_EQ(node_limit, 3000u);
  EXPECT_EQ(iter_node_limit, 777u);
  Go("go calc_nodes 2100");
  EXPECT_EQ(node_limit, 100u);

  // Words are exact and case-sensitive; a move word anywhere is a search move.
  Go("go Depth 3 searchmoves e2e4 d2d4 xyz");
  EXPECT_EQ(depth_limit, 0x7ffffffe);
  ASSERT_NE(search_moves[0], 0u);
  ASSERT_NE(search_moves[1], 0u);
  EXPECT_EQ(search_moves[2], 0u);

  // A contempt word before the clocks is overwritten, one after them stays.
  Go("go contempt 40 wtime 1000 btime 1000");
  EXPECT_EQ(contempt, 15);
  Go("go wtime 1000 btime 1000 contempt 40");
  EXPECT_EQ(contempt, 40);
}

// The check's rules at a given elapsed time.
TEST_F(Budget, MoveTimeStopsAtItsLimit) {
  Go("go movetime 100");
  EXPECT_EQ(move_time_limit, 80);
  EXPECT_FALSE(time_is_up(79));
  EXPECT_TRUE(time_is_up(80));
  Go("go movetime 30");
  EXPECT_EQ(move_time_limit, 10);
  EXPECT_TRUE(time_is_up(10));

  // The iteration end stops it too.
  Go("go movetime 100");
  search_start = fake_now;
  fake_now += 79;
  EXPECT_FALSE(IterationEndTest(4));
  fake_now += 1;
  EXPECT_TRUE(IterationEndTest(6));
}

TEST_F(Budget, PonderAndInfiniteRunPastEveryClock) {
  Go("go ponder wtime 60000 btime 60000");
  EXPECT_TRUE(wait_for_gui);
  EXPECT_TRUE(ponder_search);
  EXPECT_FALSE(time_is_up(1000000));
  stretch_budget(1000000);
  EXPECT_EQ(max_time, 0);  // the budget is used up meanwhile...
  EXPECT_FALSE(time_is_up(1000000));
  // ...and a hit turns the clock on: the next check ends the search.
  is_searching = true;
  char hit[] = "ponderhit";
  dispatch_command(hit);
  EXPECT_FALSE(wait_for_gui);
  EXPECT_TRUE(time_is_up(1000000));

  // Without clock data a hit ends the search at once.
  Go("go ponder");
  dispatch_command(hit);
  EXPECT_EQ(max_time, 0);
  EXPECT_TRUE(time_is_up(0));

  // Node limits hold under infinite as well.
  Go("go infinite calc_nodes 5000");
  node_blocks = 2;
  node_countdown = 0;
  EXPECT_TRUE(time_is_up(0));
}

// The hard limit by situation: another move under search may use 4.2 times
// 90 % of the target, the best move searched open 2.4 times, anything after a
// ponder hit 1.0 times; the second half of the hard limit only while another
// move proves itself better than the best.
TEST_F(Budget, CheckShortensTheSearchBySituation) {
  constexpr Move BEST = 0x0c1c, OTHER = 0x0b1b;
  const struct {
    bool open, hit;
    Move current;
    int64_t target, max, kept, ended;  // -1: not asked
  } cases[] = {
      {false, false, 0, 1000, 100000, 3779, 3780},
      {true, false, BEST, 1000, 100000, 2159, 2160},
      {false, true, 0, 1000, 100000, 899, 900},
      {true, false, OTHER, 100000, 1000, 600, -1},
      {true, false, BEST, 100000, 1000, -1, 600},
      {false, false, BEST, 100000, 1000, 499, 500},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.kept);
    Go("go wtime 60000 btime 60000");
    root_list[0].move = BEST;
    current_root_move = c.current;
    root_pv_search = c.open;
    ponderhit_seen = c.hit;
    target_time = c.target;
    max_time = c.max;
    if (c.kept >= 0) {
      stretch_budget(c.kept);
      EXPECT_EQ(max_time, c.max);
    }
    if (c.ended >= 0) {
      stretch_budget(c.ended);
      EXPECT_EQ(max_time, 0);
    }
  }
}

TEST_F(Budget, IterationEndUsesEightyPercentOfTheTarget) {
  Go("go wtime 60000 btime 60000");
  target_time = 1000;
  max_time = 100000;
  search_start = fake_now;
  fake_now += 799;  // the time of the line is counted from one
  EXPECT_FALSE(IterationEndTest(10));
  fake_now += 1;
  EXPECT_TRUE(IterationEndTest(12));

  // A quarter of the hard limit is the other bound.
  Go("go wtime 60000 btime 60000");
  target_time = 100000;
  max_time = 1000;
  search_start = fake_now;
  fake_now += 249;
  EXPECT_FALSE(IterationEndTest(10));
  fake_now += 1;
  EXPECT_TRUE(IterationEndTest(12));

  // Under ponder the iterations go on, and the first one after the hit ends.
  Go("go ponder wtime 60000 btime 60000");
  target_time = 1000;
  search_start = fake_now;
  fake_now += 5000;
  EXPECT_FALSE(IterationEndTest(10));
  EXPECT_TRUE(iteration_time_out);
  wait_for_gui = false;
  fake_now -= 4500;  // even at a time within the share
  EXPECT_TRUE(IterationEndTest(12));

  // The depth and iteration-node limits.
  Go("go depth 3");
  EXPECT_FALSE(IterationEndTest(4));
  EXPECT_TRUE(IterationEndTest(6));
}

}  // namespace
