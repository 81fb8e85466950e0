// Reading the registered tables the way a probe does, and checking a value
// against one ply of the reference move generator. Shared by the table tests.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "board/reference_moves.h"
#include "tablebase/block_cache.h"
#include "tablebase/index_family.h"

namespace table_probe {

constexpr int16_t NO_RESULT = 0x7fff;

// A table value as the generator counts: > 0 a win in n moves, < 0 a loss in
// -v - 1 moves, 0 a draw.
int16_t Moves(int32_t v);

// Men as (colour, kind 0..4 or 5 for the king, square).
struct Man {
  int colour, kind, square;
};

// The registered table's value of a position, through the count tree, the
// index function and the cache; NO_RESULT when there is none.
int16_t Probe(const std::vector<Man>& men, int side, int ep = TB_NO_EP);

std::string Fen(const std::vector<Man>& men, int side, int ep = TB_NO_EP);

// The value of a FEN's position, its en-passant square included.
int16_t ProbeFen(const std::string& fen);
// A value as the engine's score shows it: "mate n" for a win in n moves,
// "mate -n" for a loss in n, "cp 0" for a draw.
std::string ScoreText(int16_t moves);

// Whether the value of an index agrees with one ply of the reference
// generator: the position's FEN when it does not, empty when it does or the
// value holds no position.
std::string CheckOnePly(int row, int side, uint64_t index);

}  // namespace table_probe
