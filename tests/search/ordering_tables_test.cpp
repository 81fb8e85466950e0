// The ordering tables: the new-game reset.
#include "search/ordering_tables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace {

// Whatever the seeds are, a reset brings the learnt tables back to them and
// empties the reply keys: what a game wrote must not survive into the next.
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
  for (auto& pair : CounterMoves) pair[0] = pair[1] = 0x1234;
  for (auto& pair : EvasionCounterMoves) pair[0] = pair[1] = 0x0c3f;
  ResetOrderingTables();

  EXPECT_TRUE(std::equal(history.begin(), history.end(), std::begin(HistoryTable)));
  EXPECT_TRUE(std::equal(gain.begin(), gain.end(), &GainTable[0][0]));
  EXPECT_TRUE(std::equal(captureGain.begin(), captureGain.end(), &CaptureGainTable[0][0]));
  for (const auto& pair : CounterMoves) ASSERT_TRUE(pair[0] == 0 && pair[1] == 0);
  for (const auto& pair : EvasionCounterMoves) ASSERT_TRUE(pair[0] == 0 && pair[1] == 0);
}

}  // namespace
