// Writes the trace file that a reader or writer may have.
#include "primitives/ldf/LdfTrace.h"

#include <string>

#include "platform/unix/QENDescriptors.h"

inline namespace taq_1 {

FILE* ldf_trace_open(FILE* fp, const char* name, const char* suffix) {
    constexpr size_t NAME_MAX_LEN = 254;
    if (fp) std::fclose(fp);
    if (!name) return nullptr;
    const std::string path = (std::string(name) + suffix + ".debug").substr(0, NAME_MAX_LEN);
    return QENOpenStream(path.c_str(), "w");
}

void ldf_trace(FILE* fp, const char* text) {
    if (!fp || !text) return;
    std::fprintf(fp, "%s\n", text);
    std::fflush(fp);
}

} // namespace taq_1
