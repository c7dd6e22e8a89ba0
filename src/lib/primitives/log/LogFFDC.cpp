// First-failure capture as the log offers it: entries are composed here and kept by the FFDC object.
#include "primitives/log/Log.h"

#include "platform/unix/QENPlatform.h"
#include "primitives/log/FFDC.h"
#include "primitives/log/FixedText.h"
#include "primitives/log/LogText.h"

#include <ctime>
#include <mutex>

std::atomic<bool> Log::_enable_ffdc{false};
std::atomic<FFDC*> Log::_ffdc_instance{nullptr};

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
    return sev >= 0 && sev < SEV_APP_END ? Log::app_sev_name(static_cast<ulog_app_sev>(sev)) : "SEV_UNKNOWN";
}

const char* level_name(int lev) {
    return lev >= 0 && lev < DBG_LEV_END ? Log::dbg_lev_name(static_cast<ulog_dbg_lev>(lev)) : "DBG_UNKNOWN";
}

} // namespace

void Log::register_for_ffdc(int role, const char* module, const char* logdir, char print_seqno) {
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
    (void)ffdc->FFDC_Register(pthread_self(), static_cast<FFDCRoleT>(role), FFDC_RING_SIZE);
}

void Log::unregister_for_ffdc() {
    if (FFDC* ffdc = _ffdc_instance.load(std::memory_order_acquire))
        (void)ffdc->FFDC_Unregister(pthread_self());
}

void Log::dump_ffdc(int role, bool sig_handler) {
    FFDC* ffdc = _ffdc_instance.load(std::memory_order_acquire);
    if (is_ffdc_enabled() && ffdc != nullptr)
        (void)ffdc->FFDC_DumpLogs(static_cast<FFDCRoleT>(role), sig_handler);
}

void Log::dump_ffdc_and_stop() {
    FFDC* ffdc = _ffdc_instance.load(std::memory_order_acquire);
    if (!is_ffdc_enabled() || ffdc == nullptr) return;
    ffdc->stop_capture();
    (void)ffdc->FFDC_DumpLogs(FFDC_ROLE_MAX, /*sig_recd=*/true);
}

void Log::write_ffdc(int sev, const char* whop, const char* filep, int line, int flags, int cat, int id,
                     const char* msgp) {
    if (msgp != nullptr && is_ffdc_enabled()) _capture(sev, whop, filep, line, flags, cat, id, msgp);
}

void Log::write_ffdc(int sev, const char* whop, const char* filep, int line, int flags, int cat, int id,
                     const MsgStruct* msgp) {
    if (!is_ffdc_enabled()) return;
    const std::string_view text = message_text(msgp);
    if (text.data() != nullptr) _capture(sev, whop, filep, line, flags, cat, id, text);
}

void Log::_capture(int sev, const char* whop, const char* filep, int line, int flags, int cat, int id,
                   std::string_view text) {
    FFDC* ffdc = _ffdc_instance.load(std::memory_order_acquire);
    if (ffdc == nullptr) return;
    const char* const now = time_text();
    FixedText<LOG_TEXT_SIZE> entry;
    entry << now << " [FFDC] [" << static_cast<unsigned>(pthread_self()) << "] " << _mnemonic() << " ";
    if ((flags & ULOG_DEBUG) != 0)
        entry << level_name(sev) << " " << text << "\n";
    else
        entry << severity_name(sev) << " "
              << static_cast<int>(i18n_msgcat_id(static_cast<uint32_t>(cat), static_cast<uint32_t>(id)))
              << " " << text << "\n";
    if (whop != nullptr && filep != nullptr) {
        entry << "\t" << filep << ":" << whop << "[" << line << "]";
        if (ffdc->print_seqno()) entry << ":" << ffdc->seqno();
        entry << "\n";
    }
    ffdc->FFDC_Log(entry.text(), now);
}

void Log::_ffdc_before_fork() {
    instance_lock.lock();
    if (FFDC* ffdc = _ffdc_instance.load(std::memory_order_relaxed)) ffdc->before_fork();
}

void Log::_ffdc_after_fork(bool in_child) {
    if (FFDC* ffdc = _ffdc_instance.load(std::memory_order_relaxed)) ffdc->after_fork(in_child);
    instance_lock.unlock();
}

void Log::_delete_ffdc() {
    delete _ffdc_instance.exchange(nullptr, std::memory_order_acq_rel);
}
