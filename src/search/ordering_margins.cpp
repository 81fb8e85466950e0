#include "search/ordering_margins.h"

int32_t phase_stage = FULL_PHASE_STAGE;
