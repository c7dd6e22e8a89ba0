// From the command line to the parser: folders become files, files become bytes.
#include "SourceFiles.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

namespace gencat {

namespace fs = std::filesystem;

namespace {

constexpr size_t READ_SIZE = 65536;

bool read_stream(std::FILE* stream, std::string& bytes) {
    char buffer[READ_SIZE];
    while (const size_t n = std::fread(buffer, 1, sizeof buffer, stream)) bytes.append(buffer, n);
    return std::ferror(stream) == 0;
}

// The sources that path stands for, in name order.
bool expand(const std::string& path, std::vector<std::string>& files, std::string& error) {
    if (path == STANDARD_STREAM || !is_folder(path)) {
        files.push_back(path);
        return true;
    }
    std::error_code failure;
    std::vector<std::string> found;
    for (fs::directory_iterator it(path, failure), end; !failure && it != end; it.increment(failure))
        if (it->path().extension() == SOURCE_SUFFIX) found.push_back(it->path().string());
    if (failure) return error = path + ": " + failure.message(), false;
    if (found.empty()) return error = path + ": holds no source (*" + SOURCE_SUFFIX + ")", false;
    std::sort(found.begin(), found.end());
    files.insert(files.end(), found.begin(), found.end());
    return true;
}

} // namespace

bool is_folder(const std::string& path) {
    std::error_code failure;
    return fs::is_directory(path, failure);
}

bool read_file(const std::string& path, std::string& bytes, std::string& error) {
    bytes.clear();
    if (path == STANDARD_STREAM) {
        if (read_stream(stdin, bytes)) return true;
        return error = "cannot read standard input", false;
    }
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
    if (file && read_stream(file.get(), bytes)) return true;
    error = path + ": " + std::strerror(errno);
    return false;
}

bool load_sources(const std::vector<std::string>& paths, DefaultSet default_set, Messages& messages,
                  Diagnostics& faults, std::vector<std::string>& inputs, std::string& error) {
    std::vector<std::string> files;
    for (const std::string& path : paths)
        if (!expand(path, files, error)) return false;
    std::string source;
    for (const std::string& file : files) {
        if (!read_file(file, source, error)) return false;
        parse_source(file, source, default_set, messages, faults);
    }
    inputs.insert(inputs.end(), files.begin(), files.end());
    return true;
}

} // namespace gencat
