// taqlog: writes a message to a log from the shell. See docs/taqlog.1.
#include "Request.h"

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <memory>

#include "i18n/common/i18n.h"
#include "platform/unix/QENDefaults.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/log/Log.h"
#include "primitives/log/LogResult.h"

namespace {

enum Status { WRITTEN = 0, IN_USE = 1, FAILED = 2 };

int fail(const std::string& why) {
    (void)std::fprintf(stderr, "taqlog: %s\n", why.c_str());
    return FAILED;
}

// The English text of the message, with its arguments, for the text log. False, and told: the catalog has no
// such message, or one with another number of arguments. Nobody could read the record.
bool compose(Request& request) {
    constexpr size_t ROOT_SIZE = 4096;
    char root[ROOT_SIZE];
    const bool is_set = QENGetenv(QEN_ENV_MESSAGES_ROOT, root, sizeof root) == 0;
    void* handle = nullptr;
    const std::string id = std::to_string(request.category) + "-" + std::to_string(request.number);
    const char* const catalogs = is_set ? root : QEN_DEFAULT_MESSAGES_ROOT;
    if (i18nOpen(&handle, catalogs, QEN_MESSAGES_MODULE, "en") != I18N_SOK) {
        (void)fail("no catalogs below " + std::string(catalogs));
        return false;
    }
    i18nTemplate found;
    const int rc = i18nGetTemplate(&handle, request.category, request.number, &found);
    std::string why;
    if (rc != I18N_SOK)
        why = "no message " + id + " in the catalogs";
    else if (found.arg_count != request.args.size())
        why = "message " + id + " has another number of arguments, " + std::to_string(found.arg_count) +
              ": " + std::string(found.text);
    else
        for (size_t i = 0; i < found.piece_count; ++i) {
            const i18n_piece& piece = found.pieces[i];
            request.text.append(found.text.substr(piece._offset, piece._size));
            if (piece._arg != I18N_NO_ARG) request.text.append(request.args[static_cast<size_t>(piece._arg)]);
        }
    (void)i18nClose(&handle); // it is open
    if (!why.empty()) refuse(why);
    return why.empty();
}

void write(Log& log, const Request& request, const char* text) {
    const char* args[ULOG_MAX_ARGS] = {};
    for (size_t i = 0; i < request.args.size(); ++i) args[i] = request.args[i].c_str();
    const bool has_number = request.number != 0;
    log.write_buf("taqlog", "shell", 0, request.severity, request.flags,
                  has_number ? static_cast<int>(request.category) : ULOG_CAT_NONE,
                  static_cast<int>(request.number), text, args[0], args[1], args[2], args[3], args[4],
                  args[5]);
}

// Each line is a message; a long one several. False: the input cannot be read.
bool write_lines(Log& log, const Request& request) {
    std::string line;
    for (int c; (c = std::getc(stdin)) != EOF;) {
        if (c == '\n' || line.size() == LONGEST_TEXT) {
            if (!line.empty()) write(log, request, line.c_str());
            line.clear();
        }
        if (c != '\n') line.push_back(c != '\0' ? static_cast<char>(c) : '?');
    }
    if (!line.empty()) write(log, request, line.c_str());
    return std::ferror(stdin) == 0;
}

int run(const Request& request) {
    const auto log = std::make_unique<Log>();
    const int rc = log->open(request.name.c_str(), /*fp=*/nullptr, /*flags=*/0, nullptr);
    if (rc != ULOG_OK) {
        (void)fail(request.name + ": " + ulog_result_text(rc));
        return rc == ULOG_EREGISTERED ? IN_USE : FAILED;
    }
    if (request.kind == Request::LINES) {
        if (!write_lines(*log, request)) return fail("standard input: " + std::string(std::strerror(errno)));
    } else {
        write(*log, request, request.text.c_str());
    }
    const LogLoss& lost = log->losses();
    const uint64_t count = lost.lines.total() + lost.records.total();
    return count == 0 ? WRITTEN
                      : fail(request.name + ": " + std::to_string(count) + " lines or records were lost");
}

int print(const char* text) {
    return std::fputs(text, stdout) >= 0 && std::fflush(stdout) == 0
               ? WRITTEN
               : fail("cannot write to standard output");
}

} // namespace

int main(int argc, char** argv) {
    (void)std::setlocale(LC_ALL, "");
    Request request;
    if (!parse_request(argc, argv, request)) return FAILED;
    if (request.kind == Request::HELP) return print(TAQLOG_HELP);
    if (request.kind == Request::VERSION) return print("taqlog " TAQ_VERSION "\n");
    if (request.kind == Request::MESSAGE && !compose(request)) return FAILED;
    Log::init("QEN", "K-16", "taqlog");
    const int status = run(request);
    Log::destroy();
    return status;
}
