// Solves endings of up to four men by retrograde analysis and writes them as
// table files the engine reads: plain, or compressed block by block.
//
// Decisions the file format leaves to the writer:
// - An index value that holds no legal position gets the byte 127, the
//   broken entry, so that a probe there gives no value.
// - Bytes: a win in n moves is 127 - n (n = 127: -128), a loss in n moves
//   (0: mated) is n - 126 (n = 126: -127), a draw 0.
// - Compressed files: the 24 distances are the ones, of at least 4 bytes,
//   at which the table's bytes most often repeat, so that a short match is
//   never its own source; matches are found greedily, the longest at any of
//   the distances, at least 4 bytes; a block is stored when coding does not
//   make it smaller. The prefix code is a Huffman code of the symbol counts,
//   its lengths held to 15 bits.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tbgen {

// Distances in moves from the side to move's view: > 0 a win in that many
// moves, < 0 a loss in (-value - 1) moves, 0 a draw.
constexpr int16_t ILLEGAL = 0x7fff;

struct Table {
  int row = 0;
  std::vector<int16_t> values[2];  // by table index, in the table's own view
};

// The solved table of a row (1..440, up to four men), with every table its
// captures and promotions lead into; each is solved once per process.
const Table& Solve(int row);
// The rows solved so far.
std::vector<int> SolvedRows();
// Forgets every solved table, so that the next Solve works from nothing.
void ForgetSolved();

// The byte a value is stored as.
int8_t StoredByte(int16_t value);

// Writes the files of a row into the folder: "name.nbw" (and "name.nbb"
// unless the row is symmetric), or the same names with ".emd" appended.
// False when a file could not be written.
bool WriteTable(const Table& table, const std::string& folder, bool compressed);

// The compressed form of a file's bytes.
std::vector<uint8_t> CompressTableBytes(const std::vector<uint8_t>& bytes);

}  // namespace tbgen
