// Makes COUNT pairs of new and delete after a second thread has run: scripts/check-costs counts their
// instructions.
// Usage: new_delete COUNT
#include "primitives/memory/Memory.h"

#include <cstdlib>
#include <new>
#include <thread>

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 0;
    std::thread([] {}).join();
    for (int i = 0; i < count; ++i) ::operator delete(::operator new(32));
    return taq_mem.count(MEM_MISC) < 0;
}
