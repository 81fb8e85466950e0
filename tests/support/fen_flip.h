// The colour flip of a position as FEN: ranks mirrored, every man of the
// other colour, rights and en-passant square turned with them, the other side
// to move. Both colours' copies of a routine must agree on a position and its
// flip.
#pragma once

#include <string>

std::string FlipFen(const std::string& fen);

// The placement field of a FEN from 64 characters, a1 first: FEN letters for
// men, '.' for an empty square.
std::string PlacementFen(const char* squares);
