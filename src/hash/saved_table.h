// The table written to a file and read back, so that an analysis can go on
// later: a raw copy of its words in table order, nothing else.
#pragma once

// Both reply through the text reports, success or failure, and never stop
// anything. A name that is empty or starts with "*" (the announced pattern)
// counts as not set.
bool name_is_set(const char* name);
void save_hash_file(const char* name);
// Rebuilds the table at the file's size (a configured Hash Size wins), then
// reads as much of the file as the table holds.
void load_hash_file(const char* name, bool size_configured);
