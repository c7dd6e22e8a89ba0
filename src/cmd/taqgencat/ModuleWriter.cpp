// From checked messages to files: encodes, stages, and puts everything in place.
#include "ModuleWriter.h"

#include "CatalogCodec.h"
#include "MapFile.h"
#include "SourceFiles.h"
#include "StagedFiles.h"
#include "Targets.h"

#include "i18n/common/bmcmap.h"
#include "i18n/unix/i18n_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace gencat {

namespace {

constexpr char TOO_LARGE[] = "the catalog would pass 4 GiB";

bool stage(const std::string& path, const std::string& bytes, const std::vector<std::string>& inputs,
           StagedFiles& files, std::string& error) {
    if (!may_replace(path, inputs, error)) return false;
    if (!files.stage(path, bytes)) return error = files.error(), false;
    return true;
}

bool stage_catalogs(const std::string& prefix, const Messages& messages,
                    const std::vector<std::string>& inputs, StagedFiles& files, std::string& error) {
    std::string bytes;
    for (const auto& [category, set] : messages) {
        const std::string path = catalog_base_name(prefix, category) + BMC_EXTENSION;
        if (!encode_catalog(set, bytes)) return error = path + ": " + TOO_LARGE, false;
        if (!stage(path, bytes, inputs, files, error)) return false;
    }
    return true;
}

bool put_on_stdout(const std::string& bytes, std::string& error) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() && std::fflush(stdout) == 0)
        return true;
    error = "cannot write to standard output";
    return false;
}

bool put_into_stream(const std::string& path, const std::string& bytes, std::string& error) {
    std::FILE* const stream = std::fopen(path.c_str(), "wbe");
    if (stream != nullptr && write_and_close(stream, bytes)) return true;
    error = path + ": " + std::strerror(errno);
    return false;
}

} // namespace

bool write_module(const ModuleTarget& target, const Messages& messages,
                  const std::vector<std::string>& inputs, std::string& error) {
    std::string map;
    if (!write_map(target.module, target.language, messages, map))
        return error = std::to_string(messages.size()) + " categories, a module has room for " +
                       std::to_string(MAX_CATEGORIES),
               false;

    const std::string folder = target.root + "/" + BMC_MESSAGES_DIR + "/" + target.language + "/";
    std::error_code failure;
    std::filesystem::create_directories(folder, failure);
    if (failure) return error = folder + ": " + failure.message(), false;

    // The map comes last: until it is in place, readers go by the old one.
    const i18n_dirlock lock(folder.c_str());
    const std::string prefix = folder + target.module;
    StagedFiles files;
    if (!stage_catalogs(prefix, messages, inputs, files, error)) return false;
    if (!stage(prefix + BMCMAP_EXTENSION, map, inputs, files, error)) return false;
    if (files.commit()) return true;
    error = files.error();
    return false;
}

bool write_catalog(const std::string& path, const MessageSet& set, const std::vector<std::string>& inputs,
                   std::string& error) {
    std::string bytes;
    if (!encode_catalog(set, bytes)) return error = path + ": " + TOO_LARGE, false;
    if (path == STANDARD_STREAM) return put_on_stdout(bytes, error);
    Target target;
    if (!find_target(path, inputs, target, error)) return false;
    if (target.takes_stream) return put_into_stream(path, bytes, error);
    StagedFiles files;
    if (files.stage(target.path, bytes) && files.commit()) return true;
    error = files.error();
    return false;
}

} // namespace gencat
