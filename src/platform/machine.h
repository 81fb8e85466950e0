// A description of the machine for the heads of the logs, from what Linux
// offers: /proc/cpuinfo, sysinfo and uname. Fields it cannot learn stay 0 or
// empty.
#pragma once

#include <cstdint>

struct MachineDescription {
  int32_t processors;
  char architecture[8];  // "x64", "ia64", "x86" or "??"
  char processor_name[256];
  double mhz;
  char identifier[128];  // family, model and stepping
  char vendor[64];
  int32_t level;         // processor family
  int32_t revision;      // model and stepping, as model * 256 + stepping
  int64_t total_ram_mb;
  int64_t available_ram_mb;
  int32_t page_size;
  char operating_system[256];
  char priority_class[32];  // this process's nice value named as a priority class
};

void describe_machine(MachineDescription* machine);
