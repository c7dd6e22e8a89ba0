// Writes a group of files so that readers meet each either old or new, never half.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace gencat {

// Owns temporary files beside their targets. What was not committed is removed by the destructor, so a
// failure while staging leaves every target as it was.
class StagedFiles {
public:
    StagedFiles() = default;
    StagedFiles(const StagedFiles&) = delete;
    StagedFiles& operator=(const StagedFiles&) = delete;
    ~StagedFiles();

    // Writes bytes to a temporary file in the folder of path. False with the reason in error().
    bool stage(const std::string& path, std::string_view bytes);

    // Renames all to their targets, in the order staged, and stops at the first failure.
    bool commit();

    const std::string& error() const { return _error; }

private:
    struct Entry {
        std::string temporary, target;
    };

    std::FILE* _create_beside(const std::string& target, std::string& name);
    bool _fail(const std::string& path);

    std::vector<Entry> _entries; // not yet renamed
    unsigned _number = 0;        // of the next temporary name
    std::string _error;
};

// Writes all bytes to a stream and closes it. False with errno set; the stream is closed then, too.
bool write_and_close(std::FILE* stream, std::string_view bytes);

} // namespace gencat
