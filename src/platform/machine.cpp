#include "platform/machine.h"

#include <sys/resource.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/system.h"

namespace {

// The first processor's block of /proc/cpuinfo: its "name : value" lines.
void read_cpuinfo(MachineDescription* machine) {
  FILE* info = std::fopen("/proc/cpuinfo", "r");
  if (!info) return;
  char line[512];
  int32_t model = 0, stepping = 0;
  while (std::fgets(line, sizeof(line), info)) {
    if (line[0] == '\n') break;  // the end of the first processor
    char* colon = std::strchr(line, ':');
    if (!colon) continue;
    char* value = colon + 1;
    while (*value == ' ') ++value;
    value[std::strcspn(value, "\n")] = 0;
    const auto is = [&](const char* name) { return std::strncmp(line, name, std::strlen(name)) == 0; };
    if (is("model name")) std::snprintf(machine->processor_name, sizeof(machine->processor_name), "%s", value);
    else if (is("vendor_id")) std::snprintf(machine->vendor, sizeof(machine->vendor), "%s", value);
    else if (is("cpu MHz")) machine->mhz = std::atof(value);
    else if (is("cpu family")) machine->level = std::atoi(value);
    else if (is("model\t") || is("model ")) model = std::atoi(value);
    else if (is("stepping")) stepping = std::atoi(value);
  }
  std::fclose(info);
  machine->revision = model * 256 + stepping;
  if (machine->level || model)
    std::snprintf(machine->identifier, sizeof(machine->identifier), "Family %d Model %d Stepping %d",
                  machine->level, model, stepping);
}

const char* architecture_of(const char* machine) {
  if (!std::strcmp(machine, "x86_64")) return "x64";
  if (!std::strcmp(machine, "ia64")) return "ia64";
  if (machine[0] == 'i' && !std::strcmp(machine + 2, "86")) return "x86";
  return "??";
}

// Nice values stand for the priority classes the pool sets: 0 Normal,
// 5 BelowNormal, 10 Low; values between fall to the nearer lower class, and
// the negative ones to the raised classes.
const char* priority_class_of(int nice_value) {
  if (nice_value <= -20) return "REALTIME_PRIORITY_CLASS";
  if (nice_value <= -10) return "HIGH_PRIORITY_CLASS";
  if (nice_value < 0) return "ABOVE_NORMAL_PRIORITY_CLASS";
  if (nice_value == 0) return "NORMAL_PRIORITY_CLASS";
  if (nice_value < 10) return "BELOW_NORMAL_PRIORITY_CLASS";
  return "IDLE_PRIORITY_CLASS";
}

}  // namespace

void describe_machine(MachineDescription* machine) {
  std::memset(machine, 0, sizeof(*machine));
  machine->processors = processor_count();
  read_cpuinfo(machine);
  utsname names;
  if (uname(&names) == 0) {
    std::snprintf(machine->architecture, sizeof(machine->architecture), "%s", architecture_of(names.machine));
    std::snprintf(machine->operating_system, sizeof(machine->operating_system), "%s %s %s", names.sysname,
                  names.release, names.machine);
  } else {
    std::snprintf(machine->architecture, sizeof(machine->architecture), "??");
  }
  struct sysinfo memory;
  if (sysinfo(&memory) == 0) {
    const uint64_t unit = memory.mem_unit ? memory.mem_unit : 1;
    machine->total_ram_mb = int64_t(uint64_t(memory.totalram) * unit >> 20);
    machine->available_ram_mb = int64_t(uint64_t(memory.freeram + memory.bufferram) * unit >> 20);
  }
  machine->page_size = int32_t(sysconf(_SC_PAGESIZE));
  errno = 0;
  const int nice_value = getpriority(PRIO_PROCESS, 0);
  std::snprintf(machine->priority_class, sizeof(machine->priority_class), "%s",
                errno ? "" : priority_class_of(nice_value));
}
