// A service for scripts/soak: writes messages whose first argument is their number, in one of several ways.
#include "Log.h"
#include "MessageSite.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr int CATEGORY = 100;

void write_number(Log* log, long number, const char* filling) {
    const std::string text = std::to_string(number);
    QEN_MESSAGE(log, SEV_INFO, 0, CATEGORY, 1, "number %s %s", text.c_str(), filling);
}

// The log makes its writer of records for the first message.
void rotate_records_early(const char* name) {
    if (LdfWriter* records = Ldf_obj(name)) records->set_maxlen(LDF_MIN_MAXLEN);
}

// The current log data file, watched from outside the writer: taqmsg may open it but must never remove it.
class CurrentFile {
public:
    explicit CurrentFile(const char* name)
        : _path(std::string(std::getenv("TAQ_LDF")) + "/ldf/" + name + "_A.ldf") {}

    // After each message. False: the file that was just written has gone.
    bool see(long number) {
        struct stat st;
        if (stat(_path.c_str(), &st) != 0) return false;
        if (st.st_ino != _inode) std::printf("starts %ld\n", number);
        _inode = st.st_ino;
        return true;
    }

private:
    std::string _path;
    ino_t _inode = 0;
};

// About 1000 messages a second, for which the log data file is rotated once; the text log likewise.
int steady(Log* log, const char* name, long seconds) {
    constexpr int PER_MILLISECOND = 1;
    CurrentFile file(name);
    long number = 0;
    const auto start = Clock::now();
    for (long ms = 0; ms < seconds * 1000; ++ms) {
        if (ms % 1000 == 500) log->rotate();
        for (int i = 0; i < PER_MILLISECOND; ++i) {
            write_number(log, ++number, "in a steady stream");
            if (!file.see(number)) return 1;
            if (number == 1) rotate_records_early(name);
        }
        std::this_thread::sleep_until(start + std::chrono::milliseconds(ms));
    }
    std::printf("ends %ld\n", number);
    return 0;
}

// Until it is killed. Long texts: every twentieth message or so rotates.
int endless(Log* log, const char* name, long first) {
    log->set_maxlen(LOG_MIN_MAXLEN);
    const std::string filling(3000, '.');
    write_number(log, first, filling.c_str());
    rotate_records_early(name);
    for (long number = first + 1;; ++number) write_number(log, number, filling.c_str());
}

// Until it is killed. The text log rotates with every message, the log data file with every thirtieth or so.
int rotating(Log* log, const char* name, long first) {
    const std::string filling(2000, '.');
    write_number(log, first, filling.c_str());
    rotate_records_early(name);
    for (long number = first + 1;; ++number) {
        if (number % 16 == 0) log->rotate();
        write_number(log, number, filling.c_str());
    }
}

off_t size_of(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? st.st_size : 0;
}

// A disk that is full for most of the second third of the messages: it has room for some and a part of one.
int full(Log* log, const char* name, long count) {
    constexpr off_t LITTLE = 5000;
    const std::string records = std::string(std::getenv("TAQ_LDF")) + "/ldf/" + name + "_A.ldf";
    rlimit room;
    getrlimit(RLIMIT_FSIZE, &room);
    rlimit little_room = room;
    std::signal(SIGXFSZ, SIG_IGN);
    for (long number = 1; number <= count; ++number) {
        if (number == count / 3) {
            const off_t used = std::max(size_of(log->pathAp()), size_of(records));
            little_room.rlim_cur = static_cast<rlim_t>(used + LITTLE);
            setrlimit(RLIMIT_FSIZE, &little_room);
        }
        if (number == count / 3 * 2) setrlimit(RLIMIT_FSIZE, &room);
        write_number(log, number, "on a full disk");
    }
    return 0;
}

// A disk that becomes full and has room again, many times: by a file that takes what is free, where there is
// a small disk (SOAK_BALLAST is the file's path), else by a limit for the size of files. Prints each number
// that was written while there was room.
class FullDisk {
public:
    FullDisk(Log* log, const char* name)
        : _text(log->pathAp()), _records(std::string(std::getenv("TAQ_LDF")) + "/ldf/" + name + "_A.ldf"),
          _ballast(std::getenv("SOAK_BALLAST")) {
        getrlimit(RLIMIT_FSIZE, &_room);
        std::signal(SIGXFSZ, SIG_IGN);
    }
    void fill(long round) {
        constexpr off_t PAGE = 4096;
        if (_ballast == nullptr)
            return _limit(std::max(size_of(_text), size_of(_records)) + round * 97 % PAGE);
        std::FILE* fp = std::fopen(_ballast, "we");
        const std::string page(PAGE, '.');
        while (fp != nullptr && std::fwrite(page.data(), 1, page.size(), fp) == page.size() &&
               std::fflush(fp) == 0)
            continue;
        if (fp != nullptr) std::fclose(fp);
    }
    void empty() {
        if (_ballast == nullptr) return _limit(static_cast<off_t>(_room.rlim_max));
        (void)std::remove(_ballast);
    }

private:
    void _limit(off_t size) {
        rlimit limit = _room;
        limit.rlim_cur = static_cast<rlim_t>(size);
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    std::string _text, _records;
    const char* _ballast;
    rlimit _room = {};
};

int full_rounds(Log* log, const char* name, long rounds) {
    const std::string filling(700, '.');
    log->set_maxlen(LOG_MIN_MAXLEN);
    write_number(log, 0, "first");
    rotate_records_early(name);
    FullDisk disk(log, name);
    long number = 0;
    for (long round = 0; round < rounds; ++round) {
        disk.fill(round);
        for (int i = 0; i < 8; ++i) write_number(log, ++number, filling.c_str());
        disk.empty();
        for (int i = 0; i < 4; ++i) {
            write_number(log, ++number, "there is room");
            std::printf("%ld\n", number);
        }
    }
    return 0;
}

// Numbers of the thread t are t, t + PRODUCERS, ...
int producers(Log* log, const char*, long count) {
    constexpr long PRODUCERS = 8;
    Log::start_logger();
    std::vector<std::thread> threads;
    for (long t = 0; t < PRODUCERS; ++t)
        threads.emplace_back([=] {
            for (long number = t; number < count; number += PRODUCERS)
                write_number(log, number, "from a producer");
        });
    for (auto& thread : threads) thread.join();
    Log::stop_logger();
    return 0;
}

constexpr struct {
    const char* name;
    int (*run)(Log* log, const char* name, long number);
} WAYS[] = {{"steady", steady}, {"endless", endless},    {"rotating", rotating},
            {"full", full},     {"rounds", full_rounds}, {"producers", producers}};

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(
            stderr,
            "usage: soak_writer steady|endless|rotating|full|rounds|producers NAME SECONDS|FIRST|COUNT\n");
        return 2;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Log::init("QEN", "K-16", nullptr);
    const std::unique_ptr<Log> log(new Log);
    if (const int rc = log->open(argv[2], /*fp=*/nullptr, /*flags=*/0, nullptr); rc != ULOG_OK) return rc;
    for (const auto& way : WAYS)
        if (std::strcmp(way.name, argv[1]) == 0) return way.run(log.get(), argv[2], std::atol(argv[3]));
    return 2;
}
