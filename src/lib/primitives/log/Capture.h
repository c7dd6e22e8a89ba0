// First-failure capture as logs use it: entries are composed here and kept by the FFDC object.
#pragma once

#include <atomic>
#include <string_view>

#include "primitives/log/LogCall.h"

inline namespace taq_1 {

class FFDC;

// Off until enable(). Any thread may call any function, at any time, but destroy().
class Capture {
public:
    static bool is_enabled() { return _enable_ffdc.load(std::memory_order_relaxed); }
    static void enable() { _enable_ffdc.store(true, std::memory_order_relaxed); }
    static void disable() { _enable_ffdc.store(false, std::memory_order_relaxed); }

    // The calling thread captures from now on into the ring of its role (FFDCRoleT). The first call makes the
    // capture object: module names the dump files, logdir holds them, print_seqno numbers the entries. Later
    // calls ignore these three. The logger thread registers too, with null ones, so register the main thread
    // before start_logger(): else dumps land in the current directory.
    static void add_thread(int role, const char* module, const char* logdir, char print_seqno);
    static void remove_thread();

    // Writes the ring of a role to its file; FFDC_ROLE_MAX: of all roles. sig_handler: the call comes from a
    // signal handler. When that returns, capture and later dumps go on.
    static void dump(int role, bool sig_handler);
    // For the handler of a fatal signal: ends capturing and dumps all roles.
    static void dump_and_stop();

    // Captures a message for the calling thread; null data: nothing.
    static void offer(const LogCall& call, std::string_view text) {
        if (is_enabled() && text.data() != nullptr) _keep(call, text);
    }

    // Deletes the object, while no other thread captures.
    static void destroy();

    // Around a fork.
    static void before_fork();
    static void after_fork(bool in_child);

private:
    static void _keep(const LogCall& call, std::string_view text);

    static inline std::atomic<bool> _enable_ffdc{false};
    static inline std::atomic<FFDC*> _ffdc_instance{nullptr}; // owned; null until the first registration
};

} // namespace taq_1
