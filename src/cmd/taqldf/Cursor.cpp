// Reads and writes the file of positions: a line that names the form, then a line for each log with the host
// and the log in front, in which bytes that are no letters stand as %20.
#include "Cursor.h"

#include <cerrno>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "platform/unix/QENDescriptors.h"
#include "primitives/files/FileIo.h"

namespace {

constexpr char FORM[] = "taqldf cursor 1\n";
constexpr size_t MOST_BYTES = 16 * 1024 * 1024;
constexpr int64_t INTERVAL = 1000; // milliseconds

int64_t now() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::string escaped(const std::string& name) {
    std::string out;
    char code[4];
    for (const char c : name) {
        if (c > ' ' && c < 0x7F && c != '%') {
            out.push_back(c);
            continue;
        }
        (void)std::snprintf(code, sizeof code, "%%%02x",
                            static_cast<unsigned>(static_cast<unsigned char>(c)));
        out.append(code);
    }
    return out.empty() ? "%" : out;
}

// False: no name that escaped() gives.
bool unescape(const std::string& text, std::string& name) {
    name.clear();
    for (size_t at = 0; at < text.size() && text != "%";) {
        unsigned code = 0;
        const bool is_code = text[at] == '%' && std::sscanf(text.c_str() + at, "%%%2x", &code) == 1;
        name.push_back(is_code ? static_cast<char>(code) : text[at]);
        at += is_code ? 3 : 1;
    }
    return escaped(name) == text;
}

// The whole file; false with errno set.
bool read_file(const std::string& path, std::string& text) {
    QENFileState state;
    const int fd = file_open_regular(path.c_str(), QENAccess::READ, state);
    if (fd < 0) return false;
    int64_t n = 1;
    char piece[4096];
    while (n > 0 && text.size() < MOST_BYTES) {
        n = QENReadSome(fd, piece, sizeof piece, static_cast<int64_t>(text.size()));
        if (n > 0) text.append(piece, static_cast<size_t>(n));
    }
    QENCloseDescriptor(fd);
    return n == 0;
}

} // namespace

bool Cursor::load(const std::string& path, Problems& problems) {
    _path = path;
    std::string text;
    if (!read_file(path, text)) {
        if (errno == ENOENT) return true;
        problems.failure(path + ": " + std::strerror(errno));
        return false;
    }
    if (parse(text)) return true;
    problems.failure(path + ": no cursor of taqldf, or a damaged one");
    return false;
}

bool Cursor::parse(const std::string& text) {
    bool is_whole = text.starts_with(FORM) && text.ends_with('\n') && text.find('\0') == text.npos;
    for (size_t at = std::strlen(FORM), end; is_whole && at < text.size(); at = end + 1) {
        end = text.find('\n', at);
        const std::string line = text.substr(at, end - at);
        char names[2][1024];
        std::string host, log;
        LogPosition p;
        int used = 0;
        is_whole = std::sscanf(line.c_str(),
                               "%1023s %1023s %" SCNd32 " %" SCNx64 " %" SCNx64 ":%" SCNx64 " %" SCNd32
                               " %" SCNd64 " %" SCNx64 "%n",
                               names[0], names[1], &p.created, &p.first_hash, &p.device, &p.inode, &p.record,
                               &p.offset, &p.last_hash, &used) == 9 &&
                   static_cast<size_t>(used) == line.size() && unescape(names[0], host) &&
                   unescape(names[1], log) && p.record >= 0 && p.offset >= 0;
        _positions[{host, log}] = p;
    }
    return is_whole;
}

const LogPosition* Cursor::find(const std::string& host, const std::string& log) const {
    const auto found = _positions.find({host, log});
    return found == _positions.end() ? nullptr : &found->second;
}

void Cursor::set(const std::string& host, const std::string& log, const LogPosition& position) {
    _positions[{host, log}] = position;
    _has_changed = true;
}

int Cursor::save(bool at_once, Problems& problems) {
    if (!is_used() || !_has_changed) return -1;
    const int64_t left = _saved + INTERVAL - now();
    if (!at_once && left > 0) return static_cast<int>(left);
    _saved = now();
    if (_write()) {
        _has_changed = _is_told = false;
        return -1;
    }
    if (!_is_told) problems.failure(_path + ": " + std::strerror(errno));
    _is_told = true;
    return static_cast<int>(INTERVAL);
}

std::string Cursor::text() const {
    std::string text(FORM);
    char numbers[160];
    for (const auto& [names, p] : _positions) {
        (void)std::snprintf(numbers, sizeof numbers,
                            " %" PRId32 " %016" PRIx64 " %" PRIx64 ":%" PRIx64 " %" PRId32 " %" PRId64
                            " %016" PRIx64 "\n",
                            p.created, p.first_hash, p.device, p.inode, p.record, p.offset, p.last_hash);
        text.append(escaped(names.first)).append(" ").append(escaped(names.second)).append(numbers);
    }
    return text;
}

// Whole or not at all. False with errno set.
bool Cursor::_write() const {
    const std::string fresh = _path + ".new";
    const int fd = file_create(fresh.c_str(), text(), QENAccess::UPDATE);
    if (fd < 0) return false;
    const bool is_synced = QENSyncData(fd);
    QENCloseDescriptor(fd);
    if (is_synced && std::rename(fresh.c_str(), _path.c_str()) == 0) return true;
    const int why = errno;
    (void)QENRemoveName(fresh.c_str()); // it is of no use
    errno = why;
    return false;
}
