// First-failure capture as the log offers it: entries are composed here and kept by the FFDC object.
#include "primitives/log/Log.h"

#include "platform/unix/QENPlatform.h"
#include "primitives/log/FFDC.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/values/ValueElem.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <mutex>

std::atomic<bool> Log::_enable_ffdc{false};
std::atomic<FFDC*> Log::_ffdc_instance{nullptr};

namespace {

constexpr short MSG_TEXT_ELEMENT = 21;

std::mutex instance_lock; // held while the object is made

// The calling thread's time text; it changes once a second.
const char* time_text() {
    thread_local time_t second = -1;
    thread_local char text[32] = "";
    const time_t now = std::time(nullptr);
    if (now == second) return text;
    tm local;
    if (localtime_r(&now, &local) == nullptr ||
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S ", &local) == 0)
        text[0] = '\0';
    second = now;
    return text;
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

void Log::write_ffdc(int sev, const char* whop, const char* filep, int line, int flags, int cat, int id,
                     const char* msgp) {
    FFDC* ffdc = _ffdc_instance.load(std::memory_order_acquire);
    if (!is_ffdc_enabled() || ffdc == nullptr || msgp == nullptr) return;

    char entry[LOG_TEXT_SIZE];
    const char* const now = time_text();
    const auto thread = static_cast<unsigned>(pthread_self());
    const int msgcat_id = static_cast<int>(static_cast<unsigned>(cat) << 16 | static_cast<unsigned>(id));
    int used;
    if (flags & ULOG_DEBUG)
        used = std::snprintf(entry, sizeof entry, "%s [FFDC] [%u] %s %s %s\n", now, thread, _mnemp,
                             level_name(sev), msgp);
    else
        used = std::snprintf(entry, sizeof entry, "%s [FFDC] [%u] %s %s %d %s\n", now, thread, _mnemp,
                             severity_name(sev), msgcat_id, msgp);
    const size_t end = std::min(static_cast<size_t>(std::max(used, 0)), sizeof entry - 1);
    if (whop != nullptr && filep != nullptr) {
        if (ffdc->print_seqno())
            std::snprintf(entry + end, sizeof entry - end, "\t%s:%s[%d]:%lu\n", filep, whop, line,
                          ffdc->seqno());
        else
            std::snprintf(entry + end, sizeof entry - end, "\t%s:%s[%d]\n", filep, whop, line);
    }
    ffdc->FFDC_Log(entry, now);
}

void Log::write_ffdc(int sev, const char* whop, const char* filep, int line, int flags, int cat, int id,
                     const MsgStruct* msgp) {
    if (msgp == nullptr) return;
    const MsgElem* text = msgp->find(MSG_TEXT_ELEMENT);
    if (text != nullptr && text->gettype() == VTYPE_STR)
        write_ffdc(sev, whop, filep, line, flags, cat, id, text->getstr());
}

void Log::_delete_ffdc() {
    delete _ffdc_instance.exchange(nullptr, std::memory_order_acq_rel);
}
