// Lets the n-th allocation fail, to see what an operation does when memory runs out; and counts blocks, to
// see that all of them come back.
//
// It sees what anybody asks of new, and what the code linked into the tests asks of malloc and its kin (the linker
// sends these here: tests/CMakeLists.txt). A sanitizer's own checks stay in force behind it, but for that of new
// against free; programs without this have that one, too.
#pragma once

#include <cstdint>

class CFailingNew {
public:
    /// The allocation after `successes` more, and every later one, fails until this object ends.
    explicit CFailingNew(int successes);
    CFailingNew(const CFailingNew&) = delete;
    CFailingNew& operator=(const CFailingNew&) = delete;
    ~CFailingNew();

    /// True when an allocation has failed.
    bool HasFailed() const;
};

/// Blocks given so far, less those freed. For differences, while one thread runs.
std::int64_t LiveBlockCount();
