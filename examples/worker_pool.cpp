// A service with several threads: one log that all of them use through the logger thread, quick rotation, and
// first-failure capture, whose dump tells what led up to a crash.
// Usage: worker_pool NAME WORKERS JOBS [crash]   (dumps go to TAQ_LOG/log, or to the current folder)
#include <taq/log.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int CATEGORY = 100; // texts in catalogs/<language>/example.msg

std::string dump_folder() {
    const char* root = std::getenv("TAQ_LOG");
    return root != nullptr ? std::string(root) + "/log" : ".";
}

struct Pool {
    Log* log;
    int jobs;
    bool crash;
    std::atomic<int> next_job{0};
};

void do_job(const Pool& pool, int job) {
    const std::string resource = "job" + std::to_string(job);
    QEN_DEBUG(pool.log, DBG_THREAD, 0, CATEGORY, 0, "taking %s",
              resource.c_str()); // TAQ_DEBUG_LOG_TAGS=thread
    QEN_MESSAGE(pool.log, SEV_INFO, ULOG_ABOUT_RESOURCE, CATEGORY, 1, "Resource %s is now %s on system %s",
                resource.c_str(), job % 2 ? "ONLINE" : "OFFLINE", "node1");
    if (pool.crash && job == pool.jobs / 2) {
        QEN_MESSAGE(pool.log, SEV_CRIT, ULOG_ABOUT_RESOURCE, CATEGORY, 3,
                    "Resource %s went offline unexpectedly on system %s", resource.c_str(), "node1");
        std::abort();
    }
}

// Each thread registers its role once; from then on its messages are captured in the ring of that role.
// Folder and name of the dumps are settled already.
void work(Pool& pool) {
    Log::register_for_ffdc(FFDC_ROLE_SVC_THREAD, /*module=*/nullptr, /*logdir=*/nullptr, /*print_seqno=*/0);
    for (int job; (job = pool.next_job++) < pool.jobs;) do_job(pool, job);
    Log::unregister_for_ffdc();
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: worker_pool NAME WORKERS JOBS [crash]\n");
        return 2;
    }
    Log::init("QEN", "K-16", nullptr);
    Log::enable_ffdc();
    // The first registration settles folder and name of the dumps. The logger thread registers too, without
    // either, so the main thread comes first.
    Log::register_for_ffdc(FFDC_ROLE_AGFW_MAIN, "worker_pool", dump_folder().c_str(), /*print_seqno=*/1);
    const std::unique_ptr<Log> log(new Log);
    if (const int rc = log->open(argv[1], /*fp=*/nullptr, /*flags=*/0, nullptr); rc != ULOG_OK) return rc;
    log->set_maxlen(LOG_MIN_MAXLEN);

    Pool pool{.log = log.get(),
              .jobs = std::atoi(argv[3]),
              .crash = argc > 4 && std::strcmp(argv[4], "crash") == 0};
    Log::start_logger(); // from here on no worker waits for a disk
    std::vector<std::thread> workers;
    for (int i = 0; i < std::atoi(argv[2]); ++i) workers.emplace_back(work, std::ref(pool));
    for (std::thread& worker : workers) worker.join();
    Log::stop_logger(); // everything that was queued is written when it returns
    Log::unregister_for_ffdc();
}
