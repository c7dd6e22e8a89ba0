// Turns arguments into lists of files. LogSource opens them.
#include "Inputs.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>

#include "platform/unix/QENDirectory.h"
#include "primitives/ldf/LdfPaths.h"
#include "primitives/ldf/ldf_format.h"

namespace {

constexpr size_t LONGEST_LABEL = 255;           // as a file name, which names a log
constexpr std::string_view GENERATIONS = "CBA"; // the oldest first
constexpr std::string_view PATH_SUFFIXES[] = {LDF_EXTENSION, ".err", ".tar", ".tar.zst"};

bool is_path(std::string_view word) {
    return word == "." || word == ".." || word.find('/') != word.npos ||
           std::any_of(std::begin(PATH_SUFFIXES), std::end(PATH_SUFFIXES),
                       [&](std::string_view suffix) { return word.ends_with(suffix); });
}

// "engine_A" is generation A of "engine". '\0' and the whole name: no generation.
char split_generation(std::string_view name, std::string_view& log) {
    log = name;
    if (name.size() < 3 || name[name.size() - 2] != '_') return '\0';
    if (GENERATIONS.find(name.back()) == GENERATIONS.npos) return '\0';
    log.remove_suffix(2);
    return name.back();
}

std::string file_name(std::string_view path) {
    const size_t slash = path.rfind('/');
    return std::string(slash == path.npos ? path : path.substr(slash + 1));
}

std::string data_directory() {
    char root[LDF_ROOT_SIZE];
    ldf_data_root(root);
    return std::string(root) + LDF_SUBDIR;
}

class Finder {
public:
    Finder(std::string host, std::vector<LogInput>& inputs, Problems& problems)
        : _host(std::move(host)), _inputs(inputs), _problems(problems) {}

    void find_name(std::string_view name, bool may_come);
    void find_path(const std::string& path);
    bool find_directory(const std::string& directory);

private:
    bool _find_log(const std::string& directory, std::string_view log);
    bool _find_file(const std::string& path);
    void _add(const std::string& directory, std::string_view log, std::vector<LogFile> files) {
        _inputs.push_back({_host, std::string(log), std::move(files), directory});
    }

    const std::string _host;
    std::vector<LogInput>& _inputs;
    Problems& _problems;
};

// A rotation gives B the file of A for an instant: it is listed once, as A.
bool Finder::_find_log(const std::string& directory, std::string_view log) {
    std::vector<LogFile> files;
    for (const char generation : GENERATIONS) {
        LogFile file{directory + std::string(log) + "_" + generation + LDF_EXTENSION, generation, {}};
        if (!QENStateOfPath(file.path.c_str(), file.state) || !file.state.is_regular()) continue;
        std::erase_if(files, [&](const LogFile& other) { return other.state.is_same_file(file.state); });
        files.push_back(std::move(file));
    }
    if (files.empty()) return false;
    _add(directory, log, std::move(files));
    return true;
}

bool Finder::_find_file(const std::string& path) {
    LogFile file{path, '\0', {}};
    if (!QENStateOfPath(path.c_str(), file.state) || file.state.is_directory()) return false;
    std::string name = file_name(path);
    if (name.ends_with(LDF_EXTENSION)) name.resize(name.size() - std::strlen(LDF_EXTENSION));
    std::string_view log;
    file.generation = split_generation(name, log);
    _add(path.substr(0, path.rfind('/') + 1), log, {std::move(file)});
    return true;
}

void Finder::find_name(std::string_view name, bool may_come) {
    const std::string directory = data_directory();
    if (_find_file(directory + std::string(name) + LDF_EXTENSION) || _find_log(directory, name)) return;
    if (!may_come) return _problems.failure("no log '" + std::string(name) + "' in " + directory);
    std::string_view log;
    (void)split_generation(name, log);
    _add(directory, log, {});
}

void Finder::find_path(const std::string& path) {
    QENFileState state;
    if (QENStateOfPath(path.c_str(), state) && state.is_directory()) {
        const std::string directory = path.ends_with('/') ? path : path + "/";
        const bool has_subdirectory =
            QENStateOfPath((path + LDF_SUBDIR).c_str(), state) && state.is_directory();
        if (!find_directory(has_subdirectory ? path + LDF_SUBDIR : directory))
            _problems.failure(path + ": " + std::strerror(errno));
        return;
    }
    const std::string name = file_name(path);
    if (_find_file(path) || _find_log(path.substr(0, path.size() - name.size()), name)) return;
    _problems.failure(path + ": no such file");
}

// Every log in a directory, in the order of the names. False with errno set: it cannot be read.
bool Finder::find_directory(const std::string& directory) {
    QENDirectory entries(directory.c_str());
    if (!entries.is_open()) return false;
    std::map<std::string, bool> logs; // whether the name is that of a log, and not of a file
    while (entries.next()) {
        std::string_view name = entries.name();
        if (name.starts_with('.') || !name.ends_with(LDF_EXTENSION)) continue;
        name.remove_suffix(std::strlen(LDF_EXTENSION));
        std::string_view log;
        const bool is_generation = split_generation(name, log) != '\0';
        logs.emplace(log, is_generation);
    }
    const size_t first = _inputs.size();
    for (const auto& [name, is_log] : logs)
        if (!is_log || !_find_log(directory, name)) (void)_find_file(directory + name + LDF_EXTENSION);
    for (size_t i = first; i < _inputs.size(); ++i) _inputs[i].is_of_directory = true;
    return true;
}

} // namespace

void find_input(std::string_view word, std::vector<LogInput>& inputs, Problems& problems, bool may_come) {
    if (word == "-") {
        inputs.push_back({"", "-", {LogFile{"standard input", '\0', {}}}, "", true});
        return;
    }
    const size_t equal = word.find('=');
    const bool has_host = equal != word.npos && equal > 0 && word.substr(0, equal).find('/') == word.npos;
    if (has_host && equal > LONGEST_LABEL) return problems.failure("label of a host too long");
    Finder finder(std::string(has_host ? word.substr(0, equal) : ""), inputs, problems);
    const std::string_view place = has_host ? word.substr(equal + 1) : word;
    if (has_host || is_path(place))
        finder.find_path(std::string(place));
    else
        finder.find_name(place, may_come);
}

void find_all_logs(std::vector<LogInput>& inputs, Problems& problems) {
    const std::string directory = data_directory();
    if (!Finder("", inputs, problems).find_directory(directory))
        problems.failure(directory + ": " + std::strerror(errno));
}
