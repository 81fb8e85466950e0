// The lines a MainProcess passes on to its ChildProcesses.
#pragma once

#include "report/output.h"

// Writes one line to the input pipe of every running child, in order with
// everything else sent to them. Without children it does nothing.
void send_to_children(const char* format, ...) QUORL_PRINTF(1, 2);

// The write ends of the children's input pipes; -1 for a child that is gone.
constexpr int MAX_CHILD_PIPES = 2048;
extern int child_pipes[MAX_CHILD_PIPES];
extern int child_pipe_count;

// A process's last step out of the pool: a ChildProcess marks its status
// slot finished (2) and unmaps the SyncArea. Without a SyncArea there is
// nothing to mark.
void leave_pool();
