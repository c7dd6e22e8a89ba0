// Services log from threads with small stacks.
#include "LogFixture.h"

namespace {

constexpr size_t STACK = 32 * 1024; // half of it for the thread itself

// A call that needs more than 16 KiB ends the program.
TEST_F(LogFixture, EachCallGetsAlongWithASmallStack) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers need stack of their own";
#endif
    write_catalogs("en", {{25, {{7, "%s and %s"}}}});
    const std::string text(3000, 'x');
    setenv("QEN_LOG_MAXLEN", "65536", 1);
    const auto file = opened("engine"), shown = opened("shown", stdout);
    file->enable_debug("ipm");
    VList args;
    for (const char* arg : {"a", text.c_str()}) args.append(arg, 1);
    Log::enable_ffdc();
    std::function<void()> calls = [&] {
        register_as(FFDC_ROLE_UBO);
        QEN_MESSAGE(file.get(), SEV_CRIT, 0, 25, 7, "%s and %s", "a", text.c_str());
        for (int i = 0; i < 50; ++i) // until it rotates
            QEN_MESSAGE(file.get(), SEV_INFO, 0, 25, 7, "%s %Lg", text.c_str(), 1.5L);
        QEN_MESSAGE(shown.get(), SEV_INFO, 0, 25, 7, "%2$s %1$s", "a", "b");
        QEN_DEBUG(file.get(), DBG_IPM, 0, 25, 1, "%s%5d", text.c_str(), 1);
        file->write_buf("f", "g", 1, SEV_ERR, 0, 25, 1, text.c_str(), "a");
        Log::admin_msg(SEV_ERR, "f", "g", 1, 25, 1, message(text).release());
        for (const int number : {7, 8, 0}) // in the catalog, not in it, text of the record
            for (const int flags : {0, ULOG_DISPLAY_DELIMITED})
                shown->display_ldf_entry(4, 0, 0, 25 << 16 | number, &args, flags);
        for (const bool sig_handler : {false, true}) Log::dump_ffdc(FFDC_ROLE_MAX, sig_handler);
    };
    const auto run = [](void* action) -> void* {
        (*static_cast<std::function<void()>*>(action))();
        return nullptr;
    };
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, STACK);
    pthread_t thread;
    testing::internal::CaptureStdout();
    ASSERT_EQ(0, pthread_create(&thread, &attr, run, &calls));
    pthread_join(thread, nullptr);
    testing::internal::GetCapturedStdout();
}

} // namespace
