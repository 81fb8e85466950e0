// The pool of engine processes: a MainProcess starts process_count - 1
// ChildProcesses, copies of itself, which share its hash table and a
// SyncArea, hear its lines through a pipe each, and print nowhere.
#pragma once

#include <cstdint>

#include "hash/table.h"
#include "report/output.h"

// Writes one line to the input pipe of every running child, in order with
// everything else sent to them. Without children it does nothing.
void send_to_children(const char* format, ...) QUORL_PRINTF(1, 2);

// The write ends of the children's input pipes, child c at c - 1; -1 for a
// child that no longer reads.
constexpr int MAX_CHILD_PIPES = 2048;
extern int child_pipes[MAX_CHILD_PIPES];
extern int child_pipe_count;

// The word that names the program to its children; it must hold the
// fragment by which a process finds its path among its arguments.
void set_program_word(const char* argv0);

// A MainProcess tears down the pool it has (the children are told to quit
// and awaited), builds the table of `megabytes` and a new SyncArea, starts
// its children and waits until every one is ready, then brings them up to
// date with the options that differ from their defaults. A ChildProcess
// joins its parent's table and SyncArea. The report tells how the table
// fared; the pool itself either comes up or the process ends.
HashBuildReport build_process_pool(uint32_t megabytes);

// A ChildProcess at the end of its start-up: ready for its first line.
void mark_child_ready();

// Child Process Priority, 0 Normal, 1 BelowNormal, 2 Low, to every child.
void set_children_priority(int32_t setting);

// The way out of the process: a MainProcess tells its children to quit and
// leaves them to go by themselves; a ChildProcess says it has ended. Both
// let go of the mappings.
void release_process_pool();
