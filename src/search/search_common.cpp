#include "search/search_common.h"

NodeRecord node_stack[NODE_STACK_SIZE];
