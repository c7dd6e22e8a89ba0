// Parses the command line of taqlog.
#include "Request.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <getopt.h>
#include <string_view>

#include "platform/unix/QENNoCase.h"
#include "primitives/ldf/QENObjTags.h"
#include "primitives/log/ILog.h"

const char TAQLOG_HELP[] =
    "Usage: taqlog [OPTION]... -c CATEGORY -m NUMBER [ARG]...\n"
    "       taqlog [OPTION]... -t TEXT\n"
    "       taqlog [OPTION]...                lines of standard input, each a message\n"
    "Writes messages to a text log and its log data file.\n\n"
    "  -n, --name=NAME          log (default: taqlog)\n"
    "  -s, --severity=SEVERITY  critical, error, warning, notice or info (default), or its first letter\n"
    "  -o, --object-type=TYPE   what the message is about: QEN (default), SYS, GRP, RES or AGT\n"
    "  -c, --category=CATEGORY  category of the message\n"
    "  -m, --message=NUMBER     its number; the arguments are those of its text in the catalog\n"
    "  -t, --text=TEXT          a message without a number\n"
    "  -h, --help               show this help\n"
    "      --version            show the version\n\n"
    "Exit status: 0 written, 1 another process writes the log, 2 wrong arguments or not written.\n";

void refuse(const std::string& reason) {
    (void)std::fprintf(stderr, "taqlog: %s\nTry 'taqlog --help'.\n", reason.c_str());
}

namespace {

constexpr int VERSION_CODE = 256;
constexpr unsigned LARGEST = 65535; // category and number have 16 bits each

constexpr option long_options[] = {{"name", required_argument, nullptr, 'n'},
                                   {"severity", required_argument, nullptr, 's'},
                                   {"object-type", required_argument, nullptr, 'o'},
                                   {"category", required_argument, nullptr, 'c'},
                                   {"message", required_argument, nullptr, 'm'},
                                   {"text", required_argument, nullptr, 't'},
                                   {"help", no_argument, nullptr, 'h'},
                                   {"version", no_argument, nullptr, VERSION_CODE},
                                   {nullptr, 0, nullptr, 0}};

constexpr struct {
    obj_tag_t type;
    int flag;
} object_types[] = {{OBJTAG_QEN, 0},
                    {OBJTAG_SYS, ULOG_ABOUT_SYSTEM},
                    {OBJTAG_GRP, ULOG_ABOUT_GROUP},
                    {OBJTAG_RES, ULOG_ABOUT_RESOURCE},
                    {OBJTAG_AGT, ULOG_ABOUT_AGENT}};

bool refuse_value(const char* what, std::string_view value) {
    refuse("unknown " + std::string(what) + " '" + std::string(value) + "'");
    return false;
}

bool take_severity(std::string_view value, ulog_app_sev& severity) {
    for (int sev = 0; sev < SEV_APP_END; ++sev) {
        const std::string_view name = ulog_app_sev_name(sev);
        if (!QENEqualNoCase(name, value) && !QENEqualNoCase(name.substr(0, 1), value)) continue;
        severity = static_cast<ulog_app_sev>(sev);
        return true;
    }
    return refuse_value("severity", value);
}

bool take_object_type(const char* value, int& flags) {
    for (const auto& row : object_types) {
        if (QENGetObjTag(value) != row.type) continue;
        flags = row.flag;
        return true;
    }
    return refuse_value("object type", value);
}

// Number 0 stands for messages without one.
bool take_number(const char* what, std::string_view value, unsigned& number) {
    const auto [rest, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    const bool is_number = error == std::errc() && rest == value.data() + value.size();
    return (is_number && number > 0 && number <= LARGEST) || refuse_value(what, value);
}

bool take(int code, Request& request, bool& has_text) {
    switch (code) {
    case 'n': request.name = optarg; return true;
    case 's': return take_severity(optarg, request.severity);
    case 'o': return take_object_type(optarg, request.flags);
    case 'c': return take_number("category", optarg, request.category);
    case 'm': return take_number("message number", optarg, request.number);
    case 't': request.text = optarg; return has_text = true;
    case 'h': request.kind = Request::HELP; return true;
    case VERSION_CODE: request.kind = Request::VERSION; return true;
    default: refuse("wrong options"); return false;
    }
}

bool check(const Request& request, bool has_text) {
    const char* why = nullptr;
    size_t size = request.text.size();
    for (const std::string& arg : request.args) size += arg.size() + 1; // and what ends it
    const bool has_number = request.number != 0;
    if (request.name.empty())
        why = "no name of a log";
    else if (has_text && request.text.empty())
        why = "no text";
    else if ((request.category != 0) != has_number)
        why = "-c and -m go together";
    else if (has_text && has_number)
        why = "-t is for messages without a number";
    else if (!has_number && !request.args.empty())
        why = "arguments are for messages with a number: -c and -m";
    else if (request.args.size() > ULOG_MAX_ARGS)
        why = "a message has six arguments at most";
    else if (size > LONGEST_TEXT)
        why = "the text is too long";
    if (why != nullptr) refuse(why);
    return why == nullptr;
}

} // namespace

bool parse_request(int argc, char** argv, Request& request) {
    bool has_text = false;
    for (int code; (code = getopt_long(argc, argv, "n:s:o:c:m:t:h", long_options, nullptr)) != -1;) {
        if (!take(code, request, has_text)) return false;
        if (request.kind != Request::LINES) return true; // help
    }
    request.args.assign(argv + optind, argv + argc);
    if (!check(request, has_text)) return false;
    if (request.number != 0)
        request.kind = Request::MESSAGE;
    else if (has_text)
        request.kind = Request::TEXT;
    return true;
}
