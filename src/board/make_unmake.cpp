#include "board/make_unmake.h"

// Zero until the root sets it from the options at the start of a search.
int32_t MATERIAL_ADJUST_STEPS[12] = {};
