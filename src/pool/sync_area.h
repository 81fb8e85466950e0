// The second mapping every process of a pool shares: one status word per
// process at the front, and behind it the ReportArea, where each process
// publishes how its root search stands so that the MainProcess can steer its
// time by what the others have found. Every word is read and written in one
// relaxed atomic access and without locks: a reader may see one field of an
// older report beside a newer one, which only moves a time limit.
#pragma once

#include <cstdint>

constexpr uint64_t SYNC_AREA_BYTES = 0x28000;
// The status words fill at most this much of the front half.
constexpr uint64_t STATUS_BYTES = 8192;
constexpr uint64_t REPORT_AREA_OFFSET = 0x14000;
constexpr int32_t REPORT_AREA_WORDS = int32_t((SYNC_AREA_BYTES - REPORT_AREA_OFFSET) / 8);
// A new pool clears this much of the ReportArea.
constexpr int32_t REPORT_CLEARED_WORDS = 0x8000 / 8;

// ProcessStatus values.
constexpr uint32_t STATUS_CLEARED = 0, STATUS_READY = 1, STATUS_ENDED = 2;

// ReportArea word indices. The header holds the MainProcess's best line and
// the two best lines of child 3; then one slot of four words per process.
namespace Report {
constexpr int32_t MAIN_SCORE = 0, MAIN_MOVE = 1, MAIN_DEPTH = 2;
constexpr int32_t THIRD_FIRST = 3, THIRD_SECOND = 6;  // each: score, move, depth
constexpr int32_t HEADER_WORDS = 16;
// Words of a process's slot: the root move it searches again after it has
// raised alpha (0 for none), its best move, score and depth.
constexpr int32_t CURRENT = 0, MOVE = 1, SCORE = 2, DEPTH = 3;
constexpr int32_t Slot(int32_t process) { return HEADER_WORDS + 4 * process; }
}  // namespace Report

// The status words and the ReportArea of the pool this process belongs to.
// Until a SyncArea is mapped both point at private memory of this process,
// so that a search outside any pool publishes without asking whether it may.
extern uint32_t* process_status;
extern uint64_t* report_area;

inline uint64_t ReportRead(const uint64_t* area, int32_t index) {
  return __atomic_load_n(area + index, __ATOMIC_RELAXED);
}
inline int64_t ReportReadSigned(const uint64_t* area, int32_t index) { return int64_t(ReportRead(area, index)); }
// Scores and depths are stored sign-extended.
inline void ReportWrite(int32_t index, int64_t value) {
  __atomic_store_n(report_area + index, uint64_t(value), __ATOMIC_RELAXED);
}
inline uint32_t StatusRead(int32_t process) { return __atomic_load_n(process_status + process, __ATOMIC_RELAXED); }
inline void StatusWrite(int32_t process, uint32_t value) {
  __atomic_store_n(process_status + process, value, __ATOMIC_RELAXED);
}
