// A service for scripts/soak: writes messages whose first argument is their number.
// Usage: soak_writer steady|endless|queued|rotating|rounds NAME SECONDS|FIRST|COUNT
#include "primitives/ldf/LdfWriter.h"
#include "primitives/log/Log.h"
#include "primitives/log/MessageSite.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int CATEGORY = 100;

void write_number(Log* log, long number, const char* filling) {
    const std::string text = std::to_string(number);
    QEN_MESSAGE(log, SEV_INFO, 0, CATEGORY, 1, "number %s %s", text.c_str(), filling);
}

// The log makes its writer of records for the first message.
void rotate_records_early(const char* name) {
    if (LdfWriter* records = Ldf_obj(name)) records->set_maxlen(LDF_MIN_MAXLEN);
}

struct stat state_of(const std::string& path) {
    struct stat st = {};
    (void)stat(path.c_str(), &st); // inode and size 0: no such file
    return st;
}

std::string records_of(const char* name) {
    return std::string(std::getenv("TAQ_LDF")) + "/ldf/" + name + "_A.ldf";
}

// About 1000 messages a second, for which the log data file is rotated once; the text log likewise. Tells
// with which message a file starts. 1: the file that was just written is gone; taqmsg may open but never
// remove it.
int steady(Log* log, const char* name, long seconds) {
    ino_t inode = 0;
    long number = 0;
    const auto start = Clock::now();
    for (long ms = 0; ms < seconds * 1000; ++ms) {
        if (ms % 1000 == 500) log->rotate();
        write_number(log, ++number, "in a steady stream");
        const ino_t current = state_of(records_of(name)).st_ino;
        if (current == 0) return 1;
        if (current != std::exchange(inode, current)) std::printf("starts %ld\n", number);
        if (number == 1) rotate_records_early(name);
        std::this_thread::sleep_until(start + std::chrono::milliseconds(ms));
    }
    std::printf("ends %ld\n", number);
    return 0;
}

// Until it is killed. Long texts: every twentieth message or so rotates. With OFTEN every sixteenth also
// starts a new text log.
template <bool OFTEN>
int endless(Log* log, const char* name, long first) {
    log->set_maxlen(LOG_MIN_MAXLEN);
    const std::string filling(3000, '.');
    write_number(log, first, filling.c_str());
    rotate_records_early(name);
    for (long number = first + 1;; ++number) {
        if (OFTEN && number % 16 == 0) log->rotate();
        write_number(log, number, filling.c_str());
    }
}

// Bursts for the logger thread until it is killed. Tells up to which number messages are handed over, and,
// after each burst, written.
int queued(Log* log, const char* name, long first) {
    log->set_maxlen(LOG_MIN_MAXLEN);
    write_number(log, first, "first");
    rotate_records_early(name);
    for (long number = first;;) {
        Log::start_logger();
        for (int i = 1; i <= 500; ++i) {
            write_number(log, ++number, "in a burst");
            if (i % 100 == 0) std::printf("queued %ld\n", number);
        }
        Log::stop_logger();
        std::printf("written %ld\n", number);
    }
}

void take_all_space(const char* path) {
    std::FILE* fp = std::fopen(path, "we");
    const std::string page(4096, '.');
    while (fp != nullptr && std::fwrite(page.data(), page.size(), 1, fp) == 1 && std::fflush(fp) == 0)
        continue;
    if (fp != nullptr) std::fclose(fp);
}

// A disk that becomes full and has room again, many times: by a file that takes all that is free, where there
// is a small disk (SOAK_BALLAST is the file's path), else by a limit for the size of files. Prints each
// number that was written while there was room.
int full_rounds(Log* log, const char* name, long rounds) {
    const char* const ballast = std::getenv("SOAK_BALLAST");
    const std::string filling(700, '.');
    rlimit room;
    getrlimit(RLIMIT_FSIZE, &room);
    const auto limit = [&](off_t size) {
        const rlimit lower = {static_cast<rlim_t>(size), room.rlim_max};
        setrlimit(RLIMIT_FSIZE, &lower);
    };
    std::signal(SIGXFSZ, SIG_IGN);
    log->set_maxlen(LOG_MIN_MAXLEN);
    write_number(log, 0, "first");
    rotate_records_early(name);
    long number = 0;
    for (long round = 0; round < rounds; ++round) {
        if (ballast != nullptr)
            take_all_space(ballast);
        else
            limit(std::max(state_of(log->pathAp()).st_size, state_of(records_of(name)).st_size) +
                  round * 97 % 4096);
        for (int i = 0; i < 8; ++i) write_number(log, ++number, filling.c_str());
        ballast != nullptr ? (void)std::remove(ballast) : limit(static_cast<off_t>(room.rlim_max));
        for (int i = 0; i < 4; ++i) {
            write_number(log, ++number, "there is room");
            std::printf("%ld\n", number);
        }
    }
    return 0;
}

using Way = int (*)(Log* log, const char* name, long number);
const std::map<std::string_view, Way> ways = {{"steady", steady},
                                              {"endless", endless<false>},
                                              {"queued", queued},
                                              {"rotating", endless<true>},
                                              {"rounds", full_rounds}};

} // namespace

int main(int argc, char** argv) {
    const auto way = ways.find(argc == 4 ? argv[1] : "");
    if (way == ways.end()) return 2;
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Log::init("QEN", "K-16", nullptr);
    const std::unique_ptr<Log> log(new Log);
    if (const int rc = log->open(argv[2], /*fp=*/nullptr, /*flags=*/0, nullptr); rc != ULOG_OK) return rc;
    return way->second(log.get(), argv[2], std::atol(argv[3]));
}
