#include "support/FailingMalloc.h"

#include <cstddef>

static int calls_left = -1; // until all fail; negative: none does

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
    calls_left = -1;
}
