// The ordering tables: the weight ladder by depth and the new-game reset.
#include "search/ordering_tables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace {

TEST(OrderingTables, HistoryWeightsByDepth) {
  EXPECT_EQ(HistoryWeights[0], 0);
  EXPECT_EQ(HistoryWeights[1], 14);
  EXPECT_EQ(HistoryWeights[3], 14);
  EXPECT_EQ(HistoryWeights[4], 30);
  EXPECT_EQ(HistoryWeights[5], 38);
  EXPECT_EQ(HistoryWeights[12], 106);
  EXPECT_EQ(HistoryWeights[17], 156);
  EXPECT_EQ(HistoryWeights[18], 164);
  EXPECT_EQ(HistoryWeights[23], 204);
  ASSERT_EQ(HistoryWeights.size(), 128u);
  for (int depth = 24; depth < 128; ++depth) EXPECT_EQ(HistoryWeights[depth], 212) << "depth " << depth;
}

TEST(OrderingTables, HistoryWeightsNeverFall) {
  for (int depth = 1; depth < 128; ++depth) EXPECT_GE(HistoryWeights[depth], HistoryWeights[depth - 1]);
}

void Dirty() {
  HistoryTable[0] = 1;
  HistoryTable[2 * 1024 - 1] = 16000;
  CounterMoves[0][0] = 0x1234;
  CounterMoves[511][1] = 0xfdff;
  EvasionCounterMoves[0][1] = 7;
  EvasionCounterMoves[512 * 64 - 1][0] = 0x0c3f;
  GainTable[0][0] = 5;
  GainTable[1][65535] = -122;
  CaptureGainTable[0][0] = -300;
  CaptureGainTable[1][8 * 64 - 1] = 900;
}

TEST(OrderingTables, ResetClearsTheReplyKeys) {
  Dirty();
  ResetOrderingTables();
  for (const auto& pair : CounterMoves) ASSERT_TRUE(pair[0] == 0 && pair[1] == 0);
  for (const auto& pair : EvasionCounterMoves) ASSERT_TRUE(pair[0] == 0 && pair[1] == 0);
}

// Whatever the seeds are, a reset brings the learnt tables back to them:
// what a game wrote must not survive into the next.
TEST(OrderingTables, ResetRestoresTheSeeds) {
  ResetOrderingTables();
  std::vector<uint16_t> history(std::begin(HistoryTable), std::end(HistoryTable));
  std::vector<int8_t> gain(&GainTable[0][0], &GainTable[0][0] + 2 * 65536);
  std::vector<int16_t> captureGain(&CaptureGainTable[0][0], &CaptureGainTable[0][0] + 2 * 8 * 64);

  for (int i = 0; i < 2 * 1024; ++i) HistoryTable[i] = uint16_t(HistoryTable[i] + 1 + i % 7);
  for (auto& row : GainTable)
    for (auto& g : row) g = int8_t(g ^ 0x55);
  for (auto& row : CaptureGainTable)
    for (auto& g : row) g = int16_t(g + 333);
  Dirty();
  ResetOrderingTables();

  EXPECT_TRUE(std::equal(history.begin(), history.end(), std::begin(HistoryTable)));
  EXPECT_TRUE(std::equal(gain.begin(), gain.end(), &GainTable[0][0]));
  EXPECT_TRUE(std::equal(captureGain.begin(), captureGain.end(), &CaptureGainTable[0][0]));
}

}  // namespace
