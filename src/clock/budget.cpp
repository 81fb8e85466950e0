#include "clock/budget.h"

int64_t target_time = NO_BUDGET;
int64_t max_time = NO_BUDGET;
