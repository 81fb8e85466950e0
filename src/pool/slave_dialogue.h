// Serving an outside controller: the fields of its go line, the commands by
// which it narrows a running search (deny, take), the hash moves it hands
// in, and the short report lines by which a slave search speaks in place of
// info lines.
#pragma once

#include <cstdint>

#include "board/types.h"
#include "search/root_list.h"

extern int32_t slave_id;         // go word id: stands in every report
extern int32_t good_move_depth;  // go word goodmovedepth: good-move lines from 2 * n + 6 half plies

// Report lines come from this iteration on, in half plies.
constexpr int32_t SLAVE_REPORT_DEPTH = 14;

// Whether row `index`, with `score`, is one of the lines a controller hears
// of: the only line, or at level 2 a second line well below the first.
bool SlaveReportsRow(int index, int32_t score);
// "%c%d %s %d %s": bound, id, move, score and the rest of the line `pv`.
void SlaveReport(char bound, Move move, int32_t score, const char* pv);
// The bound character of a stored row.
char RowBound(const RootRecord& row);

// Whether the level-2 cut applies: two lines, the first far above the second.
bool SlaveCutsFirstMove();

// deny: lowers MultiPV and drops the move's rows. False when the line does
// not apply now and must go on down the command chain.
bool handle_deny(const char* line);
// take: keeps only the named move, restarting unless it is the first row
// and the move under search.
void handle_take(const char* line);
// "!<key> <move>": sets the move of an upper-bound entry of the key.
void handle_set_hash_move(const char* line);

// A slave search with one line past its move time takes its own best move.
void take_own_choice(int64_t elapsed);

// The good-move line "!<key> <move>" of a deep node of the main search, in
// the form a controller sends back: composed and logged, and in a slave
// search of the MainProcess sent nowhere. The bound is wide, so that any
// goodmovedepth a go line names is a depth and never wraps.
inline bool IsGoodMoveDepth(int32_t depth) { return depth > 2 * int64_t(good_move_depth) + 6; }
void NoteGoodMove(uint64_t key, Move move);
