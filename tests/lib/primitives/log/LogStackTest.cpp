// Services log from threads with small stacks.
#include <functional>
#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/mman.h>

#include "LogFixture.h"
#include "primitives/log/FFDC.h"
#include "primitives/log/MessageSite.h"
#include "primitives/values/VList.h"

namespace {

constexpr size_t STACK = 512 * 1024;
constexpr char PAINT = 0x5A;

struct Painted {
    std::function<void()> call;
    char* bottom;
    size_t used = 0;
};

__attribute__((no_sanitize("address", "thread", "undefined"), noinline)) void* run_painted(void* arg) {
    auto& stack = *static_cast<Painted*>(arg);
    char* const here = static_cast<char*>(__builtin_frame_address(0));
    for (volatile char* p = stack.bottom; p < here - 256; ++p) *p = PAINT;
    stack.call();
    const char* p = stack.bottom;
    while (*p == PAINT) ++p;
    stack.used = static_cast<size_t>(here - p);
    return nullptr;
}

size_t stack_of(const std::function<void()>& call) {
    auto* memory =
        static_cast<char*>(mmap(nullptr, STACK, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    Painted stack = {call, memory + 64};
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstack(&attr, memory, STACK);
    pthread_t thread;
    pthread_create(&thread, &attr, run_painted, &stack);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attr);
    munmap(memory, STACK);
    return stack.used;
}

TEST_F(LogFixture, NoCallNeedsMoreThan16KiBOfStack) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers need stack of their own";
#endif
    write_catalogs("en", {{25, {{7, "%s and %s"}}}});
    const std::string text(3000, 'x');
    setenv("QEN_LOG_MAXLEN", "65536", 1);
    const auto file = opened("engine"), shown = opened("shown", stdout);
    file->enable_debug("ipm");
    VList args;
    args.append("a", 1);
    args.append(text.c_str(), 1);
    Log::enable_ffdc();
    const auto show = [&](int id, int flags) {
        shown->display_ldf_entry(4, 0, 1794854291, id, &args, flags);
    };
    const std::pair<const char*, std::function<void()>> calls[] = {
        {"register", [&] { Log::register_for_ffdc(FFDC_ROLE_UBO, "m", root.c_str(), 1); }},
        {"event", [&] { QEN_MESSAGE(file.get(), SEV_CRIT, 0, 25, 7, "%s and %s", "a", text.c_str()); }},
        {"rotation",
         [&] {
             for (int i = 0; i < 50; ++i)
                 QEN_MESSAGE(file.get(), SEV_INFO, 0, 25, 7, "%s %Lg", text.c_str(), 1.5L);
         }},
        {"in the user's language",
         [&] { QEN_MESSAGE(shown.get(), SEV_INFO, 0, 25, 7, "%2$s %1$s", "a", "b"); }},
        {"debug", [&] { QEN_DEBUG(file.get(), DBG_IPM, 0, 25, 1, "%s%5d", text.c_str(), 1); }},
        {"structure", [&] { file->write_buf("f", "g", 1, SEV_ERR, 0, 25, 1, text.c_str(), "a"); }},
        {"administrator", [&] { Log::admin_msg(SEV_ERR, "f", "g", 1, 25, 1, message(text).release()); }},
        {"line", [&] { show(25 << 16 | 7, 0); }},
        {"unknown line", [&] { show(25 << 16 | 8, 0); }},
        {"text of a record", [&] { show(25 << 16, 0); }},
        {"fields", [&] { show(25 << 16 | 7, ULOG_DISPLAY_DELIMITED); }},
        {"dump", [&] { Log::dump_ffdc(FFDC_ROLE_MAX, false); }},
        {"dump of a handler", [&] { Log::dump_ffdc(FFDC_ROLE_MAX, true); }},
    };
    std::map<std::string, size_t> too_much;
    testing::internal::CaptureStdout(); // failures would go there as well
    for (const auto& [name, call] : calls)
        if (const size_t used = stack_of(call); used > 16384) too_much[name] = used;
    testing::internal::GetCapturedStdout();
    EXPECT_THAT(too_much, testing::IsEmpty());
    Log::disable_ffdc();
}

} // namespace
