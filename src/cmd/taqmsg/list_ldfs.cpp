// The list of log data files in a directory.
#include "messages.h"
#include "taqmsg.h"

#include "primitives/ldf/ldf_format.h"
#include "primitives/strings/QENString.h"

#include <cstring>
#include <dirent.h>
#include <memory>
#include <string>

namespace {

using Directory = std::unique_ptr<DIR, int (*)(DIR*)>;

Directory open_directory(const char* path) {
    return {opendir(path), closedir};
}

bool is_listed(const char* dirname, const dirent& entry) {
    const char* name = entry.d_name;
    const char* extension = std::strrchr(name, '.');
    if (name[0] == '.' || extension == nullptr || std::strcmp(extension, LDF_EXTENSION) != 0) return false;
    if (entry.d_type == DT_REG) return true; // no directory, and told without opening it
    return open_directory((std::string(dirname) + "/" + name).c_str()) == nullptr;
}

} // namespace

int list_ldfs(const char* dirname) {
    if (dirname == nullptr || *dirname == '\0') return TAQMSG_OK;
    const Directory dir = open_directory(dirname);
    if (dir == nullptr) return TAQMSG_USAGE_ERROR;

    char text[TAQMSG_TEXT_SIZE] = "#Log data files\n";
    bool found = false;
    while (const dirent* entry = readdir(dir.get())) {
        if (!is_listed(dirname, *entry)) continue;
        found = true;
        qenstrlcat(text, discard_ext(entry->d_name), sizeof text);
        qenstrlcat(text, "\n", sizeof text);
    }
    if (!found)
        TAQMSG_REPORT(NO_FILES);
    else if (_unified_log_function__ != nullptr)
        TAQMSG_RESULT(_unified_log_function__, "list_fds", text);
    return TAQMSG_OK;
}
