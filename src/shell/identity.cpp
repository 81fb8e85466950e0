#include "shell/identity.h"

#include <strings.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/system.h"
#include "report/output.h"

int32_t path_position = 0;
int32_t parent_sync_id = 0;
int32_t parent_pid = 0;
int32_t shared_file_number = 0;
int32_t process_count = 0;
int32_t child_number = 0;
int32_t overridden_parent_id = 0;
int32_t cpu_count = 1;
int32_t max_cpus = 2048;
uint32_t hash_megabytes = 32;
int32_t start_hash_megabytes = 32;
int32_t main_process_priority = 3;
bool input_is_pipe = true;
char engine_name[NAME_SIZE];
char engine_short_name[NAME_SIZE];

int find_path_position(int argc, const char* const* argv) {
  for (int i = 0; i < argc; ++i)
    if (std::strstr(argv[i], ".exe") || std::strstr(argv[i], "emta") || std::strstr(argv[i], "uorl"))
      return i;
  return argc;
}

bool read_arguments(int argc, const char* const* argv) {
  path_position = find_path_position(argc, argv);
  // A child gets five or more numbers behind the path; four or fewer make a
  // MainProcess (a controller passes three).
  is_child = argc - path_position - 1 > 4;
  // Numbers stand at k - path_position. A word that is no number, or one
  // past the end, reads as 0.
  bool in_front = false;
  auto number = [&](int k) {
    int index = k - path_position;
    if (index < 0) {
      in_front = true;
      return 0;
    }
    return index < argc ? std::atoi(argv[index]) : 0;
  };
  if (is_child) {
    parent_sync_id = number(1);
    start_hash_megabytes = number(3);
    shared_file_number = number(4);
    process_count = number(5);
    child_number = number(6);
    parent_pid = number(7);
  } else {
    if (argc >= 3 - path_position) {
      overridden_parent_id = number(1);
      int processors = number(2);
      if (processors < cpu_count) cpu_count = processors < 1 ? 1 : processors;
    }
    if (argc >= 4 - path_position) start_hash_megabytes = number(3);
  }
  return !in_front;
}

uint32_t round_hash_size(int64_t megabytes) {
  if (megabytes < 2) return 1;
  uint32_t size = 1;
  while (int64_t(size) * 2 <= megabytes && size < (1u << 31)) size *= 2;
  return size;
}

namespace {

// Each part holds well under half a name, so both fit in one.
constexpr size_t PART_SIZE = NAME_SIZE / 2 - 8;

struct Text {
  char chars[PART_SIZE];
  size_t length;
  void set(const char* s) {
    length = std::strlen(s) < PART_SIZE - 1 ? std::strlen(s) : PART_SIZE - 1;
    std::memcpy(chars, s, length);
    chars[length] = 0;
  }
  void append(char c) {
    if (length + 1 < PART_SIZE) chars[length++] = c, chars[length] = 0;
  }
};

}  // namespace

void derive_engine_names(const char* command_line, char* name, char* short_name) {
  Text tail, head;
  tail.set(" ");
  head.set("");
  bool found = false;
  for (const char* p = command_line; *p;) {
    size_t word = strncasecmp(p, "quorl_", 6) == 0 ? 6 : strncasecmp(p, "quorl", 5) == 0 ? 5 : 0;
    if (word) {
      head = tail;
      head.chars[--head.length] = 0;
      tail.set(" ");
      found = true;
      p += word;
      continue;
    }
    char c = *p++;
    if (c == '\\' || c == '/' || (c == '"' && tail.length == 1))
      tail.set(" ");
    else if (!(c == ' ' && tail.chars[tail.length - 1] == ' '))
      tail.append(c);
  }
  if (tail.length == 1) {
    tail.set("");
  } else {
    for (size_t i = 0; i < tail.length; ++i)
      if (tail.chars[i] == '.' && !(tail.chars[i + 1] >= '0' && tail.chars[i + 1] <= '9')) {
        tail.chars[i] = 0;
        tail.length = i;
        break;
      }
  }
  if (found && head.length) {
    std::snprintf(name, NAME_SIZE, "%s Quorl%s", head.chars + 1, tail.chars);
    std::snprintf(short_name, NAME_SIZE, "%s%s", head.chars + 1, tail.chars);
  } else {
    std::snprintf(name, NAME_SIZE, "Quorl%s", tail.chars);
    std::snprintf(short_name, NAME_SIZE, "%s", tail.length ? tail.chars + 1 : "");
  }
}
