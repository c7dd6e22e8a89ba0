// A program that links taq::taq has its operators: the allocator counts what it makes.
#include <taq/memory.h>

#include <memory>

bool is_counted();
bool is_counted() {
    const int before = taq_mem.count(MEM_MISC);
    const auto numbers = std::make_unique<int[]>(100);
    return numbers != nullptr && taq_mem.count(MEM_MISC) == before + 1;
}
