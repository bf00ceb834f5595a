#include "platform/memory.h"

void MakePages(void*, std::size_t) {}
