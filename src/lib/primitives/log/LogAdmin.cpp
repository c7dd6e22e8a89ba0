// Messages for the administrator, in the system log, and what the platform layer reports through the log.
#include "primitives/log/LogAdmin.h"

#include <memory>
#include <strings.h>

#include "platform/unix/QENHooks.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/log/Log.h"
#include "primitives/log/LogQueue.h"
#include "primitives/log/LogText.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/strings/QENString.h"

std::atomic<int> Log::_syslog_facility{0};

namespace {

constexpr struct {
    const char* name;
    int code; // the system log's value times 256
} FACILITIES[] = {{"LOG_LOCAL0", 32768}, {"LOG_LOCAL1", 34816}, {"LOG_LOCAL2", 36864}, {"LOG_LOCAL3", 38912},
                  {"LOG_LOCAL4", 40960}, {"LOG_LOCAL5", 43008}, {"LOG_LOCAL6", 45056}, {"LOG_LOCAL7", 47104}};

// The text of a message as a format for the system log. False: no text, or too long for the buffer.
bool escaped_text(const MsgStruct* msgp, char (&format)[LOG_TEXT_SIZE]) {
    const std::string_view text = message_text(msgp);
    return text.data() != nullptr && qenescfmt(format, std::string(text).c_str(), sizeof format) == 0;
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
    char format[LOG_TEXT_SIZE];
    if (!escaped_text(msg_structp, format)) return;
    if (Log::is_ffdc_enabled()) {
        const std::unique_ptr<char[]> captured(Log::process_dbg_args(format));
        Log::write_ffdc(logical_sev, "", filep, line, /*flags=*/0, QEN_PLATFORM_CATEGORY, number,
                        captured.get());
    }
    Log::admin_msg(logical_sev, "", filep, line, QEN_PLATFORM_CATEGORY, number, Log::process_args(format));
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
    char format[LOG_TEXT_SIZE];
    if (escaped_text(msgp, format)) QENSyslog(get_adminlog_facility() | sev, format);
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
