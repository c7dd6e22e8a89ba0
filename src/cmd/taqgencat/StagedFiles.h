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
    // WAIT_FOR_DISK: a file's bytes reach the disk before it is renamed, so that a power cut leaves it old or
    // new as well.
    enum class Mode { PLAIN, WAIT_FOR_DISK };

    explicit StagedFiles(Mode mode = Mode::PLAIN) : _mode(mode) {}
    StagedFiles(const StagedFiles&) = delete;
    StagedFiles& operator=(const StagedFiles&) = delete;
    ~StagedFiles();

    // Writes bytes to a temporary file in the folder of path. False with the reason in error().
    bool stage(const std::string& path, std::string_view bytes);

    // Lets commit() remove the file at path, which may be absent.
    void stage_removal(const std::string& path) { _entries.push_back({{}, path}); }

    // Renames all to their targets and removes, in the order staged, and stops at the first failure.
    bool commit();

    const std::string& error() const { return _error; }

private:
    struct Entry {
        std::string temporary, target; // temporary empty: the target is to be removed

        bool take_effect() const;
    };

    std::FILE* _create_beside(const std::string& target, std::string& name);
    bool _fail(const std::string& path);

    Mode _mode;
    std::vector<Entry> _entries; // not yet in effect
    unsigned _number = 0;        // of the next temporary name
    std::string _error;
};

// Writes all bytes to a stream, waits for the disk in that mode, and closes it. False with errno set; the
// stream is closed then, too.
bool write_and_close(std::FILE* stream, std::string_view bytes,
                     StagedFiles::Mode mode = StagedFiles::Mode::PLAIN);

} // namespace gencat
