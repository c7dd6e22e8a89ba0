// Result codes become words. Only the text of a missing root is composed.
#include "primitives/ldf/ResultText.h"

#include <cstdio>
#include <string>

#include "platform/unix/QENDefaults.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/ldf/ldf_format.h"

inline namespace taq_1 {

namespace {

constexpr size_t PATH_SIZE = 1024; // a longer path is cut
constexpr ResultText TEXTS[] = {
    {LDF_OK, "done"},
    {LDF_EREGISTERED, "a file of that name is open already"},
    {LDF_ENONAME, "no name was given"},
    {LDF_EROOT, "there is no folder"},
    {LDF_EFAIL, "the file is missing, damaged, or cannot be opened"},
    {LDF_ENOMEM, "out of memory"},
    {LDF_ENOINIT, "init was not called"},
    {LDF_EVERSION, "the file or record is of another version"},
    {LDF_EEND, "there are no more records"},
};

} // namespace

const char* find_result_text(const ResultText* table, size_t count, int result, int root_result,
                             const char* root_variable) {
    const char* text = "unknown result";
    for (size_t i = 0; i < count; ++i)
        if (table[i].result == result) text = table[i].text;
    if (result != root_result) return text;

    thread_local std::string composed; // an array would take the room that dlopen has for all plugins
    char root[PATH_SIZE];
    if (QENGetenv(root_variable, root, sizeof root) != 0)
        std::snprintf(root, sizeof root, "%s", QEN_DEFAULT_DATA_ROOT);
    composed = std::string(text) + " " + root + " (" + root_variable + " sets another one)";
    return composed.c_str();
}

const char* ldf_result_text(int result) {
    return find_result_text(TEXTS, sizeof TEXTS / sizeof TEXTS[0], result, LDF_EROOT, QEN_ENV_LDF_ROOT);
}

} // namespace taq_1
