// Looks below the catalog root, where each language has a folder.
#include "Languages.h"

#include <algorithm>

#include "i18n/common/bmcmap.h"
#include "platform/unix/QENDefaults.h"
#include "platform/unix/QENDirectory.h"
#include "platform/unix/QENFileSystem.h"
#include "platform/unix/QENPlatform.h"

std::vector<std::string> languages_with_catalogs() {
    char root[4096];
    const bool is_set = QENGetenv(QEN_ENV_MESSAGES_ROOT, root, sizeof root) == 0;
    const std::string folder =
        std::string(is_set ? root : QEN_DEFAULT_MESSAGES_ROOT) + "/" + BMC_MESSAGES_DIR + "/";
    std::vector<std::string> found;
    QENDirectory entries(folder.c_str());
    while (entries.is_open() && entries.next()) {
        const std::string lang = entries.name();
        const std::string map_file = folder + lang + "/" + QEN_MESSAGES_MODULE + BMCMAP_EXTENSION;
        QENFileState state;
        if (!lang.starts_with('.') && QENStateOfPath(map_file.c_str(), state)) found.push_back(lang);
    }
    std::sort(found.begin(), found.end());
    return found;
}
