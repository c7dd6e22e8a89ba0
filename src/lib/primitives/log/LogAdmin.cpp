// Messages for the administrator, in the system log, and what the platform layer reports through the log.
#include "primitives/log/LogAdmin.h"

#include <cstring>
#include <memory>
#include <string>

#include "platform/unix/QENHooks.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/log/Log.h"
#include "primitives/log/LogQueue.h"
#include "primitives/log/LogText.h"
#include "primitives/message/MsgStruct.h"

std::atomic<int> Log::_syslog_facility{0};

namespace {

constexpr struct {
    const char* name;
    int code; // the system log's value times 256
} FACILITIES[] = {{"LOG_LOCAL0", 32768}, {"LOG_LOCAL1", 34816}, {"LOG_LOCAL2", 36864}, {"LOG_LOCAL3", 38912},
                  {"LOG_LOCAL4", 40960}, {"LOG_LOCAL5", 43008}, {"LOG_LOCAL6", 45056}, {"LOG_LOCAL7", 47104}};

// The text of a message for the system log. It travels as a format there, in which a '%' counts twice: what
// exceeds LOG_TEXT_SIZE then is dropped, or cut where a '%' stands. Null data: no text, or too long.
std::string_view reportable_text(const MsgStruct* msgp) {
    const std::string_view text = message_text(msgp);
    size_t used = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const size_t wanted = text[i] == '%' ? 2 : 1;
        if (LOG_TEXT_SIZE - used <= wanted) return text[i] == '%' ? text.substr(0, i) : std::string_view();
        used += wanted;
    }
    return text;
}

// A failed thread operation, as a message on the process's output log.
void report_thread_failure(const QENThreadFailure& failure) {
    constexpr auto SEV = static_cast<ulog_app_sev>(QEN_THREAD_FAILURE_SEVERITY);
    constexpr int FLAGS = QEN_THREAD_FAILURE_FLAGS;
    std::unique_ptr<MsgStruct> msgp(new MsgStruct);
    msgp->add_elem(MSGID_TEXT, failure.text, 0);
    for (const char* arg : failure.args)
        if (arg != nullptr) msgp->append_elem(MSGID_ARGS, arg, 0);
    if (Log::is_ffdc_enabled())
        Log::write_ffdc(SEV, failure.function, failure.file, failure.line, FLAGS, QEN_PLATFORM_CATEGORY,
                        failure.number, msgp.get());
    if (_unified_log_function__ != nullptr)
        _unified_log_function__->write_app(SEV, failure.function, failure.file, failure.line, FLAGS,
                                           QEN_PLATFORM_CATEGORY, failure.number, msgp.release());
}

// Mirrors a serious message to the administrator.
void report_event(int logical_sev, uint32_t event_id, MsgStruct* msg_structp, const char* filep, int line) {
    const auto number = static_cast<int>(event_id);
    const std::string_view text = reportable_text(msg_structp);
    if (text.data() == nullptr) return;
    Log::write_ffdc(logical_sev, "", filep, line, /*flags=*/0, QEN_PLATFORM_CATEGORY, number, msg_structp);
    auto msgp = std::make_unique<MsgStruct>();
    msgp->add_elem(MSGID_TEXT, std::string(text).c_str(), 0);
    Log::admin_msg(logical_sev, "", filep, line, QEN_PLATFORM_CATEGORY, number, msgp.release());
}

void dump_capture(int) {
    Log::dump_ffdc_and_stop();
}

} // namespace

void Log::_install_hooks() {
    QENSetHooks({report_thread_failure, report_event, dump_capture});
}

void Log::_remove_hooks() {
    QENSetHooks({});
}

void report_to_admin(int sev, const char* whop, const char* filep, int line, int cat, int id,
                     MsgStruct* msgp) {
    if (Log::is_ffdc_enabled()) Log::write_ffdc(sev, whop, filep, line, /*flags=*/0, cat, id, msgp);
    Log::admin_msg(sev, whop, filep, line, cat, id, msgp);
}

void Log::admin_msg(int sev, const char* whop, const char* filep, int line, int cat, int id,
                    MsgStruct* msg_structp) {
    std::unique_ptr<MsgStruct> msgp(msg_structp);
    if (_verify_mode.load(std::memory_order_relaxed) || message_text(msgp.get()).data() == nullptr) return;
    const time_t now = time(nullptr);
    if (!LoggerThread::is_on())
        write_admin(now, sev, whop, filep, line, cat, id, msgp.get());
    else
        logger_thread().post(new vlog_msg_t(/*log=*/nullptr, now, sev, whop, filep, line, /*flag_word=*/0,
                                            cat, id, /*debug_text=*/nullptr, msgp.release()));
}

void Log::write_admin(time_t, int sev, const char*, const char*, int, int, int, const MsgStruct* msgp) {
    const std::string_view text = reportable_text(msgp);
    if (text.data() != nullptr)
        QENSyslog(get_adminlog_facility() | sev, "%.*s", static_cast<int>(text.size()), text.data());
}

void Log::set_adminlog_facility(int facility) {
    _syslog_facility.store(facility, std::memory_order_relaxed);
}

int Log::get_adminlog_facility() {
    return _syslog_facility.load(std::memory_order_relaxed);
}

int Log::verify_facility(const char* facility) {
    if (facility == nullptr || *facility == '\0') return 0;
    for (const auto& known : FACILITIES)
        if (strcasecmp(known.name, facility) == 0) return known.code;
    return -1;
}
