#include "clock/process_reports.h"

#include "board/move.h"
#include "pool/sync_area.h"

namespace {

// The margin bands shared by both tables, highest first, and the factor of
// each; a margin below 0 has a rule of its own in each table.
constexpr int32_t BAND_FLOOR[] = {301, 151, 76, 61, 51, 41, 31, 21, 11, 0};
constexpr int32_t BAND_FACTOR[] = {9, 18, 24, 30, 35, 45, 55, 70, 85, 100};
constexpr int32_t NO_MARGIN_CHECK = 90, NO_MARGIN_ITERATION = 80;
// Another process with a better move multiplies the factor by 50 / 10.
constexpr int32_t BOOST_NUMERATOR = 50, BOOST_DENOMINATOR = 10;
// Past this the limit lies beyond any clock: a large pool compounds no further.
constexpr int64_t FACTOR_CAP = int64_t(1) << 30;
// A margin from a MainProcess move that child 3 agrees with.
constexpr int32_t AGREED_MARGIN = 50000;
constexpr int32_t THIRD_CHILD = 3;

bool SameSquares(Move a, Move b) { return move_from(a) == move_from(b) && move_to(a) == move_to(b); }

int32_t BandFactor(int32_t margin) {
  for (int i = 0; i < int(sizeof(BAND_FLOOR) / sizeof(BAND_FLOOR[0])); ++i)
    if (margin >= BAND_FLOOR[i]) return BAND_FACTOR[i];
  return 0;
}

struct SlotView {
  Move current, move;
  int64_t score, depth;
};

SlotView ReadSlot(const uint64_t* area, int32_t process) {
  const int32_t slot = Report::Slot(process);
  return {Move(ReportRead(area, slot + Report::CURRENT)), Move(ReportRead(area, slot + Report::MOVE)),
          ReportReadSigned(area, slot + Report::SCORE), ReportReadSigned(area, slot + Report::DEPTH)};
}

// Process j's best move is other than `best` and better founded than ours.
bool BetterMove(const SlotView& j, const SlotView& base, Move best) {
  return j.move && !SameSquares(j.move, best) && j.depth >= base.depth && j.score > base.score;
}

}  // namespace

ProcessVerdict CompareProcesses(const uint64_t* area, int32_t processes, Move best, bool ponderhit) {
  ProcessVerdict verdict{true, false};
  const SlotView base = ReadSlot(area, 0);
  for (int32_t j = 0; j <= processes; ++j) {
    const SlotView slot = ReadSlot(area, j);
    bool disagree = BetterMove(slot, base, best);
    if (!disagree && j != THIRD_CHILD)
      disagree = slot.current && !SameSquares(slot.current, slot.move) && !SameSquares(slot.current, best) &&
                 slot.depth >= base.depth && slot.score >= base.score;
    if (!disagree) continue;
    if (ponderhit) verdict.boost = true;
    else verdict.keep = false;
  }
  return verdict;
}

bool ReportedMargin(const uint64_t* area, int32_t score, int32_t* margin) {
  const Move main = Move(ReportRead(area, Report::MAIN_MOVE));
  const Move first = Move(ReportRead(area, Report::THIRD_FIRST + 1));
  const Move second = Move(ReportRead(area, Report::THIRD_SECOND + 1));
  if (!main || !first || !second || SameSquares(first, second)) return false;
  int64_t m = SameSquares(main, first) ? AGREED_MARGIN : score - ReportReadSigned(area, Report::THIRD_FIRST);
  if (!SameSquares(main, second)) {
    const int64_t below_second = score - ReportReadSigned(area, Report::THIRD_SECOND);
    if (below_second < m) m = below_second;
  }
  *margin = int32_t(m);
  return true;
}

int32_t CheckTimeFactor(int32_t margin) {
  if (margin >= 0) return BandFactor(margin);
  return 125 + 10 * (-margin < 100 ? -margin : 100);
}

int32_t IterationTimeFactor(int32_t margin) {
  if (margin >= 0) return BandFactor(margin);
  return margin >= -10 ? 110 : 120;
}

int64_t CheckFactor(const uint64_t* area, int32_t score, bool boost) {
  int32_t margin;
  int64_t factor = ReportedMargin(area, score, &margin) ? CheckTimeFactor(margin) : NO_MARGIN_CHECK;
  if (boost) factor = factor * BOOST_NUMERATOR / BOOST_DENOMINATOR;
  return factor;
}

int64_t IterationFactor(const uint64_t* area, int32_t processes, Move best) {
  int32_t margin;
  const int32_t score = int32_t(ReportReadSigned(area, Report::MAIN_SCORE));
  if (!ReportedMargin(area, score, &margin)) return NO_MARGIN_ITERATION;
  int64_t factor = IterationTimeFactor(margin);
  const SlotView base = ReadSlot(area, 0);
  for (int32_t j = 0; j <= processes; ++j)
    if (factor < FACTOR_CAP && BetterMove(ReadSlot(area, j), base, best))
      factor = factor * BOOST_NUMERATOR / BOOST_DENOMINATOR;
  return factor;
}
