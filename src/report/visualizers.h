// Visualizers: programs of the site that watch the search. A MainProcess
// starts them at start-up and writes lines to their standard input; nothing
// is ever read back, and a Visualizer that stops reading costs a log line per
// lost line, never a stalled search.
#pragma once

#include "report/output.h"

struct NodeRecord;

// Starts the configured Visualizers, slot by slot, up to Visualizer Count or
// the first empty path, and sends each its init commands, "logdir" and
// "Init Complete". A program that cannot be started ends the engine.
void start_visualizers();

// One line to every running Visualizer, in slot order.
void send_to_visualizers(const char* format, ...) QUORL_PRINTF(1, 2);
// One line to the Visualizer of `slot` (from 0).
void send_to_visualizer(int slot, const char* format, ...) QUORL_PRINTF(2, 3);

// Slot 0 or 1 running: the search then turns its samples on from iteration 22.
bool visualizer_attached();

// The path from the root to `node` for the once-a-second "info microsample":
// each move in coordinates, with "(n) " behind a move that was not its
// node's first.
void send_microsample(const NodeRecord* node);
