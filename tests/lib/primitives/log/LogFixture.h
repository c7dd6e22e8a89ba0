// Roots of its own for each test, and what all tests of logs do: write, read back, fork.
#pragma once

#include "primitives/ldf/ldf_format.h"
#include "primitives/log/FFDC.h"
#include "primitives/log/Log.h"
#include "primitives/log/LoggerThread.h"
#include "primitives/log/MessageSite.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/values/VList.h"
#include "support/CatalogBuilder.h"
#include "support/ChildProcess.h"
#include "support/Prelude.h"
#include "support/SyslogTrap.h"
#include "support/TempDir.h"

inline constexpr int BARE = ULOG_BARE_TEXT | ULOG_NO_SOURCE;
using Strings = std::vector<std::string>;

// A stream of the program's that hands over the bytes of each write.
struct CallingStream {
    explicit CallingStream(std::function<void(std::string_view)> to) : taker(std::move(to)) {
        const auto write = [](void* self, const char* bytes, size_t size) {
            static_cast<CallingStream*>(self)->taker({bytes, size});
            return static_cast<ssize_t>(size);
        };
        fp = fopencookie(this, "w", {nullptr, write, nullptr, nullptr});
        setvbuf(fp, nullptr, _IONBF, 0);
    }
    ~CallingStream() { fclose(fp); }

    std::function<void(std::string_view)> taker;
    FILE* fp;
};

// A stream of which each write waits until it is opened.
struct GatedStream : CallingStream {
    GatedStream()
        : CallingStream([this](std::string_view bytes) {
              ++begun;
              while (!is_open) std::this_thread::sleep_for(1ms);
              written += bytes;
          }) {}

    std::atomic<int> begun{0}; // writes
    std::atomic<bool> is_open{false};
    std::string written;
};

// How many texts "<name> <number>" there are of each name.
using Counts = std::map<std::string, long>;

// Threads that call put(thread, 0), put(thread, 1), ... at most `most` times each, until they are stopped.
struct Producers {
    Producers(int count, long most, const std::function<void(int, long)>& put) {
        for (int p = 0; p < count; ++p)
            threads.emplace_back([&n = sent[std::to_string(p)], p, most, put](const std::stop_token& stop) {
                for (; n == 0 || (n < most && !stop.stop_requested()); ++n) put(p, n);
            });
    }
    void stop() { threads.clear(); }

    Counts sent; // by each thread; read it after stop()
    std::vector<std::jthread> threads;
};

// No file grows beyond `size` bytes while it lives.
struct FullDisk {
    explicit FullDisk(size_t size, sighandler_t when_it_would = SIG_IGN) {
        std::signal(SIGXFSZ, when_it_would);
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit full = {size, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full);
    }
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &before); }

    rlimit before;
};

struct LogFixture : testing::Test {
    LogFixture() {
        for (const char* var : {"TAQ_LOG", "TAQ_LDF", "TAQ_MESSAGES_DIR"}) setenv(var, root.c_str(), 1);
        for (const char* var : {"TAQ_ENABLE_LDF", "TAQ_DEBUG_LOG_TAGS", "QEN_LOG_MAXLEN"}) unsetenv(var);
        setenv("QENI18N_LANG", "en", 1);
        setenv("TZ", "UTC", 1);
        tzset();
        clear_syslog();
        Log::init("QEN", "K-16", nullptr);
    }
    ~LogFixture() override {
        Log::disable_ffdc();
        Log::destroy();
    }

    // An open log; it need not have a file yet.
    static std::unique_ptr<Log> opened(const std::string& name, FILE* fp = nullptr, int flags = 0) {
        auto log = std::make_unique<Log>();
        EXPECT_EQ(ULOG_OK, log->open(name.c_str(), fp, flags, nullptr));
        return log;
    }
    static void put(Log& log, const std::string& text, int flags = BARE) {
        log.write_buf("f", "g", 1, SEV_INFO, flags, 25, 1, text.c_str());
    }
    std::string log_path(const std::string& file) const { return root + "/log/" + file; }
    // What stands behind the header of a text log, and of a log data file.
    std::string body(const std::string& file = "engine_A.log") const {
        const std::string all = dir.read("log/" + file);
        const size_t end = all.find("#\n\n");
        return end == std::string::npos ? "<no header>" : all.substr(end + 3);
    }
    std::string records(const std::string& name = "engine") const {
        return dir.read("ldf/" + name + "_A.ldf").substr(LDF_HEADER_SIZE);
    }

    long record_count(const std::string& name = "engine") const {
        return from_be(dir.read("ldf/" + name + "_A.ldf").substr(57, 4));
    }
    long line_count() const { return std::ranges::count(body(), '\n'); }
    // A log that holds nothing but texts "<name> <number>". The numbers of a name must be 0, 1, 2, ...
    Counts counted(const std::string& file = "engine_A.log") const {
        std::istringstream in(body(file));
        Counts next;
        std::string name;
        for (long n = 0; in >> name >> n;) EXPECT_EQ(next[name]++, n) << name;
        EXPECT_TRUE(in.eof()) << "another text behind those of " << name;
        return next;
    }

    // What an action writes to standard output and standard error.
    static std::string printed(const std::function<void()>& action) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        action();
        return testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
    }

    // A message with a text and arguments, of the given type; -1: no identifier.
    static std::unique_ptr<MsgStruct> message(const std::string& text, const Strings& args = {}, int type = 0,
                                              int identifier = -1) {
        auto msgp = std::make_unique<MsgStruct>();
        msgp->gethdr()->setMessage(type);
        msgp->add_elem(21, text.c_str(), 0);
        for (const auto& arg : args) msgp->append_elem(22, arg.c_str(), 0);
        if (identifier != -1) msgp->add_elem(23, identifier);
        return msgp;
    }
    // The text of a message and its arguments.
    static Strings texts_of(const MsgStruct& msg) {
        Strings texts;
        for (const int16_t id : {MSGID_TEXT, MSGID_ARGS})
            for (const MsgElem* e = msg.find(id); e != nullptr; e = e->next())
                texts.emplace_back(e->getstr());
        return texts;
    }

    void register_as(int role, char print_seqno = 1) const {
        Log::register_for_ffdc(role, "engine", dumps.c_str(), print_seqno);
    }

    // Runs a function in a forked child, which is ended when it hangs.
    static pid_t start(const std::function<void()>& run) {
        fflush(stdout); // or each child's exit writes it as well
        const pid_t child = fork();
        if (child != 0) return child;
        alarm(20);
        run();
        _exit(99);
    }

    const TempDir dir;
    const std::string root = dir.path(), ldf = dir.make("ldf"), dumps = dir.make("dumps");
};
