// A folder of its own for a test, with the verbs that the tests of the compiler need.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

class TempDir {
public:
    TempDir() {
        std::string name = (std::filesystem::temp_directory_path() / "taqgencat-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
        _path = name;
        std::filesystem::permissions(_path, std::filesystem::perms::all);
    }
    ~TempDir() { std::filesystem::remove_all(_path); }

    std::string path(const std::string& name = "") const { return name.empty() ? _path : _path + "/" + name; }

    std::string write(const std::string& name, const std::string& bytes) const {
        std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
        std::ofstream(path(name), std::ios::binary) << bytes;
        return path(name);
    }

    std::string read(const std::string& name) const {
        std::ifstream in(path(name), std::ios::binary);
        EXPECT_TRUE(in) << name;
        return {std::istreambuf_iterator<char>(in), {}};
    }

    // Names of the files below, in order.
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
