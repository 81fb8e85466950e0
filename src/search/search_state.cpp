#include "search/search_state.h"

int32_t depth_limit = 0x7ffffffe;
int32_t min_score = -64000;
int32_t multi_pv = 1;
int32_t multi_pv_cp = 20000;

bool shuffle_quiet_lists = false;
bool root_pv_search = false;
int32_t pv_note_ply = 256;
int32_t pv_estimate = 0;

uint8_t* randomizer_table = nullptr;
int32_t randomizer_threshold = 8;
