#include "search/ordering_tables.h"

#include <cstring>

#include "search/ordering_seeds.h"

uint16_t HistoryTable[2 * 1024];
uint16_t CounterMoves[512][2];
uint16_t EvasionCounterMoves[512 * 64][2];
int8_t GainTable[2][65536];
int16_t CaptureGainTable[2][8 * 64];

namespace {

// Black's seeds are White's with the ranks flipped.
constexpr int SeedSquare(int colour, int square) { return colour == 0 ? square : square ^ 56; }

// Both rows and both check halves start alike: column = check * 512 + class * 64 + to.
void LoadHistorySeeds() {
  for (int row = 0; row < 2; ++row)
    for (int column = 0; column < 1024; ++column)
      HistoryTable[row * 1024 + column] = HISTORY_SEEDS[column >> 6 & 7][column & 63];
}

// An entry's index is move & 0xfcff: from in bits 10-15, the two low class
// bits in 6-7, to in 0-5. Bits 8 and 9 are never part of an index; those
// entries stay 0.
void LoadGainSeeds() {
  std::memset(GainTable, 0, sizeof(GainTable));
  for (int colour = 0; colour < 2; ++colour)
    for (int from = 0; from < 64; ++from)
      for (int classBits = 0; classBits < 4; ++classBits)
        for (int to = 0; to < 64; ++to) {
          const int layer = GainSeedLayer(classBits, IsKnightJump(from, to));
          GainTable[colour][from << 10 | classBits << 6 | to] =
              GAIN_SEED_LAYERS[layer][SeedSquare(colour, from)][SeedSquare(colour, to)];
        }
}

void LoadCaptureGainSeeds() {
  for (int colour = 0; colour < 2; ++colour)
    for (int victim = 0; victim < 8; ++victim)
      for (int to = 0; to < 64; ++to)
        CaptureGainTable[colour][victim * 64 + to] = CAPTURE_GAIN_SEEDS[victim][SeedSquare(colour, to)];
}

}  // namespace

void ResetOrderingTables() {
  LoadHistorySeeds();
  LoadGainSeeds();
  LoadCaptureGainSeeds();
  std::memset(CounterMoves, 0, sizeof(CounterMoves));
  std::memset(EvasionCounterMoves, 0, sizeof(EvasionCounterMoves));
}
