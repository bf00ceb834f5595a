// Lets the n-th `new` of this thread fail, to see what an operation does when memory runs out.
#pragma once

class CFailingNew {
public:
    /// False where the allocator belongs to a sanitizer: nothing fails then.
    static const bool kWorks;

    /// The allocation after `successes` more, and every later one, throws std::bad_alloc until this object ends.
    explicit CFailingNew(int successes);
    CFailingNew(const CFailingNew&) = delete;
    CFailingNew& operator=(const CFailingNew&) = delete;
    ~CFailingNew();
};
