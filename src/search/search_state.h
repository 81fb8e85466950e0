// What the root driver keeps for the whole search and the node routines
// read or feed: the search's limits from the go line, the fail-low note of
// the principal line, the flag of the open-window root search.
#pragma once

#include <cstdint>

extern int32_t depth_limit;  // half plies; 0x7ffffffe when the go line set none
extern int32_t min_score;    // a floor under the root window
extern int32_t multi_pv;     // lines the root keeps exact
extern int32_t multi_pv_cp;  // how far below the best a kept line may lie

// A ChildProcess walks its quiet moves in a random order where the node
// allows it, so that the pool spreads over the tree; child 3, which keeps
// two exact lines for the MainProcess's time decisions, does not.
extern bool shuffle_quiet_lists;

extern bool root_pv_search;   // the root move under search has raised alpha and runs open
extern int32_t pv_note_ply;   // shallowest ply at which a PV node failed low, 256 for none
extern int32_t pv_estimate;   // the running value of the principal line from there

// On leaving a move of a PV node: the shallowest such node gives the running
// estimate of the root's line, from the root mover's side.
inline void NoteFailLow(int32_t ply, int32_t alpha, bool raised) {
  if (ply >= pv_note_ply) return;
  pv_note_ply = ply;
  pv_estimate = (ply & 1 ? alpha : -alpha) - (raised ? 0 : 25);
}

// The randomizer of openings: one bit per position, by its key, marking the
// positions that earlier games reached, so that a root move leading back to
// one is searched against a raised alpha. Null while the mode is off.
constexpr uint32_t RANDOMIZER_BYTES = 0x400000;
extern uint8_t* randomizer_table;
extern int32_t randomizer_threshold;  // the raise, in score units

inline uint8_t& RandomizerByte(uint64_t key) { return randomizer_table[(key >> 3) & (RANDOMIZER_BYTES - 1)]; }
inline uint8_t RandomizerBit(uint64_t key) { return uint8_t(1u << (key & 7)); }
inline void MarkRandomizerPosition(uint64_t key) { RandomizerByte(key) |= RandomizerBit(key); }
inline bool RandomizerMarked(uint64_t key) { return randomizer_table && (RandomizerByte(key) & RandomizerBit(key)); }
