// Gives the option parser arbitrary arguments: one a line; a line "#n" repeats the argument before it n times
// more. The data root is empty, so no mode finds a file. Whatever they are,
// the parser ends with a listed status, stays within its words, and says what was wrong when it refuses.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "commoncmd/commoncmd.h"
#include "ldf_fuzz_dir.h"
#include "primitives/ldf/LdfReader.h"
#include "primitives/log/Log.h"
#include "taqmsg.h"

namespace {

constexpr size_t MOST_ARGS = 3000; // beyond the limit of the command
constexpr char USAGE_HEAD[] = "QEN INFO K-16-25-30001 Usage:\n";

// The process's error log, in memory.
char* report = nullptr;
size_t report_size = 0;
FILE* report_stream = nullptr;

void set_up() {
    static const LdfFuzzDir dir;      // the data root
    setenv("TAQ_ENABLE_LDF", "0", 1); // a log on a stream of its own would keep such a file
    unsetenv("TAQ_DEBUG_LOG_TAGS");
    report_stream = open_memstream(&report, &report_size);
    Log::init("QEN", "K-16", nullptr);
    _unified_log_function__ = _unified_logerr_function__ = new Log;
    _unified_logerr_function__->open("fuzz", report_stream, CMD_STDERR_FLAGS, nullptr);
    LdfReader::init();
}

std::vector<std::string> arguments_of(const std::string& input) {
    std::vector<std::string> args = {"taqmsg"};
    for (size_t at = 0; at < input.size() && args.size() < MOST_ARGS;) {
        const size_t end = std::min(input.find('\n', at), input.size());
        const std::string line(input.substr(at, end - at).c_str()); // an argument ends at its NUL
        at = end + 1;
        if (line[0] == '#')
            args.resize(std::min(args.size() + strtoul(line.c_str() + 1, nullptr, 10) % MOST_ARGS, MOST_ARGS),
                        std::string(args.back()));
        else
            args.push_back(line);
    }
    return args;
}

// A value may lose the "%" in front of it; nothing else may change.
void check_words(const std::vector<std::string>& before, const std::vector<char*>& after) {
    for (size_t i = 0; i < before.size(); ++i)
        if (before[i] != after[i] && (before[i][0] != '%' || before[i].substr(1) != after[i])) abort();
}

void check_status(int status, const std::string& text) {
    const bool has_usage = text.find(USAGE_HEAD) != std::string::npos;
    switch (status) {
    case 0: break; // usage on request, or -list of an empty directory
    case 1:
        if (!has_usage || text.compare(0, 12, "QEN WARNING ") != 0) abort();
        break;
    case LDF_EFAIL: // no file
        if (has_usage || text.find("K-16-25-30523 Unable to open file '") == std::string::npos) abort();
        break;
    default: abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (report_stream == nullptr) set_up();
    const std::vector<std::string> before =
        arguments_of(std::string(reinterpret_cast<const char*>(data), size));
    std::vector<std::string> words = before;
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    const int argc = static_cast<int>(argv.size());
    argv.push_back(nullptr);

    rewind(report_stream);
    const int status = taqmsg_process_args(argc, argv.data(), nullptr, 0);
    fflush(report_stream);
    const std::string text(report, static_cast<size_t>(ftell(report_stream)));
    argv.pop_back();
    check_words(before, argv);
    check_status(status, text);
    return 0;
}
