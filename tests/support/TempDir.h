// A folder of its own for a test, which goes with everything in it when the test ends.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

// Removes a folder with everything in it, folders without permissions included. Never throws: what cannot be
// removed stays.
inline void remove_tree(const std::filesystem::path& path) noexcept try {
    namespace fs = std::filesystem;
    std::error_code ignored;
    if (fs::is_directory(fs::symlink_status(path, ignored))) {
        fs::permissions(path, fs::perms::owner_all, fs::perm_options::add, ignored);
        for (fs::directory_iterator entry(path, ignored), end; entry != end; entry.increment(ignored))
            remove_tree(entry->path());
    }
    fs::remove(path, ignored);
} catch (...) {
}

class TempDir {
public:
    TempDir() {
        std::string name = (std::filesystem::temp_directory_path() / "taq-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
        _path = name;
    }
    ~TempDir() { remove_tree(_path); }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    // Of the folder itself, or of what stands in it under that name.
    std::string path(const std::string& name = "") const { return name.empty() ? _path : _path + "/" + name; }

    // Makes the folder `name`, with those above it. Returns its path.
    std::string make(const std::string& name) const {
        std::filesystem::create_directories(path(name));
        return path(name);
    }

    // Writes a file, with the folders above it. Returns its path.
    std::string write(const std::string& name, const std::string& bytes) const {
        std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
        std::ofstream(path(name), std::ios::binary) << bytes;
        return path(name);
    }

    // The bytes of a file; "<no file>" when it cannot be read.
    std::string read(const std::string& name) const {
        std::ifstream in(path(name), std::ios::binary);
        if (!in) return "<no file>";
        return {std::istreambuf_iterator<char>(in), {}};
    }

    // Names of all files below `name`, relative to it, in order.
    std::vector<std::string> files(const std::string& name = "") const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path(name)))
            if (!entry.is_directory()) found.push_back(std::filesystem::relative(entry, path(name)).string());
        std::sort(found.begin(), found.end());
        return found;
    }

private:
    std::string _path;
};
