// Composes the entries of first-failure capture: see Capture.h. Message sites offer each message; FFDC keeps
// it.
#include "primitives/log/Capture.h"

#include "platform/unix/QENPlatform.h"
#include "platform/unix/QENThread.h"
#include "primitives/log/FFDC.h"
#include "primitives/log/FixedText.h"
#include "primitives/log/LocalTimeText.h"
#include "primitives/log/LogIdentity.h"
#include "primitives/log/LogText.h"

#include <ctime>
#include <mutex>

inline namespace taq_1 {

namespace {

std::mutex instance_lock; // held while the object is made

// The calling thread's time text.
const char* time_text() {
    thread_local char room[32];
    thread_local LocalTimeText text("%Y-%m-%d %H:%M:%S ", room);
    const std::string_view now = text.at(std::time(nullptr));
    return now.empty() ? "" : now.data();
}

const char* severity_name(int sev) {
    return sev >= 0 && sev < SEV_APP_END ? ulog_app_sev_name(sev) : "SEV_UNKNOWN";
}

const char* level_name(int lev) {
    return lev >= 0 && lev < DBG_LEV_END ? ulog_dbg_lev_name(lev) : "DBG_UNKNOWN";
}

} // namespace

void Capture::add_thread(int role, const char* module, const char* logdir, char print_seqno) {
    FFDC* ffdc;
    {
        const std::lock_guard guard(instance_lock);
        ffdc = _ffdc_instance.load(std::memory_order_relaxed);
        if (ffdc == nullptr) {
            ffdc = new FFDC(module, logdir, print_seqno);
            _ffdc_instance.store(ffdc, std::memory_order_release);
            (void)QENInstallFatalSignalHandlers(); // without them dumps come on demand only
        }
    }
    (void)QENInstallSignalStack();
    (void)ffdc->FFDC_Register(QENThreadGetCurrent(), static_cast<FFDCRoleT>(role), FFDC_RING_SIZE);
}

void Capture::remove_thread() {
    if (FFDC* ffdc = _ffdc_instance.load(std::memory_order_acquire))
        (void)ffdc->FFDC_Unregister(QENThreadGetCurrent());
}

void Capture::dump(int role, bool sig_handler) {
    FFDC* ffdc = _ffdc_instance.load(std::memory_order_acquire);
    if (is_enabled() && ffdc != nullptr) (void)ffdc->FFDC_DumpLogs(static_cast<FFDCRoleT>(role), sig_handler);
}

void Capture::dump_and_stop() {
    FFDC* ffdc = _ffdc_instance.load(std::memory_order_acquire);
    if (!is_enabled() || ffdc == nullptr) return;
    ffdc->stop_capture();
    (void)ffdc->FFDC_DumpLogs(FFDC_ROLE_MAX, /*sig_recd=*/true);
}

void Capture::_keep(const LogCall& call, std::string_view text) {
    FFDC* ffdc = _ffdc_instance.load(std::memory_order_acquire);
    if (ffdc == nullptr) return;
    const char* const now = time_text();
    FixedText<LOG_TEXT_SIZE> entry;
    entry << now << " [FFDC] [" << static_cast<unsigned>(QENThreadGetCurrent()) << "] "
          << LogIdentity::mnemonic() << " ";
    if (call.is_debug())
        entry << level_name(call.sev) << " " << text << "\n";
    else
        entry << severity_name(call.sev) << " " << static_cast<int>(call.msgcat_id()) << " " << text << "\n";
    if (call.whop != nullptr && call.filep != nullptr) {
        entry << "\t" << call.filep << ":" << call.whop << "[" << call.line << "]";
        if (ffdc->print_seqno()) entry << ":" << ffdc->seqno();
        entry << "\n";
    }
    ffdc->FFDC_Log(entry.text(), now);
}

void Capture::destroy() {
    delete _ffdc_instance.exchange(nullptr, std::memory_order_acq_rel);
}

void Capture::before_fork() {
    instance_lock.lock();
    if (FFDC* ffdc = _ffdc_instance.load(std::memory_order_relaxed)) ffdc->before_fork();
}

void Capture::after_fork(bool in_child) {
    if (FFDC* ffdc = _ffdc_instance.load(std::memory_order_relaxed)) ffdc->after_fork(in_child);
    instance_lock.unlock();
}

} // namespace taq_1
