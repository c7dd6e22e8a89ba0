// The list of log data files in a directory.
#include "messages.h"
#include "taqmsg.h"

#include "platform/unix/QENDirectory.h"
#include "primitives/ldf/ldf_format.h"
#include "primitives/strings/QENString.h"

#include <cstring>
#include <string>

namespace {

bool is_listed(const char* dirname, const QENDirectory& dir) {
    const char* name = dir.name();
    const char* extension = std::strrchr(name, '.');
    if (name[0] == '.' || extension == nullptr || std::strcmp(extension, LDF_EXTENSION) != 0) return false;
    return dir.is_known_file() || !QENDirectory((std::string(dirname) + "/" + name).c_str()).is_open();
}

} // namespace

int list_ldfs(const char* dirname) {
    if (dirname == nullptr || *dirname == '\0') return TAQMSG_OK;
    QENDirectory dir(dirname);
    if (!dir.is_open()) return TAQMSG_USAGE_ERROR;

    char text[TAQMSG_TEXT_SIZE] = "#Log data files\n";
    bool found = false;
    while (dir.next()) {
        if (!is_listed(dirname, dir)) continue;
        found = true;
        qenstrlcat(text, discard_ext(dir.name()), sizeof text);
        qenstrlcat(text, "\n", sizeof text);
    }
    if (!found)
        TAQMSG_REPORT(NO_FILES);
    else if (_unified_log_function__ != nullptr)
        TAQMSG_RESULT(_unified_log_function__, "list_fds", text);
    return TAQMSG_OK;
}
