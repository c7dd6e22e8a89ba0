// From checked messages to files: encodes, stages, and puts everything in place.
#include "ModuleWriter.h"

#include "CatalogCodec.h"
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

bool belongs_to(uint32_t category, const std::string& owner, const ModuleTarget& target,
                const InstalledModule& module, std::string& error) {
    const std::string& holder = module.owner_of(category);
    if (holder == owner) return true;
    error = target.map_path() + ": category " + std::to_string(category) + " belongs to " + holder;
    return false;
}

// Whether the categories of messages are free or the owner's.
bool may_put(const Messages& messages, const std::string& owner, const ModuleTarget& target,
             const InstalledModule& module, std::string& error) {
    for (const auto& [category, set] : messages)
        if (module.holds(category) && !belongs_to(category, owner, target, module, error)) return false;
    return true;
}

void put_all(const Messages& messages, const std::string& owner, const ModuleTarget& target,
             InstalledModule& module) {
    for (const auto& [category, entry] : map_entries(target.module, messages))
        module.put(category, entry, owner);
}

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

bool stage_owners(const ModuleTarget& target, const std::string& owners, StagedFiles& files,
                  std::string& error) {
    if (!owners.empty()) return stage(target.owners_path(), owners, {}, files, error);
    files.stage_removal(target.owners_path());
    return true;
}

bool commit(StagedFiles& files, std::string& error) {
    if (files.commit()) return true;
    error = files.error();
    return false;
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

bool write_product(const std::string& path, Product product, const std::string& bytes,
                   const std::vector<std::string>& inputs, std::string& error) {
    if (path == STANDARD_STREAM) return put_on_stdout(bytes, error);
    Target target;
    if (!find_target(path, product, inputs, target, error)) return false;
    if (target.takes_stream) return put_into_stream(path, bytes, error);
    StagedFiles files;
    if (files.stage(target.path, bytes)) return commit(files, error);
    error = files.error();
    return false;
}

} // namespace

bool write_module(const ModuleTarget& target, const Messages& messages,
                  const std::vector<std::string>& inputs, std::string& error) {
    InstalledModule module(target);
    put_all(messages, target.module, target, module);
    std::string map, owners;
    if (!module.write(map, owners, error)) return false; // before the first folder is made

    std::error_code failure;
    std::filesystem::create_directories(target.folder(), failure);
    if (failure) return error = target.folder() + ": " + failure.message(), false;
    const i18n_dirlock lock(target.folder().c_str());
    if (std::filesystem::exists(target.owners_path(), failure)) { // otherwise nothing of the old map stays
        if (!module.load(error) || !may_put(messages, target.module, target, module, error)) return false;
        for (const uint32_t category : module.categories_of(target.module)) module.drop(category);
        put_all(messages, target.module, target, module);
        if (!module.write(map, owners, error)) return false;
    }
    StagedFiles files;
    return stage_catalogs(target.prefix(), messages, inputs, files, error) &&
           stage(target.map_path(), map, inputs, files, error) && commit(files, error);
}

bool add_to_module(const ModuleTarget& target, const std::string& owner, const Messages& messages,
                   const std::vector<std::string>& inputs, std::string& error) {
    const i18n_dirlock lock(target.folder().c_str());
    InstalledModule module(target);
    if (!module.load(error)) return false;
    if (module.entries().empty())
        return error = target.map_path() + ": the module is not installed in this language", false;
    if (!may_put(messages, owner, target, module, error)) return false;
    put_all(messages, owner, target, module);
    std::string map, owners;
    if (!module.write(map, owners, error)) return false;
    // The owner before its catalogs, so that nobody else takes them for free if the run is killed; the map
    // last.
    StagedFiles files(StagedFiles::Mode::WAIT_FOR_DISK);
    return stage_owners(target, owners, files, error) &&
           stage_catalogs(target.prefix(), messages, inputs, files, error) &&
           stage(target.map_path(), map, inputs, files, error) && commit(files, error);
}

bool remove_from_module(const ModuleTarget& target, const std::string& owner,
                        const std::vector<uint32_t>& categories, std::string& error) {
    const i18n_dirlock lock(target.folder().c_str());
    InstalledModule module(target);
    if (!module.load(error)) return false;
    const std::vector<uint32_t> all = categories.empty() ? module.categories_of(owner) : categories;
    std::vector<std::string> catalogs;
    for (const uint32_t category : all) {
        if (!module.holds(category)) continue;
        if (!belongs_to(category, owner, target, module, error)) return false;
        module.drop(category);
        catalogs.push_back(catalog_base_name(target.prefix(), category) + BMC_EXTENSION);
    }
    std::string map, owners;
    if (!module.write(map, owners, error)) return false;
    // First the map, which must not name a catalog that is gone. Last the owners: who is interrupted finds
    // the category again the next time.
    StagedFiles files(StagedFiles::Mode::WAIT_FOR_DISK);
    if (map.empty()) files.stage_removal(target.map_path());
    if (!map.empty() && !stage(target.map_path(), map, {}, files, error)) return false;
    for (const std::string& path : catalogs) files.stage_removal(path);
    return stage_owners(target, owners, files, error) && commit(files, error);
}

bool write_catalog(const std::string& path, const MessageSet& set, const std::vector<std::string>& inputs,
                   std::string& error) {
    std::string bytes;
    if (!encode_catalog(set, bytes)) return error = path + ": " + TOO_LARGE, false;
    return write_product(path, Product::CATALOG, bytes, inputs, error);
}

bool write_header_file(const std::string& path, const std::string& header,
                       const std::vector<std::string>& inputs, std::string& error) {
    return write_product(path, Product::HEADER, header, inputs, error);
}

} // namespace gencat
