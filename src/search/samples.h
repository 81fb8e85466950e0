// Samples: a running commentary on what the search is thinking, for a
// controller (with the qvn3 flavour, on the main output) or a Visualizer.
// With sampling off nothing here runs, and the search is exactly the same.
#pragma once

#include <cstdint>

#include "board/types.h"
#include "eval/node_record.h"

extern bool samples_on;  // cleared at go; the root driver turns it on from iteration 22

// At the root before iteration d: turns sampling on where a channel wants
// it, takes the root board for the paths and opens a new html note.
void StartSamplesAt(int32_t d);

// A sample line to its channel; dropped where no channel takes it.
void SendSample(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Node samples of the open-window search run at this depth and mode.
inline bool NodeSamples(int32_t mode, int32_t depth) { return samples_on && mode != 0 && depth >= 20; }
// The short per-node report runs at this depth and mode.
inline bool NodeReports(int32_t mode, int32_t depth) { return samples_on && mode != 0 && depth >= 14; }

// Deep alternatives of the main line go to the html log while the first
// window of an iteration runs, if the log is open.
extern bool html_first_try;
void NoteFirstTry(bool first);
inline bool HtmlAlternatives(int32_t depth) { return html_first_try && depth >= 20; }
// Move `m` (0: the move the table now holds) has given value `v` over
// `alpha` at an open node whose window began at `windowAlpha`: noted when
// it takes the place of the hash move on the main line, not too deep, and
// new.
void HtmlAlternative(const NodeRecord* node, int32_t alpha, int32_t v, int32_t windowAlpha, int32_t beta,
                     Move hashMove, Move m, uint64_t key);

// The kinds of node sample, in the order a node meets them.
enum NodeSampleKind { SAMPLE_UNCLEAR, SAMPLE_BETTER, SAMPLE_WORSE, SAMPLE_INSIDE };
// One node sample of `node` (whose side has the move), with the value `v`
// marked where it equals `bound`, and the move `m` in question.
void NodeSample(NodeSampleKind kind, const NodeRecord* node, int32_t mode, int32_t v, int32_t bound, Move m);
// The short report of a node after a first move or a move over alpha.
void NodeReport(const NodeRecord* node, int32_t v, int32_t alpha, int32_t beta, Move m);

// The samples of an open-window node after move `m` came back with `v`
// against the window it was searched in; `hashMove` and `bestMove` are what
// the node knew before it.
void SampleAfterMove(const NodeRecord* node, int32_t mode, int32_t depth, int32_t v, int32_t alpha, int32_t beta,
                     Move m, bool first, Move hashMove, Move bestMove);
