#include "ModuleWriter.h"

#include "CatalogCodec.h"
#include "MapFile.h"
#include "SourceFiles.h"
#include "StagedFiles.h"

#include "i18n/common/bmcmap.h"

#include <cstdio>
#include <filesystem>

namespace gencat {

namespace {

constexpr char TOO_LARGE[] = "the catalog would pass 4 GiB";

bool stage_catalogs(const std::string& folder, const std::string& module, const Messages& messages,
                    StagedFiles& files, std::string& error) {
    std::string bytes;
    for (const auto& [category, set] : messages) {
        const std::string path = folder + catalog_base_name(module, category) + BMC_EXTENSION;
        if (!encode_catalog(set, bytes)) return error = path + ": " + TOO_LARGE, false;
        if (!files.stage(path, bytes)) return error = files.error(), false;
    }
    return true;
}

bool put_on_stdout(const std::string& bytes, std::string& error) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() && std::fflush(stdout) == 0)
        return true;
    error = "cannot write to standard output";
    return false;
}

} // namespace

bool write_module(const ModuleTarget& target, const Messages& messages, std::string& error) {
    std::string map;
    if (!write_map(target.module, target.language, messages, map))
        return error = "too many categories for one map file", false;

    const std::string folder = target.root + "/" + BMC_MESSAGES_DIR + "/" + target.language + "/";
    std::error_code failure;
    std::filesystem::create_directories(folder, failure);
    if (failure) return error = folder + ": " + failure.message(), false;

    // The map comes last: until it is in place, readers go by the old one.
    StagedFiles files;
    if (!stage_catalogs(folder, target.module, messages, files, error)) return false;
    if (files.stage(folder + target.module + BMCMAP_EXTENSION, map) && files.commit()) return true;
    error = files.error();
    return false;
}

bool write_catalog(const std::string& path, const MessageSet& set, std::string& error) {
    std::string bytes;
    if (!encode_catalog(set, bytes)) return error = path + ": " + TOO_LARGE, false;
    if (path == STANDARD_STREAM) return put_on_stdout(bytes, error);
    StagedFiles files;
    if (files.stage(path, bytes) && files.commit()) return true;
    error = files.error();
    return false;
}

} // namespace gencat
