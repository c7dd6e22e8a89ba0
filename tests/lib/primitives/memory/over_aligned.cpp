// Must not compile.
#include "primitives/memory/Pooled.h"

struct alignas(32) OverAligned : Pooled<MEM_MISC> {};

void* make_one() {
    return new OverAligned;
}
