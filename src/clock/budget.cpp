#include "clock/budget.h"

int64_t target_time = NO_BUDGET;
int64_t max_time = NO_BUDGET;
int64_t move_time_limit = NO_BUDGET;
uint64_t node_limit = 0x7fffffffffffffffull;
uint64_t iter_node_limit = 0x7fffffffffffffffull;
bool iteration_time_out = false;
TimeSettings time_settings;
int32_t cpu_usage = 100;
