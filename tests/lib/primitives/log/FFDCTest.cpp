#include "FFDCFixture.h"
#include "platform/unix/QENPlatform.h"

#include <atomic>
#include <csignal>
#include <ctime>
#include <functional>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/utsname.h>
#include <syslog.h>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::StartsWith;

TEST_F(FFDCFixture, EntriesOfEachKind) {
    const std::string head = " [FFDC] [" + std::to_string(static_cast<unsigned>(pthread_self())) + "] QEN ";
    const std::string rest(5000, 'x');
    const struct {
        const char* name;
        int sev, flags, cat, id;
        std::string text;
        const char *whop, *filep;
        std::string expected; // behind "... QEN "
    } cases[] = {
        {"application", SEV_ERR, 0, 1, 50878, "No 100% %s %n", "open", "/src/a.cpp",
         "ERROR 116414 No 100% %s %n\n\t/src/a.cpp:open[42]\n"},
        {"debug", DBG_IPM, ULOG_DEBUG, 1, 50878, "state", "", "a.cpp", "DBG_IPM state\n\ta.cpp:[42]\n"},
        {"no function", SEV_CRIT, 0, 0, 0, "", nullptr, "a.cpp", "CRITICAL 0 \n"},
        {"no file, identity above 31 bits", SEV_INFO, 0, 65534, 4, "a", "open", nullptr, "INFO -131068 a\n"},
        {"unknown severity", -1, 0, 0, 7, "a", nullptr, nullptr, "SEV_UNKNOWN 7 a\n"},
        {"unknown level", DBG_LEV_END, ULOG_DEBUG, 0, 7, "a", nullptr, nullptr, "DBG_UNKNOWN a\n"},
        {"text too long", SEV_INFO, 0, 0, 7, rest, "open", "a.cpp",
         "INFO 7 " + rest.substr(0, 4095 - 20 - head.size() - 7)},
    };
    register_as(FFDC_ROLE_AGFW_MAIN, /*print_seqno=*/0);
    std::string expected;
    for (const auto& c : cases) {
        Log::write_ffdc(c.sev, c.whop, c.filep, 42, c.flags, c.cat, c.id, c.text.c_str());
        expected += "TIME" + head + c.expected;
    }
    Log::dump_ffdc(FFDC_ROLE_AGFW_MAIN, false);
    std::string found = entries(dump_path("AGFWMain"));
    for (const time_t now = time(nullptr); const time_t at : {now, now - 1}) {
        char stamp[32];
        strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S ", gmtime(&at));
        for (size_t pos; (pos = found.find(stamp)) != std::string::npos;) found.replace(pos, 20, "TIME");
    }
    EXPECT_EQ(expected, found);
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
    EXPECT_EQ(0u, dump_count()) << "dumped while capture was off";

    Log::enable_ffdc();
    register_as(FFDC_ROLE_AGFW_MAIN);
    Log::write_ffdc(SEV_INFO, "work", "engine.cpp", 7, 0, 100, 1, message("entry 4").get());
    Log::dump_ffdc(FFDC_ROLE_MAX, false);
    EXPECT_THAT(numbers_in(dump_path("AGFWMain")), ElementsAre(4));
}

TEST_F(FFDCFixture, RingKeepsTheLatestOldestFirst) {
    register_as(FFDC_ROLE_SVC_THREAD);
    long captured = 0;
    for (const long total : {1L, 1023L, 1024L, 1025L, 1500L, 2048L}) {
        SCOPED_TRACE(total);
        while (captured < total) capture(++captured);
        Log::dump_ffdc(FFDC_ROLE_SVC_THREAD, false);
        std::vector<long> expected;
        for (long i = std::max(1L, total - 1023); i <= total; ++i) expected.push_back(i);
        EXPECT_EQ(expected, numbers_in(dump_path("AGFWSvc")));
        // Numbers of the entries run along with them.
        EXPECT_THAT(entries(dump_path("AGFWSvc")), testing::EndsWith("]:" + std::to_string(total) + "\n"));
    }
    EXPECT_EQ(4'294'967'293u, FFDC::seqno_after(4'294'967'292u));
    EXPECT_EQ(0u, FFDC::seqno_after(4'294'967'293u));
}

// A handler that dumps and returns: of the thread that it interrupted, and of others, nothing is lost.
TEST_F(FFDCFixture, CaptureGoesOnBehindTheDumpOfAHandlerThatReturns) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a dump in a signal handler reads without locks, on purpose";
#endif
    register_as(FFDC_ROLE_AGFW_MAIN);
    std::atomic<bool> done{false};
    std::thread busy([&] { // displaces entries while they are read, and comes and goes
        for (long i = 0; !done; ++i) {
            if (i % 500 == 0) register_as(FFDC_ROLE_AGFW_MAIN);
            capture(i % 1000);
            if (i % 500 == 499) Log::unregister_for_ffdc();
        }
        Log::unregister_for_ffdc();
    });
    std::signal(SIGUSR1, [](int) { Log::dump_ffdc(FFDC_ROLE_MAX, /*sig_handler=*/true); });
    for (int i = 0; i < 50; ++i) {
        if (i % 2 == 0)
            std::raise(SIGUSR1);
        else
            Log::dump_ffdc(FFDC_ROLE_MAX, /*sig_handler=*/false);
        capture(1000 + i);
        const std::vector<long> numbers = numbers_in(dump_path("AGFWMain"));
        EXPECT_EQ(0, std::count(numbers.begin(), numbers.end(), -1)) << "torn entries";
    }
    done = true;
    busy.join();
    std::signal(SIGUSR1, SIG_DFL);
    capture(2000);
    Log::dump_ffdc(FFDC_ROLE_AGFW_MAIN, /*sig_handler=*/false);
    ASSERT_FALSE(numbers_in(dump_path("AGFWMain")).empty());
    EXPECT_EQ(2000, numbers_in(dump_path("AGFWMain")).back());
}

TEST_F(FFDCFixture, ThreadsOfARoleShareItsRingAndDump) {
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
    EXPECT_EQ(1u, dump_count());
    Log::dump_ffdc(FFDC_ROLE_MAX, false);
    EXPECT_EQ(2u, dump_count());
    EXPECT_THAT(numbers_in(dump_path("AGFWIMF")), ElementsAre(1, 3));
    EXPECT_THAT(numbers_in(dump_path("AGFWTimer")), ElementsAre(2));

    utsname host;
    uname(&host);
    const std::string node = host.nodename, path = dump_path("AGFWTimer"), all = slurp(path);
    const std::string stamp = all.substr(all.find("Created:") + 14, 20);
    EXPECT_THAT(all, StartsWith("#\n# Log File Name:     " + path + "\n# System:       " + node +
                                "\n# SysInfo:      Linux:" + node + "," + host.version + "," + host.release +
                                "," + host.machine + "\n# Created:      " + stamp + "\n#\n" + stamp +
                                " [FFDC] ")); // the time of the latest entry
}

TEST_F(FFDCFixture, MisuseIsReported) {
    FFDC ffdc("engine", dumps().c_str(), 1);
    const pthread_t self = pthread_self();
    const std::string id = std::to_string(self);
    EXPECT_EQ(FFDC_SUCCESS, ffdc.FFDC_Register(self, FFDC_ROLE_AGFW_MAIN, 4));
    EXPECT_EQ(FFDC_FAILURE, ffdc.FFDC_Register(self, FFDC_ROLE_UBO, 4));
    EXPECT_EQ(FFDC_SUCCESS, ffdc.FFDC_Unregister(self));
    EXPECT_EQ(FFDC_FAILURE, ffdc.FFDC_Unregister(self));
    EXPECT_EQ(FFDC_FAILURE, ffdc.FFDC_DumpLogs(FFDC_ROLE_SVC_THREAD, false));
    EXPECT_EQ(FFDC_FAILURE, ffdc.FFDC_DumpLogs(FFDC_ROLE_SVC_THREAD, true)); // silent: a signal handler
    EXPECT_THAT(
        syslog_texts(),
        ElementsAre("6FFDC_Register: Could not insert record in hashtable for thread-id " + id,
                    "6FFDC_Unregister: Could not unregister record from hashtable for thread-id " + id,
                    "6FFDC_DumpLogs: Invalid buffer for AGFWSvc role"));
    for (const int role : {0, 7})
        EXPECT_DEATH(ffdc.FFDC_Register(self, static_cast<FFDCRoleT>(role), 4),
                     "ASSERTION FAILED.*expression .\\(role > FFDC_ROLE_MIN\\) && \\(role < FFDC_ROLE_MAX");
    for (const int role : {0, 8})
        EXPECT_DEATH(ffdc.FFDC_DumpLogs(static_cast<FFDCRoleT>(role), false),
                     "ASSERTION FAILED.*expression .\\(role > FFDC_ROLE_MIN\\) && \\(role <= FFDC_ROLE_MAX");
}

// What may stand at the place of a dump. A dying process clears files away, a living one keeps to its own.
TEST_F(FFDCFixture, OnlyOwnFilesAreReplaced) {
    const std::string target = root + "/target", path = dump_path("AGFWMain");
    const struct {
        const char* name;
        std::function<void()> prepare;
        bool replaced, replaced_dying;
    } cases[] = {
        {"a longer dump that all can read",
         [&] { std::ofstream(path) << std::string(100'000, 'x'), chmod(path.c_str(), 0644); }, true, true},
        {"symbolic link", [&] { (void)!symlink(target.c_str(), path.c_str()); }, false, true},
        {"second name", [&] { (void)!link(target.c_str(), path.c_str()); }, false, true},
        {"FIFO", [&] { mkfifo(path.c_str(), 0600); }, false, true},
        {"directory", [&] { std::filesystem::create_directory(path); }, false, false},
        {"no folder", [&] { std::filesystem::remove(dumps()); }, false, false},
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
            const bool replaced = dying ? c.replaced_dying : c.replaced;
            EXPECT_EQ(replaced ? FFDC_SUCCESS : FFDC_FAILURE, ffdc.FFDC_DumpLogs(FFDC_ROLE_AGFW_MAIN, dying));
            EXPECT_EQ("precious", slurp(target));
            if (replaced) {
                EXPECT_EQ(0600u, mode_of(path));
                EXPECT_EQ("the entry\n", entries(path));
            }
            std::vector<std::string> reports;
            if (!replaced && !dying)
                reports = {"6FFDC_DumpLogToFile: Could not open file " + path,
                           "6FFDC_DumpLogs: Error in dumping log to file for AGFWMain role"};
            EXPECT_EQ(reports, syslog_texts());
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
        ASSERT_EQ(2u, syslog_texts().size());
        EXPECT_EQ("6FFDC_DumpLogToFile: Could not " + std::string(step) + " file " + dump_path("AGFWMain") +
                      ", errno = " + std::to_string(EFBIG),
                  syslog_texts()[0]);
        EXPECT_EQ(1u, dump_count()) << "the roles behind the failed one";
        for (long i = 0; i < 1000; ++i) capture(i); // more than is collected for one write
    }
    std::signal(SIGXFSZ, SIG_DFL);
    Log::dump_ffdc(FFDC_ROLE_MAX, false); // there is room again
    EXPECT_EQ(1024u, numbers_in(dump_path("AGFWMain")).size());
    EXPECT_THAT(numbers_in(dump_path("TAQ")), ElementsAre(2));
}

} // namespace
