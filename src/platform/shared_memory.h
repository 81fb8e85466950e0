// Named memory that several engine processes map at once: POSIX shared memory
// objects under /dev/shm. The creator reserves every page up front, so that a
// /dev/shm too small for the request fails here, with a text, rather than
// with a bus error the first time a search touches a page.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr size_t SHARED_NAME_SIZE = 64;
constexpr size_t SHARED_ERROR_SIZE = 320;

struct SharedMapping {
  void* base = nullptr;
  uint64_t bytes = 0;
  // The object's name while this process created it and has not unlinked it
  // yet; empty otherwise. Opening an existing object never records the name:
  // only the creator removes it.
  char name[SHARED_NAME_SIZE] = {};
};

// Creates the object `name` ("/" and a word) of `bytes` bytes, reserves its
// pages and maps it read-write. An object of the same name that is still
// there can only be left over from a dead process with our id: it is
// replaced. On failure nothing stays behind, `mapping` is empty and `error`
// holds one line that says what failed and why.
bool create_shared_mapping(SharedMapping& mapping, const char* name, uint64_t bytes, char* error,
                           size_t error_size);

// Maps an existing object whole; its size is the object's size.
bool open_shared_mapping(SharedMapping& mapping, const char* name, char* error, size_t error_size);

// Removes the name, if this process created it and still holds it. The
// memory lives on for every process that has it mapped, and goes with the
// last unmap, so a crash after this point leaks nothing.
void unlink_shared_mapping(SharedMapping& mapping);

// Unmaps, leaving the name alone. An empty mapping is left as it is.
void unmap_shared_mapping(SharedMapping& mapping);

// Our own process id, the id in the names of the mappings we create.
int32_t current_process_id();

// Whether an object of this name exists now.
bool shared_name_exists(const char* name);

// Large pages of shared memory are transparent huge pages of the tmpfs.
enum class HugePageSupport {
  ABSENT,       // the kernel has no transparent huge pages at all
  NO_SIZE,      // it has them, but their size cannot be read
  REFUSED,      // shared memory never gets them (setting "never" or "deny")
  AVAILABLE,    // advice can get them
};
HugePageSupport huge_page_support();
// Bytes in one huge page, 0 when unknown.
uint64_t huge_page_size();
// Asks the kernel to back the mapping with huge pages: 0, or the errno of the
// refusal.
int advise_huge_pages(const SharedMapping& mapping);
