// Table values for the search: one score of the position on the board, by
// the dynamic probing library when one is bound, else by the table files.
#pragma once

#include <cstdint>
#include <string>

#include "board/position.h"
#include "tablebase/tablebase_settings.h"

extern uint64_t tbhits;           // probes that gave a value, this search
extern int32_t tb_library_ready;  // men the bound library answered for; 0: not asked yet

// The callers' gate: deep enough, few enough men, no castling right. Cheap,
// so that the middle game never gets further.
inline bool TablebaseGate(int32_t depth) {
  return depth >= tablebase_probe_depth && int32_t(position.state.materialSignature >> 56) <= tablebase_pieces &&
         !position.state.castling;
}

// The value of the position from the side to move's view (`side` 1 when
// Black moves), in the search's mate units; false when no table answers.
bool ProbeTablebase(int32_t* result, int side);

// A search value of a table hit seen `ply` plies below the root: a mate is
// that much further away.
inline int32_t TableValueAtPly(int32_t v, int32_t ply) { return v > 7860 ? v - ply : v < -7860 ? v + ply : v; }

// The dynamic probing library, "libegtbgate.so" beside the engine's own
// binary: its path when it is there and loads, else empty.
std::string FindEgtbGate();
// Binds the library at `path` (a library bound before is let go first) and
// starts it; false when it does not load or lacks an entry point.
bool BindEgtbGate(const char* path);
// Stops and lets go of a bound library.
void UnbindEgtbGate();
