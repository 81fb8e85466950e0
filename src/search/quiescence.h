// The quiescence search: below depth 2 the search goes on with captures and,
// near its start, checks, until the position is quiet. Two pairs of routines
// per side to move: null-window and open-window, each with a routine for a
// side in check. `qply` is 0 on entry from the main search and falls by one
// per ply; it only decides how wide the lists are.
//
// The node record must follow a make (or a null move) from its parent's
// record, whose scores and maps are set: the routines read the move that led
// here and the parent's positional part.
#pragma once

#include <cstdint>

#include "eval/node_record.h"

template <int Us>
int32_t Quiesce(int32_t beta, int32_t qply, NodeRecord* node);
template <int Us>
int32_t QuiesceEvasions(int32_t beta, int32_t qply, NodeRecord* node);
template <int Us>
int32_t QuiescePv(int32_t alpha, int32_t beta, int32_t qply, NodeRecord* node);
template <int Us>
int32_t QuiescePvEvasions(int32_t alpha, int32_t beta, int32_t qply, NodeRecord* node);

// The list width by how far the static score lies below beta (never
// negative here: it is read only after the stand-pat failed low).
constexpr int32_t QuiesceWidth(int32_t gap) {
  return gap <= 0 ? 5 : gap <= 42 ? 3 : gap <= 90 ? 2 : gap <= 169 ? 1 : 0;
}
