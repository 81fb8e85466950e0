// The evaluation routine: one body for both colours, answering from White's view.
#pragma once

#include <cstdint>

#include "eval/node_record.h"

// An opening value m and an endgame value e in one word, m * 65536 + e. All
// arithmetic on it is 32-bit wrap-around on the whole word; the running sum
// stays decodable because it carries a bias of 0x8000 in each half.
using PackedScore = uint32_t;

constexpr PackedScore PackPair(int32_t m, int32_t e) { return uint32_t(m) * 65536u + uint32_t(e); }

// The side to move is worth this much in every position.
constexpr PackedScore TEMPO = PackPair(22, 44);

struct PawnRecord;

// Steps 1 to 15 of Evaluate: the biased pair sum of every term, with the maps
// and threatened sets stored in the record and the pawn record probed once.
// Evaluate closes it; tests read it to check the closing steps.
PackedScore EvaluationSum(NodeRecord* node, const PawnRecord*& pawnRecord);

// Scores the global position in score units, White's view. Reads the record's
// sideSign for the tempo; leaves both attack maps, both threatened sets and
// positionalScore in the record and clears approximate. staticScore is the
// caller's to write.
int32_t Evaluate(NodeRecord* node);
