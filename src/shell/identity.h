// Who this process is: its role, its numbers from the command line, its name.
#pragma once

#include <cstddef>
#include <cstdint>

extern int32_t path_position;      // index of the first argument holding the program path
extern int32_t parent_sync_id;     // child: id in the name of the hash mapping
extern int32_t parent_pid;         // child: id in the name of the shared status mapping
extern int32_t shared_file_number; // child: as received; main: counts pool builds
extern int32_t process_count;      // processes in the pool, this one included
extern int32_t child_number;       // 0 in the MainProcess, 1 and up in a child
extern int32_t overridden_parent_id;  // non-zero: join a controller's hash mapping
extern int32_t cpu_count;          // upper bound of process_count
extern int32_t max_cpus;           // option Max CPUs
extern uint32_t hash_megabytes;    // option Hash
extern int32_t start_hash_megabytes;  // hash size from the command line, before rounding
extern int32_t main_process_priority;  // 0 Normal, 1 BelowNormal, 2 Low, 3 Inherit
extern bool input_is_pipe;

constexpr size_t NAME_SIZE = 256;
extern char engine_name[NAME_SIZE];
extern char engine_short_name[NAME_SIZE];

// The first argument that holds ".exe", "emta" or "uorl"; argc when none does.
int find_path_position(int argc, const char* const* argv);

// Reads the role and the numbers of the command line into the identity
// variables. False when the layout would make us read in front of the
// argument vector (a program path we cannot find, with numbers after it).
bool read_arguments(int argc, const char* const* argv);

// Derives the engine's full and short names from the whole command line:
// the words in front of the product word stay in front of it, the words
// behind it follow, a file extension goes and version dots stay.
void derive_engine_names(const char* command_line, char* name, char* short_name);

// A size under 2 gives 1, else the largest power of two not above it.
uint32_t round_hash_size(int64_t megabytes);
