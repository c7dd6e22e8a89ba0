// Arbitrary bytes as the file of a cursor: what is taken reads the same once it is written.
#include <cstdlib>

#include "Cursor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Cursor cursor, again;
    if (!cursor.parse(std::string(reinterpret_cast<const char*>(data), size))) return 0;
    const std::string text = cursor.text();
    if (!again.parse(text) || again.text() != text) abort();
    return 0;
}
