// Fuzzers leave memory alone: nothing fails here.
#include "failing_new.h"

CFailingNew::CFailingNew(int) {}

CFailingNew::~CFailingNew() = default;

bool CFailingNew::HasFailed() const {
    return false;
}
