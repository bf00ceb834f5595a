#include <sys/mman.h>

#include <cstdint>

#include "platform/memory.h"

#ifdef MADV_POPULATE_WRITE

void MakePages(void* memory, std::size_t size) {
    constexpr std::uintptr_t kPageBytes = 4096;  // or a part of one: then the system refuses, and nothing is lost
    constexpr std::size_t kFewestBytes = 16 * kPageBytes;
    if (size < kFewestBytes) return;
    const std::uintptr_t begin = (reinterpret_cast<std::uintptr_t>(memory) + kPageBytes - 1) & ~(kPageBytes - 1);
    const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(memory) + size) & ~(kPageBytes - 1);
    // Memory that was in use before has its pages, and asking for these costs more than asking whether it has.
    unsigned char isThere = 0;
    if (mincore(reinterpret_cast<void*>(end - kPageBytes), kPageBytes, &isThere) == 0 && (isThere & 1) != 0) return;
    madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE);
}

#else

void MakePages(void*, std::size_t) {}

#endif
