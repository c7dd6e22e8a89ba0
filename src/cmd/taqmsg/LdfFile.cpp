// Opens the file that taqmsg shows and reports why that failed.
#include "LdfFile.h"

#include "messages.h"

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
    }
    return rc;
}
