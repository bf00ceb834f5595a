#include "failing_new.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

constexpr int kNeverFails = -1;
// Not per thread: where a system has no thread-local memory of its own, reaching such a variable allocates.
std::atomic<int> g_successesLeft = kNeverFails;
std::atomic<bool> g_hasFailed = false;
std::atomic<std::int64_t> g_liveBlocks = 0;

}  // namespace

CFailingNew::CFailingNew(int successes) {
    // A thread's first exception makes the run-time library allocate what it keeps for all later ones.
    try {
        throw successes;
    } catch (int) {
    }
    g_hasFailed = false;
    g_successesLeft = successes;
}

CFailingNew::~CFailingNew() {
    g_successesLeft = kNeverFails;
}

bool CFailingNew::HasFailed() const {
    return g_hasFailed;
}

std::int64_t LiveBlockCount() {
    return g_liveBlocks;
}

namespace {

bool MayAllocate() {
    if (g_successesLeft == 0) g_hasFailed = true;
    if (g_successesLeft > 0) --g_successesLeft;
    return !g_hasFailed || g_successesLeft == kNeverFails;
}

void* Counted(void* block) {
    if (block) ++g_liveBlocks;
    return block;
}

}  // namespace

// The linker's --wrap: who asks for X gets __wrap_X; __real_X is X itself.
extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);

void* __wrap_malloc(std::size_t size) {
    return MayAllocate() ? Counted(__real_malloc(size)) : nullptr;
}

// Compilers make one of malloc and memset.
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return MayAllocate() ? Counted(__real_calloc(count, size)) : nullptr;
}

void* __wrap_realloc(void* block, std::size_t size) {
    if (!MayAllocate()) return nullptr;
    void* moved = __real_realloc(block, size);
    if (!block) Counted(moved);
    return moved;
}

void __wrap_free(void* block) {
    if (block) --g_liveBlocks;
    __real_free(block);
}

}  // extern "C"

// In place of the standard library's own, also for what it does by itself; and in place of a sanitizer's, which has all
// of these.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size > 0 ? size : 1);
}

void* operator new(std::size_t size) {
    if (void* const block = operator new(size, std::nothrow)) return block;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

void operator delete[](void* block) noexcept {
    std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
