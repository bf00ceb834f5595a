#include "failing_new.h"

#include <cstdlib>
#include <new>

namespace {

constexpr int kNeverFails = -1;
thread_local int t_successesLeft = kNeverFails;

}  // namespace

CFailingNew::CFailingNew(int successes) {
    t_successesLeft = successes;
}

CFailingNew::~CFailingNew() {
    t_successesLeft = kNeverFails;
}

// A sanitizer's own operators tell a delete that does not match its new, which is worth more.
#if defined(__SANITIZE_ADDRESS__)

const bool CFailingNew::kWorks = false;

#else

const bool CFailingNew::kWorks = true;

// The other forms of new and delete are defined by these.
void* operator new(std::size_t size) {
    if (t_successesLeft == 0) throw std::bad_alloc();
    if (t_successesLeft > 0) --t_successesLeft;
    if (void* block = std::malloc(size > 0 ? size : 1)) return block;
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

#endif
