// What a catalog root holds of a module in one language: its map, and who brought which category.
#pragma once

#include "MapFile.h"
#include "Owners.h"

#include <string>
#include <vector>

namespace gencat {

struct ModuleTarget {
    std::string root, module, language;

    std::string folder() const; // ends in "/"
    std::string prefix() const { return folder() + module; }
    std::string map_path() const { return prefix() + BMCMAP_EXTENSION; }
    std::string owners_path() const { return prefix() + OWNERS_EXTENSION; }
};

class InstalledModule {
public:
    explicit InstalledModule(const ModuleTarget& target) : _target(target) {}

    // Reads both files; one that is absent is empty. False with the reason in error.
    bool load(std::string& error);

    bool has_owners() const { return !_owners.empty(); }
    const MapEntries& entries() const { return _entries; }
    bool holds(uint32_t category) const { return _entries.contains(category) || _owners.contains(category); }
    // Of a category that the module holds.
    const std::string& owner_of(uint32_t category) const;
    std::vector<uint32_t> categories_of(const std::string& owner) const;

    void put(uint32_t category, const MapEntry& entry, const std::string& owner);
    void drop(uint32_t category);

    // The texts of both files; empty: no file. False with the reason in error, also when the lookup would
    // read something else from the map.
    bool write(std::string& map, std::string& owners, std::string& error) const;

private:
    const ModuleTarget& _target;
    MapEntries _entries;
    Owners _owners; // categories that are not the module's own
};

// The languages in which the root has a map of the module, in order.
std::vector<std::string> installed_languages(const std::string& root, const std::string& module);

} // namespace gencat
