// Reads what is installed before the module writer changes it, and says what the files will hold afterwards.
#include "InstalledModule.h"

#include "SourceFiles.h"

#include "i18n/unix/i18n_file.h"

#include <algorithm>
#include <filesystem>
#include <memory>

namespace gencat {

namespace fs = std::filesystem;

namespace {

using Stream = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

bool exists(const std::string& path) {
    std::error_code failure;
    return fs::exists(fs::status(path, failure));
}

// What the lookup will read from a map.
bool reads_back(std::string map, const ModuleTarget& target, const MapEntries& entries) {
    const Stream stream(::fmemopen(map.data(), map.size(), "r"), std::fclose);
    MapEntries read;
    return stream && read_map(stream.get(), target.module, target.language, read) == nullptr &&
           read == entries;
}

} // namespace

std::string ModuleTarget::folder() const {
    return root + "/" + BMC_MESSAGES_DIR + "/" + language + "/";
}

bool InstalledModule::load(std::string& error) {
    const std::string map = _target.map_path(), owners = _target.owners_path();
    _entries.clear();
    _owners.clear();
    if (exists(owners)) {
        std::string text;
        if (!read_file(owners, text, error)) return false;
        if (const uint32_t line = read_owners(text, _owners); line != 0)
            return error = owners + ":" + std::to_string(line) + ": is not a category and its owner", false;
    }
    if (!exists(map)) return true;
    const Stream stream(i18n_fopen(map.c_str()), std::fclose);
    if (!stream) return error = map + ": cannot be read", false;
    if (const char* reason = read_map(stream.get(), _target.module, _target.language, _entries))
        return error = map + ": " + reason, false;
    return true;
}

const std::string& InstalledModule::owner_of(uint32_t category) const {
    const auto line = _owners.find(category);
    return line == _owners.end() ? _target.module : line->second;
}

std::vector<uint32_t> InstalledModule::categories_of(const std::string& owner) const {
    std::vector<uint32_t> categories;
    for (const auto& [category, entry] : _entries)
        if (owner_of(category) == owner) categories.push_back(category);
    for (const auto& [category, name] : _owners) // what a run that was killed could not add to the map
        if (name == owner && !_entries.contains(category)) categories.push_back(category);
    return categories;
}

void InstalledModule::put(uint32_t category, const MapEntry& entry, const std::string& owner) {
    _entries[category] = entry;
    if (owner != _target.module) _owners[category] = owner;
}

void InstalledModule::drop(uint32_t category) {
    _entries.erase(category);
    _owners.erase(category);
}

bool InstalledModule::write(std::string& map, std::string& owners, std::string& error) const {
    map.clear();
    owners = write_owners(_target.module, _owners);
    if (_entries.empty()) return true;
    if (!write_map(_target.module, _target.language, _entries, map))
        return error = std::to_string(_entries.size()) + " categories, a module has room for " +
                       std::to_string(MAX_CATEGORIES),
               false;
    if (reads_back(map, _target, _entries)) return true;
    return error = _target.map_path() + ": has an entry that cannot be written again", false;
}

std::vector<std::string> installed_languages(const std::string& root, const std::string& module) {
    std::vector<std::string> languages;
    std::error_code failure;
    for (fs::directory_iterator it(root + "/" + BMC_MESSAGES_DIR, failure), end; !failure && it != end;
         it.increment(failure)) {
        const std::string language = it->path().filename().string();
        if (is_language_name(language) && exists(ModuleTarget{root, module, language}.map_path()))
            languages.push_back(language);
    }
    std::sort(languages.begin(), languages.end());
    return languages;
}

} // namespace gencat
