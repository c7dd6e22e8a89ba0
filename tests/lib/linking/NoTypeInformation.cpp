// A log of a program that is compiled without run-time type information.
#include <taq/log.h>

#include "NoTypeInformation.h"

namespace {

class CountingLog : public Log {
public:
    void write_app(ulog_app_sev sev, const char* whop, const char* filep, int line, int flags, int cat,
                   int id, MsgStruct* ipm_msg_in) override {
        ++count;
        Log::write_app(sev, whop, filep, line, flags, cat, id, ipm_msg_in);
    }
    int count = 0;
};

} // namespace

int count_of_own_log(bool queued) {
    CountingLog log;
    log.open("counting", stdout, ULOG_BARE_TEXT, nullptr);
    if (queued) Log::start_logger();
    QEN_MESSAGE(&log, SEV_INFO, 0, 25, 0, "%s", "counted");
    if (queued) Log::stop_logger();
    return log.count;
}
