// "quorl bench": fixed-depth searches over a fixed set of positions, by one
// process on a fresh table and fresh ordering tables for each position, so
// that the node total, printed last with the speed, changes only when the
// search itself changes.
#pragma once

// argv[2], when given, is the depth in whole plies. Returns the exit code.
int run_bench(int argc, char** argv);
