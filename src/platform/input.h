// Standard input as lines, through a buffer of our own over read(2), so that
// the test whether input waits can look at what was already read.
#pragma once

#include <cstddef>

// Reads like fgets: up to size - 1 characters, through the first line feed.
// Blocks until that much arrived or input ended; false when nothing could be
// read because input ended (or failed).
bool input_read_line(char* buffer, size_t size);

// True when a line (or the end of input) can be read without waiting: the
// buffer holds characters, or descriptor 0 is readable or hung up.
bool input_waiting();

// True when standard input is a terminal rather than a pipe or file.
bool input_is_terminal();
