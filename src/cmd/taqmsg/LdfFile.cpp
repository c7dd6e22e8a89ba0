// Opens the file that taqmsg shows and reports why that failed.
#include "LdfFile.h"

#include "messages.h"

#include "platform/unix/QENDefaults.h"
#include "platform/unix/QENPlatform.h"
#include "platform/unix/QENStreams.h"
#include "primitives/strings/QENString.h"

#include <string>

int open_ldf(LdfReader& reader, const char* pathp, const char* ldf_filep) {
    const int rc = reader.open(pathp, ldf_filep);
    if (rc == LDF_OK) return rc;
    if (rc == LDF_EVERSION) {
        TAQMSG_REPORT(NEWER_FILE, ldf_filep);
    } else {
        std::string name = ldf_filep;
        if (pathp != nullptr) name = std::string(pathp) + "/" + ldf_filep + LDF_EXTENSION;
        TAQMSG_REPORT(BAD_FILE, name.c_str());
        if (rc == LDF_EROOT) explain_missing_folder();
    }
    return rc;
}

void explain_missing_folder() {
    if (!QENIsTerminal(stderr)) return;
    char root[4096];
    if (QENGetenv(QEN_ENV_LDF_ROOT, root, sizeof root) != 0)
        qenstrlcpy(root, QEN_DEFAULT_DATA_ROOT, sizeof root);
    std::string folder = root;
    if (QENCheckDir(root)) folder += LDF_SUBDIR;
    QENPutError(
        ("taqmsg: there is no folder " + folder + " (" + QEN_ENV_LDF_ROOT + " sets another root)\n").c_str());
}
