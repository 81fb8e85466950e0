#include "search/root_list.h"

#include <cstring>

RootRecord root_list[ROOT_LIST_SIZE];

void clear_root_list() { std::memset(root_list, 0, sizeof(root_list)); }
