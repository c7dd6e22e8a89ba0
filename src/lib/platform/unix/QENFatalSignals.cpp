// Handles fatal signals: the first one dumps the capture once and then ends the process by the same signal,
// after a few seconds even when the dump hangs. Also ignores signals.
#include "platform/unix/QENHooks.h"
#include "platform/unix/QENPlatform.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

inline namespace taq_1 {

namespace {

constexpr int FATAL_SIGNALS[] = {SIGSEGV, SIGBUS, SIGABRT};
constexpr unsigned DUMP_SECONDS = 4;        // then the watchdog ends the process by the fatal signal,
constexpr unsigned LAST_RESORT_SECONDS = 1; // and if even that hangs, SIGALRM does

// The dump works with some ten kilobytes of buffers, beside the registers that the kernel saves.
constexpr size_t SUFFICIENT_STACK = 32 * 1024;
constexpr size_t SIGNAL_STACK_SIZE = 128 * 1024;
constexpr size_t GUARD_SIZE = 4096 * 16; // whole pages for every page size in use

std::atomic<pid_t> dumping_thread{0}; // 0: no fatal signal yet
std::atomic<int> fatal_signal{0};
static_assert(std::atomic<pid_t>::is_always_lock_free);

int set_action(int signal, void (*handler)(int), int flags, bool block_fatal) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    if (block_fatal)
        for (const int fatal : FATAL_SIGNALS) sigaddset(&action.sa_mask, fatal);
    return sigaction(signal, &action, nullptr);
}

void unblock(int signal) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

[[noreturn]] void die_by(int signal) {
    set_action(signal, SIG_DFL, 0, false);
    raise(signal);
    unblock(signal); // a handled signal is blocked: it has been pending until now
    _exit(128 + signal);
}

void on_watchdog(int) {
    set_action(SIGALRM, SIG_DFL, 0, false);
    alarm(LAST_RESORT_SECONDS);
    unblock(SIGALRM);
    die_by(fatal_signal.load(std::memory_order_relaxed));
}

void start_watchdog() {
    set_action(SIGALRM, on_watchdog, SA_ONSTACK, false);
    unblock(SIGALRM);
    alarm(DUMP_SECONDS);
}

// All fatal signals are blocked while this runs, so a fault within the dump makes the kernel end the process
// at once. abort() within the dump unblocks its signal and comes back here.
void on_fatal_signal(int signal) {
    const pid_t self = gettid();
    pid_t dumping = 0;
    if (!dumping_thread.compare_exchange_strong(dumping, self)) {
        if (dumping == self) die_by(signal);
        for (;;) pause(); // another thread is dumping; it or its watchdog ends the process
    }
    fatal_signal.store(signal, std::memory_order_relaxed);
    start_watchdog();
    const auto dump = QENGetHooks().dump_first_failure;
    if (dump != nullptr) dump(signal);
    die_by(signal);
}

// ---- Signal stacks, one mapping per thread with a guard below, freed by the destructor of a key.

void free_stack(void* mapping) {
    stack_t current = {};
    const char* base = static_cast<char*>(mapping) + GUARD_SIZE;
    if (sigaltstack(nullptr, &current) == 0 && current.ss_sp == base) {
        stack_t off = {};
        off.ss_flags = SS_DISABLE;
        sigaltstack(&off, nullptr);
    }
    munmap(mapping, GUARD_SIZE + SIGNAL_STACK_SIZE);
}

// The key, or null when the system has none left.
const pthread_key_t* stack_key() {
    static pthread_key_t key;
    static const bool made = pthread_key_create(&key, free_stack) == 0;
    return made ? &key : nullptr;
}

void* map_stack() {
    void* mapping = mmap(nullptr, GUARD_SIZE + SIGNAL_STACK_SIZE, PROT_NONE,
                         MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (mapping == MAP_FAILED) return nullptr;
    if (mprotect(static_cast<char*>(mapping) + GUARD_SIZE, SIGNAL_STACK_SIZE, PROT_READ | PROT_WRITE) == 0)
        return mapping;
    munmap(mapping, GUARD_SIZE + SIGNAL_STACK_SIZE);
    return nullptr;
}

} // namespace

int QENSigignore(int signal) {
    return set_action(signal, SIG_IGN, SA_RESTART, false);
}

int QENInstallSignalStack() {
    stack_t current = {};
    if (sigaltstack(nullptr, &current) != 0) return -1;
    if ((current.ss_flags & SS_DISABLE) == 0 && current.ss_size >= SUFFICIENT_STACK) return 0;
    const pthread_key_t* key = stack_key();
    if (key == nullptr) return -1;
    void* mapping = map_stack();
    if (mapping == nullptr) return -1;
    stack_t stack = {};
    stack.ss_sp = static_cast<char*>(mapping) + GUARD_SIZE;
    stack.ss_size = SIGNAL_STACK_SIZE;
    if (pthread_setspecific(*key, mapping) == 0 && sigaltstack(&stack, nullptr) == 0) return 0;
    pthread_setspecific(*key, nullptr);
    munmap(mapping, GUARD_SIZE + SIGNAL_STACK_SIZE);
    return -1;
}

int QENInstallFatalSignalHandlers() {
    if (QENInstallSignalStack() != 0) return -1;
    for (const int signal : FATAL_SIGNALS)
        if (set_action(signal, on_fatal_signal, SA_ONSTACK, true) != 0) return -1;
    return 0;
}

} // namespace taq_1
