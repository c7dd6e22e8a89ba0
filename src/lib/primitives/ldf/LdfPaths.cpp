#include "primitives/ldf/LdfPaths.h"

#include <algorithm>

#include "platform/unix/QENDefaults.h"
#include "platform/unix/QENPlatform.h"

void ldf_data_root(char (&buf)[LDF_ROOT_SIZE]) {
    static_assert(sizeof QEN_DEFAULT_DATA_ROOT <= LDF_ROOT_SIZE);
    if (QENGetenv(QEN_ENV_LDF_ROOT, buf, LDF_ROOT_SIZE) != 0)
        std::copy_n(QEN_DEFAULT_DATA_ROOT, sizeof QEN_DEFAULT_DATA_ROOT, buf);
}

std::unique_ptr<char[]> ldf_join(std::string_view a, std::string_view b, std::string_view c,
                                 std::string_view d) {
    std::unique_ptr<char[]> joined(new char[a.size() + b.size() + c.size() + d.size() + 1]);
    char* to = joined.get();
    for (std::string_view part : {a, b, c, d}) to = std::copy(part.begin(), part.end(), to);
    *to = '\0';
    return joined;
}
