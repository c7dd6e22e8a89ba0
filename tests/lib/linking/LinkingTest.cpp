// How the library and a program, or another one that brings it as well, get on in one process.
#include <dlfcn.h>
#include <taq/ldf.h>
#include <taq/log.h>
#include <taq/memory.h>

#include "NoTypeInformation.h"
#include "support/Prelude.h"
#include "support/TempDir.h"

#include <sstream>

int count_of_own_objects(); // OwnNames.cpp

TEST(Linking, ProgramHasOwnClassesOfTheSameNames) {
    Log::init("QEN", "K-16", nullptr);
    auto log = std::make_unique<::Log>();
    ASSERT_EQ(ULOG_OK, log->open("own", stdout, ULOG_BARE_TEXT, nullptr));
    testing::internal::CaptureStdout();
    QEN_MESSAGE(log.get(), SEV_INFO, 0, 25, 0, "%d objects", count_of_own_objects());
    EXPECT_EQ("17 objects\n", testing::internal::GetCapturedStdout());
    log.reset();
    Log::destroy();
}

TEST(Linking, LogsNeedNoTypeInformation) {
    Log::init("QEN", "K-16", nullptr);
    for (const bool queued : {false, true}) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(1, count_of_own_log(queued));
        EXPECT_EQ("counted\n", testing::internal::GetCapturedStdout());
    }
    Log::destroy();
}

struct Plugins : testing::Test {
    Plugins() {
        setenv("TAQ_LOG", folder.path().c_str(), 1);
        setenv("TAQ_LDF", folder.path().c_str(), 1);
    }

    // The lines of a text log, without its head.
    std::string lines_of(const std::string& name) const {
        std::istringstream log(folder.read("log/" + name + "_A.log"));
        std::string text;
        for (std::string line; std::getline(log, line);)
            if (!line.empty() && line[0] != '#') text += line + "\n";
        return text;
    }
    std::string records_of(const std::string& name) const {
        LdfReader::init();
        LdfReader reader;
        const int result = reader.open(nullptr, (name + "_A").c_str());
        const std::string records =
            result == LDF_OK ? std::to_string(reader.get_header()->total_msgs) : "none";
        LdfReader::destroy();
        return records;
    }

    TempDir folder;
};

// With and without the logger thread. What the plugin has allocated it frees, so the host's account is even.
TEST_F(Plugins, LogIntoTheLogOfTheirHost) {
    Log::init("HOST", "K-99", nullptr);
    std::string expected;
    for (const int scope : {RTLD_LOCAL, RTLD_GLOBAL}) {
        void* const plugin = dlopen(TAQ_PLUGIN, RTLD_NOW | scope);
        ASSERT_NE(nullptr, plugin) << dlerror();
        const auto log_it = reinterpret_cast<void (*)(void*, const char*)>(dlsym(plugin, "plugin_log"));
        const auto finish = reinterpret_cast<void (*)()>(dlsym(plugin, "plugin_finish"));
        for (const bool queued : {false, true}) {
            auto log = std::make_unique<Log>();
            ASSERT_EQ(ULOG_OK, log->open("host", nullptr, ULOG_NO_TIME | ULOG_NO_SOURCE, nullptr));
            if (queued) Log::start_logger();
            const int messages = taq_mem.count(MEM_MSGSTRUCT), elements = taq_mem.count(MEM_MSGELEM);
            log_it(log.get(), "the host");
            finish(), Log::finish_queue(); // one of them, or the only one
            expected += "HOST WARNING K-99-300-7 hello from a plugin, 1 of the host\n";
            EXPECT_EQ(expected, lines_of("host"));
            if (queued) Log::stop_logger();
            EXPECT_EQ(messages, taq_mem.count(MEM_MSGSTRUCT));
            EXPECT_EQ(elements, taq_mem.count(MEM_MSGELEM));
        }
        EXPECT_EQ(0, dlclose(plugin));
    }
    EXPECT_EQ("4", records_of("host"));
    Log::destroy();
}

TEST_F(Plugins, LogTogetherForHostInC) {
    for (const std::string scope : {"local", "global"}) {
        const std::string command =
            "'" TAQ_C_HOST "' '" TAQ_PLUGIN "' '" TAQ_OTHER_PLUGIN "' " + scope + " " + scope;
        EXPECT_EQ(0, std::system(command.c_str())) << command;
        EXPECT_EQ("HOST WARNING K-99-300-7 hello from a plugin, 1 of the other\n"
                  "HOST WARNING K-99-300-7 hello from a plugin, 1 of its owner\n",
                  lines_of(scope));
        EXPECT_EQ("2", records_of(scope));
    }
}
