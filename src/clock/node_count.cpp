#include "clock/node_count.h"

#include "shell/dialogue.h"

uint64_t node_blocks = 1;
int64_t node_countdown = NODE_BLOCK;

void reset_node_count() {
  node_blocks = 1;
  node_countdown = NODE_BLOCK;
}

void periodic_check() {
  if (node_countdown > 0) return;
  ++node_blocks;
  node_countdown += NODE_BLOCK;
  poll_input();
}
