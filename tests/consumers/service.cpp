// A service of somebody else, with names of its own as they come to mind.
#include <taq/log.h>

#include <cstdio>
#include <dlfcn.h>

class Memory {};
class Capture {};
class Buffer {};
class LineBuffer {};
class Queue {};
class HashTable {};
class FixedText {};
class Conversion {};
class NameLock {};
class Generations {};
class Options {};
class Problems {};
struct Messages {
    Memory memory;
    Capture capture;
    Buffer buffer;
    LineBuffer line;
    Queue queue;
    HashTable table;
    FixedText text;
    Conversion conversion;
    NameLock lock;
    Generations generations;
    Options options;
    Problems problems;
};
enum Result { OK, FAILED };

bool is_counted(); // account.cpp

// Usage: service NAME PLUGIN
int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const Messages messages = {};
    (void)messages;
    Log::init("QEN", "K-16", nullptr);
    Log log;
    if (const int rc = log.open(argv[1], nullptr, 0, nullptr); rc != ULOG_OK) {
        std::fprintf(stderr, "service: %s\n", ulog_result_text(rc));
        return FAILED;
    }
    Log::start_logger();
    QEN_MESSAGE(&log, SEV_INFO, ULOG_ABOUT_RESOURCE, 100, 1, "Resource %s is now %s on system %s", "web3",
                "ONLINE", "node1");
    QEN_DEBUG(&log, DBG_TIMER, 0, 100, 0, "next run in %d s", 3);
    if (void* plugin = dlopen(argv[2], RTLD_NOW | RTLD_LOCAL)) {
        auto log_it = reinterpret_cast<void (*)(void*, const char*)>(dlsym(plugin, "plugin_log"));
        auto finish = reinterpret_cast<void (*)()>(dlsym(plugin, "plugin_finish"));
        log_it(&log, "service");
        finish();
        dlclose(plugin);
    } else {
        std::fprintf(stderr, "service: %s\n", dlerror());
        return FAILED;
    }
    Log::stop_logger();
    return is_counted() ? OK : FAILED;
}
