// A service for scripts/check-syslog: sends the texts of its arguments to the system log, the first as an
// ERROR message of a file log, the second as a message for the administrator, then both again by the logger
// thread. Usage: syslog_writer TEXT_OF_ERROR TEXT_FOR_ADMINISTRATOR
#include "primitives/log/Log.h"
#include "primitives/log/MessageSite.h"

#include <memory>

namespace {

constexpr int CATEGORY = 100;

void send(Log* log, const char* error, const char* admin) {
    QEN_MESSAGE(log, SEV_ERR, 0, CATEGORY, 1, "%s", error);
    Log::admin_msg(SEV_CRIT, __func__, __FILE__, __LINE__, CATEGORY, 2, Log::process_args("%s", admin));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    Log::init("QEN", "K-16", "syslog_writer");
    const std::unique_ptr<Log> log(new Log);
    if (const int rc = log->open("mirrored", /*fp=*/nullptr, /*flags=*/0, nullptr); rc != ULOG_OK) return rc;
    send(log.get(), argv[1], argv[2]);
    Log::set_adminlog_facility(Log::verify_facility("LOG_LOCAL3"));
    Log::start_logger();
    send(log.get(), argv[1], argv[2]);
    Log::stop_logger();
    return 0;
}
