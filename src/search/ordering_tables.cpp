#include "search/ordering_tables.h"

#include <cstring>

uint16_t HistoryTable[2 * 1024];
uint16_t CounterMoves[512][2];
uint16_t EvasionCounterMoves[512 * 64][2];
int8_t GainTable[2][65536];
int16_t CaptureGainTable[2][8 * 64];

namespace {

// The learnt tables start each game from stored seeds; until those exist
// every seed is zero, so learning starts from nothing.
void LoadHistorySeeds() { std::memset(HistoryTable, 0, sizeof(HistoryTable)); }
void LoadGainSeeds() { std::memset(GainTable, 0, sizeof(GainTable)); }
void LoadCaptureGainSeeds() { std::memset(CaptureGainTable, 0, sizeof(CaptureGainTable)); }

}  // namespace

void ResetOrderingTables() {
  LoadHistorySeeds();
  LoadGainSeeds();
  LoadCaptureGainSeeds();
  std::memset(CounterMoves, 0, sizeof(CounterMoves));
  std::memset(EvasionCounterMoves, 0, sizeof(EvasionCounterMoves));
}
