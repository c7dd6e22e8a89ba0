// QENUtils::get_system: the name of this system, which a log data file has in its header.
#include <cctype>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "platform/unix/QENDefaults.h"
#include "platform/unix/QENNoCase.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/files/FileIo.h"
#include "primitives/utils/QENUtils.h"

inline namespace taq_1 {

namespace {

// The configuration file holds lines of name=value; a line that begins with '#' and the rest of a line
// behind one are comments. Names compare ignoring case, the first line of a name counts.
constexpr char CONF_FILE[] = "/taq.conf";
constexpr char LOCAL_NAME[] = "LOCAL_NAME";
constexpr size_t LINE_MAX_BYTES = 4095; // the rest of a longer line is ignored
constexpr size_t PATH_SIZE = 4096;
constexpr size_t NAME_SIZE = 64; // of the name in the environment
constexpr size_t NODE_SIZE = 256;

struct FileCloser {
    void operator()(std::FILE* fp) const { (void)std::fclose(fp); } // only read from
};
using File = std::unique_ptr<std::FILE, FileCloser>;

std::string_view trim(std::string_view text) {
    constexpr char WHITE[] = " \t\r\n\f\v";
    const size_t first = text.find_first_not_of(WHITE);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(WHITE) - first + 1);
}

char* new_string(std::string_view text) {
    char* copy = new char[text.size() + 1];
    std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
}

// A file that is not a regular one (a FIFO would wait for its writer) counts as absent.
File open_configuration() {
    char path[PATH_SIZE];
    const bool moved = QENGetenv(QEN_ENV_CONF_DIR, path, sizeof path) == 0;
    const std::string file = std::string(moved ? path : QEN_DEFAULT_CONF_DIR) + CONF_FILE;
    QENFileState state;
    const int fd = file_open_regular(file.c_str(), QENAccess::READ, state);
    return File(fd >= 0 ? QENStreamOver(fd, "r") : nullptr);
}

// Reads the next line, cut at LINE_MAX_BYTES; the rest of a longer one is skipped. Reads byte by byte: a NUL
// in a line must not hide its end.
bool read_line(std::FILE* fp, std::string& line) {
    line.clear();
    int c = getc_unlocked(fp);
    if (c == EOF) return false;
    for (; c != EOF && c != '\n'; c = getc_unlocked(fp))
        if (line.size() < LINE_MAX_BYTES) line.push_back(static_cast<char>(c));
    return true;
}

// The value of an entry of this name; data() is null when the line is another entry, a comment (its '#' would
// be part of the name) or none.
std::string_view value_of(std::string_view line, std::string_view name) {
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) return {};
    const std::string_view found = trim(line.substr(0, equals));
    if (!QENEqualNoCase(found, name)) return {};
    const std::string_view value = line.substr(equals + 1);
    return value.substr(0, value.find_first_of("#\r\n"));
}

// The first word of the entry LOCAL_NAME; null when there is none.
char* configured_name() {
    const File fp = open_configuration();
    std::string line;
    while (fp != nullptr && read_line(fp.get(), line)) {
        const std::string_view value = value_of(line, LOCAL_NAME);
        if (value.data() == nullptr) continue;
        const std::string_view text = trim(value);
        const std::string_view word = text.substr(0, text.find_first_of(" \t"));
        return word.empty() ? nullptr : new_string(word);
    }
    return nullptr;
}

bool is_name_char(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_';
}

char* node_name() {
    char node[NODE_SIZE];
    QENGetSystemName(node, sizeof node);
    size_t len = 0;
    while (is_name_char(node[len])) ++len;
    return new_string({node, len});
}

} // namespace

char* QENUtils::get_system() {
    char name[NAME_SIZE];
    if (QENGetenv(QEN_ENV_LOCAL_NAME, name, sizeof name) == 0) return new_string(name);
    char* configured = configured_name();
    return configured != nullptr ? configured : node_name();
}

} // namespace taq_1
