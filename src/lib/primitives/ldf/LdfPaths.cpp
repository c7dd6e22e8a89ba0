// Finds the root of the log data files, for reader and writer.
#include "primitives/ldf/LdfPaths.h"

#include <algorithm>

#include "platform/unix/QENDefaults.h"
#include "platform/unix/QENPlatform.h"

inline namespace taq_1 {

void ldf_data_root(char (&buf)[LDF_ROOT_SIZE]) {
    static_assert(sizeof QEN_DEFAULT_DATA_ROOT <= LDF_ROOT_SIZE);
    if (QENGetenv(QEN_ENV_LDF_ROOT, buf, LDF_ROOT_SIZE) != 0)
        std::copy_n(QEN_DEFAULT_DATA_ROOT, sizeof QEN_DEFAULT_DATA_ROOT, buf);
}

} // namespace taq_1
