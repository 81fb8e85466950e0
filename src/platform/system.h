// What the process learns about itself and its machine.
#pragma once

#include <cstddef>

// The command line as one text, arguments joined by blanks.
void command_line_text(char* buffer, size_t size);

// Processors online, at least 1.
int processor_count();

// The name the system lists the process under: the last word of the path.
void set_process_name(const char* path);

// The priority choices Normal, BelowNormal and Low (0, 1, 2) as nice
// values; any other choice leaves the priority alone. `pid` 0 is this
// process. A raise the system refuses changes nothing.
void set_priority_choice(int choice, int pid = 0);

// Starts `program` with `argv`, its standard input read from `input` and its
// output and errors sent to /dev/null: the programs we start are only ever
// written to. Gives the child's id in `pid`, and 0 or the error number.
int spawn_listener(const char* program, char* const argv[], int input, int* pid);

// Process-wide settings every role needs before it talks: a closed reader
// of our output must not kill us by a signal; the input end tells instead.
void platform_start();

