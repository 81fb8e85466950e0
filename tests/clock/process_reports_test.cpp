// The clock's reading of the other processes' reports, over made-up areas.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "board/move.h"
#include "clock/process_reports.h"
#include "pool/sync_area.h"

namespace {

// Moves by their squares only, as the reports are compared.
Move M(int from, int to) { return Move(to) | Move(from) << 10; }
const Move A = M(12, 28), B = M(6, 21), C = M(11, 27);

struct Area {
  std::vector<uint64_t> words = std::vector<uint64_t>(REPORT_AREA_WORDS, 0);
  void Line(int32_t index, int64_t score, Move move, int64_t depth) {
    words[index] = uint64_t(score), words[index + 1] = move, words[index + 2] = uint64_t(depth);
  }
  void Slot(int32_t process, Move current, Move move, int64_t score, int64_t depth) {
    const int32_t s = Report::Slot(process);
    words[s] = current, words[s + 1] = move, words[s + 2] = uint64_t(score), words[s + 3] = uint64_t(depth);
  }
  // The MainProcess on A at `score`, child 3's lines B and C.
  static Area WithMargin(int64_t score, int64_t first, int64_t second) {
    Area a;
    a.Line(Report::MAIN_SCORE, score, A, 20);
    a.Line(Report::THIRD_FIRST, first, B, 20);
    a.Line(Report::THIRD_SECOND, second, C, 20);
    return a;
  }
};

TEST(ProcessReports, MarginBandsOfBothTables) {
  struct Row { int32_t margin, check, iteration; };
  const Row rows[] = {
      {5000, 9, 9},   {301, 9, 9},     {300, 18, 18},   {151, 18, 18},   {150, 24, 24},   {76, 24, 24},
      {75, 30, 30},   {61, 30, 30},    {60, 35, 35},    {51, 35, 35},    {50, 45, 45},    {41, 45, 45},
      {40, 55, 55},   {31, 55, 55},    {30, 70, 70},    {21, 70, 70},    {20, 85, 85},    {11, 85, 85},
      {10, 100, 100}, {0, 100, 100},   {-1, 135, 110},  {-10, 225, 110}, {-11, 235, 120}, {-50, 625, 120},
      {-100, 1125, 120}, {-400, 1125, 120},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.margin);
    // The margin reaches the tables through the area: 100 over child 3's
    // first line, whose second line lies far below.
    const Area area = Area::WithMargin(100, 100 - row.margin, -8000);
    EXPECT_EQ(CheckFactor(area.words.data(), 100, false), row.check);
    EXPECT_EQ(IterationFactor(area.words.data(), 1, A), row.iteration);
  }
}

TEST(ProcessReports, MarginNeedsMainMoveAndTwoDifferentLinesOfChildThree) {
  struct Case { const char* what; Area area; bool exists; int32_t margin; };
  Area noMain = Area::WithMargin(100, 80, 50);
  noMain.words[Report::MAIN_MOVE] = 0;
  Area sameLines = Area::WithMargin(100, 80, 50);
  sameLines.words[Report::THIRD_SECOND + 1] = M(6, 21) | Move(0x7f) << 32;  // B with other order bits
  Area agreesFirst = Area::WithMargin(100, 80, 70);
  agreesFirst.words[Report::THIRD_FIRST + 1] = A;
  Area agreesSecond = Area::WithMargin(100, 80, 95);
  agreesSecond.words[Report::THIRD_SECOND + 1] = A;
  const Case cases[] = {
      {"no child 3 at all", Area{}, false, 0},
      {"no MainProcess move", noMain, false, 0},
      {"child 3 lines on one move", sameLines, false, 0},
      {"child 3 second line nearer", Area::WithMargin(100, 80, 95), true, 5},
      {"child 3 first line nearer", Area::WithMargin(100, 80, 20), true, 20},
      {"agreeing with the first line: the second decides", agreesFirst, true, 30},
      {"agreeing with the second line: the first decides", agreesSecond, true, 20},
      {"below child 3", Area::WithMargin(100, 140, 20), true, -40},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    int32_t margin = 0;
    EXPECT_EQ(ReportedMargin(c.area.words.data(), 100, &margin), c.exists);
    if (c.exists) {
      EXPECT_EQ(margin, c.margin);
    } else {
      EXPECT_EQ(CheckFactor(c.area.words.data(), 100, false), 90);
      EXPECT_EQ(IterationFactor(c.area.words.data(), 4, A), 80);
    }
  }
}

TEST(ProcessReports, OtherProcessesKeepOrBoostTheBudget) {
  struct Case { const char* what; int32_t process; Move current, move; int64_t score, depth; bool keep; };
  const Case cases[] = {
      {"better move, same depth", 2, 0, B, 31, 20, false},
      {"better move, deeper", 1, 0, B, 31, 24, false},
      {"better move, shallower", 2, 0, B, 90, 18, true},
      {"other move, equal score", 2, 0, B, 30, 20, true},
      {"same squares as our best", 2, 0, A | Move(5) << 32, 99, 20, true},
      {"proving a new move", 1, C, B, 30, 20, false},
      {"proving its own best", 1, B, B, 30, 20, true},
      {"proving our best", 1, A, B, 30, 20, true},
      {"child 3 proving a new move", 3, C, B, 30, 20, true},
      {"the slot at process_count counts", 4, 0, B, 31, 20, false},
      {"beyond it nothing", 5, 0, B, 31, 20, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Area area;
    area.Slot(0, 0, A, 30, 20);
    area.Slot(c.process, c.current, c.move, c.score, c.depth);
    const ProcessVerdict plain = CompareProcesses(area.words.data(), 4, A, false);
    const ProcessVerdict hit = CompareProcesses(area.words.data(), 4, A, true);
    EXPECT_EQ(plain.keep, c.keep);
    EXPECT_FALSE(plain.boost);
    // After a ponder hit a disagreement stretches the limit instead.
    EXPECT_TRUE(hit.keep);
    EXPECT_EQ(hit.boost, !c.keep);
  }
  EXPECT_EQ(CheckFactor(Area{}.words.data(), 0, true), 450);
  EXPECT_EQ(CheckFactor(Area::WithMargin(100, 99, -8000).words.data(), 100, true), 500);
}

TEST(ProcessReports, EveryBetterProcessMultipliesTheIterationFactor) {
  Area area = Area::WithMargin(100, 95, -8000);  // margin 5: factor 100
  area.Slot(0, 0, A, 100, 20);
  area.Slot(1, 0, B, 120, 20);
  area.Slot(2, 0, C, 101, 22);
  area.Slot(3, 0, B, 99, 30);  // not better: lower score
  EXPECT_EQ(IterationFactor(area.words.data(), 3, A), 2500);
  EXPECT_EQ(IterationFactor(area.words.data(), 1, A), 500);
  // Without a margin the others are not asked.
  area.words[Report::MAIN_MOVE] = 0;
  EXPECT_EQ(IterationFactor(area.words.data(), 3, A), 80);
}

}  // namespace
