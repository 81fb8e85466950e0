#include "hash/table.h"

uint64_t* hash_table = nullptr;
uint64_t hash_mask = 0;
