#include "support/FailingMalloc.h"

#include <cstddef>

namespace {

constexpr int NO_LIMIT = -1;
int calls_left = NO_LIMIT;

} // namespace

extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size) {
    if (calls_left == 0) return nullptr;
    if (calls_left > 0) --calls_left;
    return __real_malloc(size);
}

FailingMalloc::FailingMalloc(int calls) {
    calls_left = calls;
}

FailingMalloc::~FailingMalloc() {
    calls_left = NO_LIMIT;
}
