#include "FFDCFixture.h"
#include "platform/unix/QENPlatform.h"

#include <atomic>
#include <csignal>
#include <ctime>
#include <gmock/gmock.h>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <syslog.h>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string time_text(time_t at) {
    char text[32];
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S ", gmtime(&at));
    return text;
}

struct Captured {
    const char* name;
    int sev;
    int flags;
    int cat;
    int id;
    std::string text;
    const char* whop;
    const char* filep;
    std::string expected; // behind "... QEN "
};

TEST_F(FFDCFixture, EntriesOfEachKind) {
    register_as(FFDC_ROLE_AGFW_MAIN, /*print_seqno=*/0);
    const std::string head = " [FFDC] [" + std::to_string(static_cast<unsigned>(pthread_self())) + "] QEN ";
    const size_t head_size = 20 + head.size();
    const std::string rest(5000, 'x');
    const Captured cases[] = {
        {"application", SEV_ERR, 0, 1, 50878, "No 100% %s %n", "open", "/src/a.cpp",
         "ERROR 116414 No 100% %s %n\n\t/src/a.cpp:open[42]\n"},
        {"debug", DBG_AGINFO, ULOG_DEBUG, 1, 50878, "state", "open", "a.cpp",
         std::string(Log::dbg_lev_name(DBG_AGINFO)) + " state\n\ta.cpp:open[42]\n"},
        {"no function", SEV_CRIT, 0, 0, 0, "a", nullptr, "a.cpp", "CRITICAL 0 a\n"},
        {"no file", SEV_INFO, 0, 0, 7, "a", "open", nullptr, "INFO 7 a\n"},
        {"empty function", SEV_NOTE, 0, 0, 7, "a", "", "a.cpp", "NOTICE 7 a\n\ta.cpp:[42]\n"},
        {"empty text", SEV_WARN, 0, 0, 7, "", nullptr, nullptr, "WARNING 7 \n"},
        {"identity above 31 bits", SEV_INFO, 0, 65534, 4, "a", nullptr, nullptr, "INFO -131068 a\n"},
        {"unknown severity", 5, 0, 0, 7, "a", nullptr, nullptr, "SEV_UNKNOWN 7 a\n"},
        {"negative severity", -1, 0, 0, 7, "a", nullptr, nullptr, "SEV_UNKNOWN 7 a\n"},
        {"unknown level", DBG_LEV_END, ULOG_DEBUG, 0, 7, "a", nullptr, nullptr, "DBG_UNKNOWN a\n"},
        {"text too long", SEV_INFO, 0, 0, 7, rest, "open", "a.cpp",
         "INFO 7 " + rest.substr(0, 4095 - head_size - 7)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        register_as(FFDC_ROLE_AGFW_MAIN, 0); // with a ring of its own
        const time_t before = time(nullptr);
        Log::write_ffdc(c.sev, c.whop, c.filep, 42, c.flags, c.cat, c.id, c.text.c_str());
        const time_t after = time(nullptr);
        Log::dump_ffdc(FFDC_ROLE_AGFW_MAIN, false);
        const std::string entry = entries(dump_path("AGFWMain"));
        EXPECT_THAT(entry, testing::AnyOf(time_text(before) + head + c.expected,
                                          time_text(after) + head + c.expected));
        Log::destroy();
        Log::init("QEN", "K-16", nullptr);
    }
}

TEST_F(FFDCFixture, NothingToCapture) {
    register_as(FFDC_ROLE_AGFW_MAIN);
    const auto without_text = std::make_unique<MsgStruct>();
    Log::write_ffdc(SEV_INFO, "f", "f.cpp", 1, 0, 1, 1, without_text.get());
    Log::write_ffdc(SEV_INFO, "f", "f.cpp", 1, 0, 1, 1, static_cast<const char*>(nullptr));
    std::thread([] { capture(1); }).join(); // not registered
    Log::unregister_for_ffdc();
    capture(2);
    Log::disable_ffdc();
    capture(3);
    Log::dump_ffdc(FFDC_ROLE_MAX, false);
    EXPECT_THAT(files_in(dumps()), ElementsAre()) << "dumped while capture was off";

    Log::enable_ffdc();
    register_as(FFDC_ROLE_AGFW_MAIN);
    Log::write_ffdc(SEV_INFO, "work", "engine.cpp", 7, 0, 100, 1, message("entry 4").get());
    Log::dump_ffdc(FFDC_ROLE_MAX, false);
    EXPECT_THAT(numbers_in(dump_path("AGFWMain")), ElementsAre(4));
}

TEST_F(FFDCFixture, RingKeepsTheLatestOldestFirst) {
    register_as(FFDC_ROLE_SVC_THREAD);
    for (const long total : {1L, 1023L, 1024L, 1025L, 1500L, 2048L}) {
        SCOPED_TRACE(total);
        static long captured = 0;
        while (captured < total) capture(++captured);
        Log::dump_ffdc(FFDC_ROLE_SVC_THREAD, false);
        std::vector<long> expected;
        for (long i = std::max(1L, total - 1023); i <= total; ++i) expected.push_back(i);
        EXPECT_EQ(expected, numbers_in(dump_path("AGFWSvc")));
        // Numbers of the entries run along with them.
        EXPECT_THAT(entries(dump_path("AGFWSvc")), testing::EndsWith("]:" + std::to_string(total) + "\n"));
    }
}

TEST(FFDCNumbers, WrapBehindTheLast) {
    EXPECT_EQ(1u, FFDC::seqno_after(0));
    EXPECT_EQ(4'294'967'293u, FFDC::seqno_after(4'294'967'292u));
    EXPECT_EQ(0u, FFDC::seqno_after(4'294'967'293u));
}

TEST_F(FFDCFixture, HeaderAndNameOfADump) {
    register_as(FFDC_ROLE_UBO);
    capture(1);
    Log::dump_ffdc(FFDC_ROLE_MAX, false);
    const std::string path = dump_path("TAQ");
    ASSERT_EQ(std::vector{std::filesystem::path(path).filename().string()}, files_in(dumps()));

    utsname host;
    uname(&host);
    const std::string node = host.nodename, all = slurp(path);
    const std::string stamp = all.substr(all.find("Created:") + 14, 20);
    EXPECT_THAT(all, testing::StartsWith("#\n# Log File Name:     " + path + "\n# System:       " + node +
                                         "\n# SysInfo:      Linux:" + node + "," + host.version + "," +
                                         host.release + "," + host.machine + "\n# Created:      " + stamp +
                                         "\n#\n" + stamp + " [FFDC] ")); // the time of the latest entry
    struct stat st;
    stat(path.c_str(), &st);
    EXPECT_EQ(0600u, st.st_mode & 07777u);
}

TEST_F(FFDCFixture, ThreadsOfARoleShareItsRing) {
    const auto run_as = [this](int role, long number) {
        std::thread([&] {
            register_as(role);
            capture(number);
            Log::unregister_for_ffdc();
        }).join();
    };
    run_as(FFDC_ROLE_IMF_THREAD, 1);
    run_as(FFDC_ROLE_TIMER_THREAD, 2);
    run_as(FFDC_ROLE_IMF_THREAD, 3);
    Log::dump_ffdc(FFDC_ROLE_IMF_THREAD, false);
    EXPECT_FALSE(std::filesystem::exists(dump_path("AGFWTimer")));
    Log::dump_ffdc(FFDC_ROLE_MAX, false);
    EXPECT_THAT(numbers_in(dump_path("AGFWIMF")), ElementsAre(1, 3));
    EXPECT_THAT(numbers_in(dump_path("AGFWTimer")), ElementsAre(2));
    EXPECT_EQ(2u, files_in(dumps()).size());
}

TEST_F(FFDCFixture, MisuseIsReported) {
    const auto reported = [](const std::string& text) {
        const auto lines = syslog_lines();
        clear_syslog();
        return lines.size() == 1 && (lines[0].priority & LOG_PRIMASK) == LOG_INFO && lines[0].text == text;
    };
    FFDC ffdc("engine", dumps().c_str(), 1);
    const pthread_t self = pthread_self();
    const std::string id = std::to_string(self);
    EXPECT_EQ(FFDC_SUCCESS, ffdc.FFDC_Register(self, FFDC_ROLE_AGFW_MAIN, 4));
    EXPECT_EQ(FFDC_FAILURE, ffdc.FFDC_Register(self, FFDC_ROLE_UBO, 4));
    EXPECT_TRUE(reported("FFDC_Register: Could not insert record in hashtable for thread-id " + id));
    EXPECT_EQ(FFDC_SUCCESS, ffdc.FFDC_Unregister(self));
    EXPECT_EQ(FFDC_FAILURE, ffdc.FFDC_Unregister(self));
    EXPECT_TRUE(reported("FFDC_Unregister: Could not unregister record from hashtable for thread-id " + id));
    EXPECT_EQ(FFDC_FAILURE, ffdc.FFDC_DumpLogs(FFDC_ROLE_SVC_THREAD, false));
    EXPECT_TRUE(reported("FFDC_DumpLogs: Invalid buffer for AGFWSvc role"));
    EXPECT_EQ(FFDC_FAILURE, ffdc.FFDC_DumpLogs(FFDC_ROLE_SVC_THREAD, true));
    EXPECT_TRUE(syslog_lines().empty()) << "no system log from a signal handler";

    for (const int role : {0, 7, -1, 8}) {
        SCOPED_TRACE(role);
        EXPECT_DEATH(ffdc.FFDC_Register(self, static_cast<FFDCRoleT>(role), 4),
                     "ASSERTION FAILED.*expression .\\(role > FFDC_ROLE_MIN\\) && \\(role < FFDC_ROLE_MAX");
        if (role == 7) continue;
        EXPECT_DEATH(ffdc.FFDC_DumpLogs(static_cast<FFDCRoleT>(role), false),
                     "ASSERTION FAILED.*expression .\\(role > FFDC_ROLE_MIN\\) && \\(role <= FFDC_ROLE_MAX");
    }
}

// What may stand at the place of a dump. A dying process clears files away, a living one keeps to its own.
TEST_F(FFDCFixture, OnlyOwnFilesAreReplaced) {
    const std::string target = root + "/target", path = dump_path("AGFWMain");
    const struct {
        const char* name;
        std::function<void()> prepare;
        int rc, rc_dying;
    } cases[] = {
        {"nothing", [] {}, FFDC_SUCCESS, FFDC_SUCCESS},
        {"a longer dump that all can read",
         [&] {
             std::ofstream(path) << std::string(100'000, 'x');
             chmod(path.c_str(), 0644);
         },
         FFDC_SUCCESS, FFDC_SUCCESS},
        {"symbolic link", [&] { EXPECT_EQ(0, symlink(target.c_str(), path.c_str())); }, FFDC_FAILURE,
         FFDC_SUCCESS},
        {"second name", [&] { EXPECT_EQ(0, link(target.c_str(), path.c_str())); }, FFDC_FAILURE,
         FFDC_SUCCESS},
        {"FIFO", [&] { EXPECT_EQ(0, mkfifo(path.c_str(), 0600)); }, FFDC_FAILURE, FFDC_SUCCESS},
        {"directory", [&] { std::filesystem::create_directory(path); }, FFDC_FAILURE, FFDC_FAILURE},
        {"no folder", [&] { std::filesystem::remove(dumps()); }, FFDC_FAILURE, FFDC_FAILURE},
    };
    for (const auto& c : cases) {
        for (const bool dying : {false, true}) {
            SCOPED_TRACE(std::string(c.name) + (dying ? ", dying" : ""));
            std::filesystem::remove_all(dumps());
            std::filesystem::create_directory(dumps());
            std::ofstream(target) << "precious";
            c.prepare();
            clear_syslog();
            FFDC ffdc("engine", dumps().c_str(), 1);
            ffdc.FFDC_Register(pthread_self(), FFDC_ROLE_AGFW_MAIN, 4);
            ffdc.FFDC_Log("the entry\n", nullptr);
            const int rc = ffdc.FFDC_DumpLogs(FFDC_ROLE_AGFW_MAIN, dying);
            EXPECT_EQ(dying ? c.rc_dying : c.rc, rc);
            EXPECT_EQ("precious", slurp(target));
            if (rc == FFDC_SUCCESS) {
                struct stat st;
                ASSERT_EQ(0, lstat(path.c_str(), &st));
                EXPECT_EQ(0600u, st.st_mode & 07777u);
                EXPECT_EQ("the entry\n", entries(path));
            } else if (dying) {
                EXPECT_TRUE(syslog_lines().empty());
            } else {
                ASSERT_EQ(2u, syslog_lines().size());
                EXPECT_EQ("FFDC_DumpLogToFile: Could not open file " + path, syslog_lines()[0].text);
                EXPECT_EQ("FFDC_DumpLogs: Error in dumping log to file for AGFWMain role",
                          syslog_lines()[1].text);
            }
        }
    }
}

TEST_F(FFDCFixture, FullDiskIsReportedAndEndsADumpOfAllRoles) {
    register_as(FFDC_ROLE_AGFW_MAIN);
    capture(1);
    std::thread([this] {
        register_as(FFDC_ROLE_UBO);
        capture(2);
    }).join();
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit full = {100, before.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    for (const char* step : {"flush", "write to"}) {
        SCOPED_TRACE(step);
        clear_syslog();
        setrlimit(RLIMIT_FSIZE, &full);
        Log::dump_ffdc(FFDC_ROLE_MAX, false);
        setrlimit(RLIMIT_FSIZE, &before);
        ASSERT_EQ(2u, syslog_lines().size());
        EXPECT_EQ("FFDC_DumpLogToFile: Could not " + std::string(step) + " file " + dump_path("AGFWMain") +
                      ", errno = " + std::to_string(EFBIG),
                  syslog_lines()[0].text);
        EXPECT_FALSE(std::filesystem::exists(dump_path("TAQ"))) << "the roles behind the failed one";
        for (long i = 0; i < 1000; ++i) capture(i); // more than is collected for one write
    }
    std::signal(SIGXFSZ, SIG_DFL);
    Log::dump_ffdc(FFDC_ROLE_MAX, false); // there is room again
    EXPECT_EQ(1024u, numbers_in(dump_path("AGFWMain")).size());
    EXPECT_THAT(numbers_in(dump_path("TAQ")), ElementsAre(2));
}

TEST_F(FFDCFixture, DumpsWhileThreadsComeCaptureAndGo) {
    constexpr int THREADS = 4, ENTRIES = 1500;
    register_as(FFDC_ROLE_SVC_THREAD);
    std::atomic<int> running{THREADS};
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t)
        threads.emplace_back([&, t] {
            for (long i = 0; i < ENTRIES; ++i) {
                if (i % 500 == 0) register_as(1 + t % 2); // two roles
                capture(t * ENTRIES + i);
                if (i % 500 == 499) Log::unregister_for_ffdc();
            }
            --running;
        });
    int dumped = 0;
    do {
        Log::dump_ffdc(FFDC_ROLE_MAX, false);
        for (const char* role : {"AGFWMain", "AGFWIMF"}) {
            if (!std::filesystem::exists(dump_path(role))) continue;
            std::vector<long> last(THREADS, -1);
            for (const long number : numbers_in(dump_path(role))) {
                ASSERT_GE(number, 0) << "a torn entry";
                long& previous = last[static_cast<size_t>(number / ENTRIES)];
                ASSERT_LT(previous, number) << "a thread's entries out of order";
                previous = number;
            }
        }
        ++dumped;
    } while (running > 0);
    for (auto& thread : threads) thread.join();
    EXPECT_GT(dumped, 0);
    Log::dump_ffdc(FFDC_ROLE_MAX, false);
    std::set<std::string> seqnos; // the numbers that entries carry, unique over all rings
    for (const char* role : {"AGFWMain", "AGFWIMF"}) {
        EXPECT_EQ(1024u, numbers_in(dump_path(role)).size());
        std::istringstream in(entries(dump_path(role)));
        for (std::string line; std::getline(in, line);)
            if (line.starts_with("\t")) seqnos.insert(line);
    }
    EXPECT_EQ(2048u, seqnos.size());
}

} // namespace
