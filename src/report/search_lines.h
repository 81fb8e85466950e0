// The texts of a search: score text, the principal line walked through the
// hash table, and the info lines of the root rows.
#pragma once

#include <cstddef>
#include <cstdint>

#include "board/types.h"

// "cp 25", "mate 3", "mate -2": from the root mover's side.
void ScoreText(int32_t score, char* buffer, size_t size);

// The line from the root: `first` (a legal move of the side to move), then
// the hash moves that follow it, each proved legal, at most `length` moves
// and never into a position the line has already passed. Coordinate texts
// with blanks between them. The Position is left as it was.
void WalkLine(Move first, int length, char* buffer, size_t size);
// The same from a position inside the tree, where `side` is to move.
void WalkLineOf(int side, Move first, int length, char* buffer, size_t size);
// The same from the present position, beginning with the move the table
// holds for it.
void WalkTableLine(int side, int length, char* buffer, size_t size);

// The move that the table holds for the position after `first`: the last
// matching entry with a move decides; 0 when it holds none or an illegal one.
Move ReplyFromTable(Move first);
// Whether `m` is a legal move of the present position.
bool IsLegalHere(Move m);

// The reported node figure: counted nodes times the processes of the pool.
uint64_t NodeFigure();
// Milliseconds since the search began, plus one.
uint64_t SearchTime();
extern uint64_t search_start;
extern uint64_t largest_printed_nodes;

// The info line of root row `index`; `final` takes present time and nodes.
void SendRootLine(int index, bool final);
// Every MultiPV row of at least `minDepth`.
void SendRootLines(int32_t minDepth);
