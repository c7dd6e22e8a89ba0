// taqldf: shows, exports, checks and saves the records of many logs. See docs/taqldf.1.
#include "Options.h"
#include "Problems.h"
#include "run_records.h"
#include "run_recover.h"
#include "run_verify.h"

#include "platform/unix/QENDescriptors.h"
#include "platform/unix/QENPlatform.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <string>
#include <utility>

namespace {

int print(const std::string& text) {
    const bool is_written = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    return is_written || errno == EPIPE ? TAQLDF_FOUND : TAQLDF_FAILED;
}

} // namespace

int main(int argc, char** argv) {
    QENSigignore(SIGPIPE); // a reader of our output may stop early, as "head" does: no failure
    (void)std::setlocale(LC_ALL, "");
    tzset();
    QENRaiseDescriptorLimit(); // each log that is merged keeps a file open
    Options options;
    if (!parse_options(argc, argv, time(nullptr), options)) return TAQLDF_FAILED;
    if (options.version) return print("taqldf " TAQ_VERSION "\n");
    if (options.help) return print(help_text(options.subcommand));
    if (options.subcommand == Subcommand::VERIFY) return run_verify(options);
    if (options.subcommand == Subcommand::RECOVER) return run_recover(options);
    return run_records(std::move(options));
}
