// First-failure capture: what is captured, what a dump holds and replaces, and dumps of dying processes.
#include <regex>

#include "LogFixture.h"

struct FFDCTest : LogFixture {
    FFDCTest() { Log::enable_ffdc(); }

    static std::string dump_of(const std::string& role, pid_t pid = getpid()) {
        return "dumps/FFDC_" + role + "_" + std::to_string(pid) + "_engine.log";
    }
    // What stands behind the header of a dump.
    std::string entries(const std::string& dump) const {
        const std::string all = dir.read(dump);
        return all.substr(all.rfind("\n#\n") + 3);
    }
    // Captures the text "entry <number>", which a dump must show unharmed.
    static void capture(long number) {
        const std::string text = "entry " + std::to_string(number);
        Log::write_ffdc(SEV_INFO, "work", "engine.cpp", 7, 0, 100, 1, text.c_str());
    }
    // The numbers of those entries in the order of the dump; -1 for whatever is not such an entry.
    std::vector<long> numbers_in(const std::string& dump) const {
        constexpr char ENTRY[] = "%*s %*s [FFDC] [%*u] QEN INFO 6553601 entry %ld engine.cpp:work[7]%n";
        std::istringstream in(entries(dump));
        std::vector<long> numbers;
        for (std::string line, source; std::getline(in, line) && std::getline(in, source);) {
            int end = 0;
            std::sscanf((line + source).c_str(), ENTRY, &numbers.emplace_back(), &end);
            if (end == 0) numbers.back() = -1;
        }
        return numbers;
    }
    void expect_private(const std::string& dump, const std::vector<long>& numbers) const {
        EXPECT_EQ(numbers, numbers_in(dump));
        EXPECT_EQ(0600, static_cast<int>(fs::symlink_status(dir.path(dump)).permissions()));
    }
};

TEST_F(FFDCTest, EntriesOfEachKindOfRegisteredThreads) {
    const std::string head = "[FFDC] [" + std::to_string(static_cast<unsigned>(pthread_self())) + "] QEN ";
    const std::string rest(5000, 'x');
    std::thread([] { capture(1); }).join(); // not registered
    register_as(FFDC_ROLE_AGFW_MAIN, /*print_seqno=*/0);
    Log::unregister_for_ffdc();
    capture(2);
    register_as(FFDC_ROLE_AGFW_MAIN, /*print_seqno=*/0);
    Log::disable_ffdc();
    capture(3);
    Log::enable_ffdc();
    Log::write_ffdc(SEV_ERR, "open", "/a.cpp", 42, 0, 1, 50878, "100% %s %n");
    Log::write_ffdc(DBG_IPM, "", "a.cpp", 42, ULOG_DEBUG, 1, 50878, "state");
    Log::write_ffdc(SEV_INFO, "open", nullptr, 42, 0, 65534, 4, "a"); // identity above 31 bits
    Log::write_ffdc(-1, nullptr, nullptr, 42, 0, 0, 7, std::make_unique<MsgStruct>().get());
    Log::write_ffdc(-1, nullptr, nullptr, 42, 0, 0, 7, message("a").get());
    Log::write_ffdc(SEV_INFO, "", "", 42, 0, 0, 7, rest.c_str());
    Log::dump_ffdc(FFDC_ROLE_AGFW_MAIN, false);
    const std::regex time("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}  ");
    EXPECT_EQ(head + "ERROR 116414 100% %s %n\n\t/a.cpp:open[42]\n" + head + "DBG_IPM state\n\ta.cpp:[42]\n" +
                  head + "INFO -131068 a\n" + head + "SEV_UNKNOWN 7 a\n" + head + "INFO 7 " +
                  rest.substr(0, 4095 - 28 - head.size()),
              std::regex_replace(entries(dump_of("AGFWMain")), time, ""));
    EXPECT_THAT(dir.read(dump_of("AGFWMain")), testing::StartsWith("#\n# Log File Name:     " + dumps));
}

TEST_F(FFDCTest, RingKeepsTheLatestOldestFirst) {
    register_as(FFDC_ROLE_SVC_THREAD);
    long captured = 0;
    for (const long total : {1L, 1024L, 1025L, 2048L}) {
        std::vector<long> expected;
        while (captured < total) capture(++captured);
        for (long i = std::max(1L, total - 1023); i <= total; ++i) expected.push_back(i);
        Log::dump_ffdc(FFDC_ROLE_SVC_THREAD, false);
        EXPECT_EQ(expected, numbers_in(dump_of("AGFWSvc")));
        EXPECT_THAT(entries(dump_of("AGFWSvc")), testing::EndsWith("]:" + std::to_string(total) + "\n"));
    }
    EXPECT_EQ(4'294'967'293u, FFDC::seqno_after(4'294'967'292u));
    EXPECT_EQ(0u, FFDC::seqno_after(4'294'967'293u));
}

// A handler that dumps and returns: of the thread that it interrupted, and of others, nothing is lost.
TEST_F(FFDCTest, CaptureGoesOnBehindTheDumpOfAHandlerThatReturns) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a dump in a signal handler reads without locks, on purpose";
#endif
    register_as(FFDC_ROLE_AGFW_MAIN);
    Producers busy(1, LONG_MAX, [this](int, long i) { // displaces entries while they are read
        if (i % 500 == 0) register_as(FFDC_ROLE_AGFW_MAIN);
        capture(i % 1000);
        if (i % 500 == 499) Log::unregister_for_ffdc();
    });
    std::signal(SIGUSR1, [](int) { Log::dump_ffdc(FFDC_ROLE_MAX, /*sig_handler=*/true); });
    for (int i = 0; i < 50; ++i) {
        (i % 2 == 0) ? (void)std::raise(SIGUSR1) : Log::dump_ffdc(FFDC_ROLE_MAX, /*sig_handler=*/false);
        capture(1000 + i);
        EXPECT_THAT(numbers_in(dump_of("AGFWMain")), testing::Not(testing::Contains(-1))) << "torn entries";
    }
    busy.stop();
    std::signal(SIGUSR1, SIG_DFL);
    capture(2000);
    Log::dump_ffdc(FFDC_ROLE_MAX, false);
    EXPECT_EQ(2000, numbers_in(dump_of("AGFWMain")).back());
}

TEST_F(FFDCTest, ThreadsOfARoleShareItsRingAndDump) {
    for (long i = 0; i <= 1000; ++i) // more than is collected for one write
        std::thread([&] {
            register_as(i == 0 ? FFDC_ROLE_UBO : FFDC_ROLE_IMF_THREAD);
            capture(i);
            Log::unregister_for_ffdc();
        }).join();
    {
        const FullDisk limit(100);
        Log::dump_ffdc(FFDC_ROLE_MAX, false);
    }
    ASSERT_EQ(2u, syslog_texts().size());
    EXPECT_THAT(syslog_texts()[0], testing::EndsWith("engine.log, errno = " + std::to_string(EFBIG)));
    EXPECT_EQ(1u, dir.files("dumps").size()) << "the roles behind the failed one";
    Log::dump_ffdc(FFDC_ROLE_MAX, false);
    EXPECT_EQ(1000u, numbers_in(dump_of("AGFWIMF")).size()) << "there is room again";
    EXPECT_EQ(std::vector{0L}, numbers_in(dump_of("TAQ")));
}

// What may stand at the place of a dump. A dying process clears files away, a living one keeps to its own.
TEST_F(FFDCTest, OnlyOwnFilesAreReplaced) {
    const std::string dump = dump_of("AGFWMain"), path = dir.path(dump), target = dir.path("target");
    const std::function<void()> obstacles[] = {
        [&] { dir.write(dump, std::string(9999, 'x')); }, // no obstacle; all can read it
        [&] { fs::create_symlink(target, path); },
        [&] { fs::create_hard_link(target, path); },
        [&] { mkfifo(path.c_str(), 0600); },
    };
    register_as(FFDC_ROLE_AGFW_MAIN);
    capture(1);
    for (const auto& make_obstacle : obstacles) {
        for (const bool is_dying : {false, true}) {
            remove_tree(path);
            dir.write("target", "precious");
            make_obstacle();
            Log::dump_ffdc(FFDC_ROLE_AGFW_MAIN, is_dying);
            EXPECT_EQ("precious", dir.read("target"));
            if (is_dying || &make_obstacle == obstacles) expect_private(dump, {1});
        }
    }
    const std::string once = "6FFDC_DumpLogToFile: Could not open file " + path;
    EXPECT_EQ(3, std::ranges::count(syslog_texts(), once)) << "a living process reports";
}

// In a child process, which must end by the fatal signal itself and leave its dump behind.
TEST_F(FFDCTest, DumpOfADyingProcessIsCompleteAndTheSignalEndsIt) {
    const std::function<void()> crashes[] = {
        [] { std::thread([] { raise(SIGSEGV); }).join(); }, // not registered
        [] { Log::write_ffdc(SEV_INFO, "f", "f.cpp", 1, 0, 1, 1, reinterpret_cast<const char*>(1)); },
#if !defined(__SANITIZE_THREAD__) // its own stack overruns
        [this] {
            std::thread([this] {
                register_as(FFDC_ROLE_UBO);
                const std::function<int(int)> overflow = [&](int depth) { return overflow(depth + 1) + 1; };
                exit(overflow(0));
            }).join();
        },
#endif
    };
    for (const auto& crash : crashes) {
        const pid_t child = start([&] {
            const rlimit no_core = {0, 0};
            setrlimit(RLIMIT_CORE, &no_core);
            register_as(FFDC_ROLE_SVC_THREAD);
            for (long i = 1; i <= 3; ++i) capture(i);
            crash();
        });
        EXPECT_EQ(-SIGSEGV, wait_for(child));
        expect_private(dump_of("AGFWSvc", child), {1, 2, 3});
    }
}
