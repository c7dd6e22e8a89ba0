// What a service does to log: one log, opened once, and one call for each message. Besides the text log
// TAQ_LOG/log/NAME_A.log this writes its compact twin TAQ_LDF/ldf/NAME_A.ldf, which taqmsg shows in any
// language. Usage: write_records NAME COUNT
#include <taq/log.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr int CATEGORY = 100; // the service's catalog; its texts are in catalogs/<language>/example.msg

void log_one(Log* log, int i) {
    const std::string resource = "web" + std::to_string(i % 7), system = "node" + std::to_string(1 + i % 3);
    const char* const res = resource.c_str();
    const char* const sys = system.c_str();
    switch (i % 12) {
    case 3:
        QEN_MESSAGE(log, SEV_WARN, ULOG_ABOUT_SYSTEM, CATEGORY, 9,
                    "System %s has not answered for %d seconds", sys, i);
        break;
    case 5:
        QEN_MESSAGE(log, SEV_NOTE, ULOG_ABOUT_GROUP, CATEGORY, 4,
                    "Group %s is being brought online on system %s", "web", sys);
        break;
    case 7:
        QEN_MESSAGE(log, SEV_ERR, ULOG_ABOUT_RESOURCE, CATEGORY, 3,
                    "Resource %s went offline unexpectedly on system %s", res, sys);
        break;
    case 8:
        QEN_MESSAGE(log, SEV_NOTE, ULOG_ABOUT_AGENT, CATEGORY, 12,
                    "Agent %s is not responding and will be restarted", "Apache");
        break;
    case 10:
        QEN_MESSAGE(log, SEV_INFO, ULOG_ABOUT_SYSTEM, CATEGORY, 7, "System %s joined the cluster", sys);
        break;
    case 11: QEN_MESSAGE(log, SEV_INFO, 0, CATEGORY, 15, "The cluster configuration was saved"); break;
    default:
        QEN_MESSAGE(log, SEV_INFO, ULOG_ABOUT_RESOURCE, CATEGORY, 1, "Resource %s is now %s on system %s",
                    res, i % 2 ? "ONLINE" : "OFFLINE", sys);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: write_records NAME COUNT\n");
        return 2;
    }
    Log::init("QEN", "K-16", nullptr); // once in a process
    auto* log = new Log;
    const int rc = log->open(argv[1], /*fp=*/nullptr, /*flags=*/0, nullptr);
    if (rc != ULOG_OK)
        std::fprintf(stderr, "write_records: %s\n", ulog_result_text(rc));
    else
        for (int i = 0; i < std::atoi(argv[2]); ++i) log_one(log, i);
    delete log;
    Log::destroy();
    return rc;
}
