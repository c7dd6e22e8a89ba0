// The way of a message to the system log: see LogAdmin.h. Logs, the library itself and the platform end here.
#include "primitives/log/LogAdmin.h"

#include <cstring>
#include <string>

#include "platform/unix/QENHooks.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/log/Capture.h"
#include "primitives/log/LogIdentity.h"
#include "primitives/log/LogQueue.h"
#include "primitives/log/LogText.h"
#include "primitives/log/LoggerThread.h"

inline namespace taq_1 {

namespace {

constexpr struct {
    const char* name;
    int code; // the system log's value times 256
} FACILITIES[] = {{"LOG_LOCAL0", 32768}, {"LOG_LOCAL1", 34816}, {"LOG_LOCAL2", 36864}, {"LOG_LOCAL3", 38912},
                  {"LOG_LOCAL4", 40960}, {"LOG_LOCAL5", 43008}, {"LOG_LOCAL6", 45056}, {"LOG_LOCAL7", 47104}};

// What of a text the system log takes. It travels as a format there, in which a '%' counts twice: what
// exceeds LOG_TEXT_SIZE then is dropped, or cut where a '%' stands. Null data: no text, or too long.
std::string_view reportable(std::string_view text) {
    size_t used = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const size_t wanted = text[i] == '%' ? 2 : 1;
        if (LOG_TEXT_SIZE - used <= wanted) return text[i] == '%' ? text.substr(0, i) : std::string_view();
        used += wanted;
    }
    return text;
}

std::unique_ptr<MsgStruct> message_of(std::string_view text) {
    auto msgp = std::make_unique<MsgStruct>();
    msgp->add_elem(MSGID_TEXT, std::string(text).c_str(), 0);
    return msgp;
}

// A failed thread operation, as a message on the process's output log.
void report_thread_failure(const QENThreadFailure& failure) {
    const LogCall call(time(nullptr), QEN_THREAD_FAILURE_SEVERITY, failure.function, failure.file,
                       failure.line, QEN_THREAD_FAILURE_FLAGS, QEN_PLATFORM_CATEGORY, failure.number);
    Capture::offer(call, failure.text);
    if (_unified_log_function__ == nullptr) return;
    std::unique_ptr<MsgStruct> msgp = message_of(failure.text);
    for (const char* arg : failure.args)
        if (arg != nullptr) msgp->append_elem(MSGID_ARGS, arg, 0);
    _unified_log_function__->write_app(static_cast<ulog_app_sev>(call.sev), call.whop, call.filep, call.line,
                                       call.flags, call.cat, call.id, msgp.release());
}

// For programs that call the platform's QENReportEvent; logs call LogAdmin::mirror.
void report_event(int logical_sev, uint32_t event_id, MsgStruct* msg_structp, const char*, int) {
    LogAdmin::mirror(logical_sev, static_cast<int>(event_id), message_text(msg_structp));
}

void dump_capture(int /*signal*/) {
    Capture::dump_and_stop();
}

} // namespace

void LogAdmin::install_hooks() {
    QENSetHooks({report_thread_failure, report_event, dump_capture});
}

void LogAdmin::remove_hooks() {
    QENSetHooks({});
}

void LogAdmin::send(const LogCall& call, std::unique_ptr<MsgStruct> msgp) {
    const std::string_view text = message_text(msgp.get());
    if (LogIdentity::is_verifying() || text.data() == nullptr) return;
    if (!LoggerThread::is_on()) return write(call.sev, text);
    (void)logger_thread().post(new vlog_msg_t(/*log=*/nullptr, call, /*debug_text=*/nullptr, msgp.release()));
}

void LogAdmin::write(int sev, std::string_view text) {
    text = reportable(text);
    if (text.data() != nullptr)
        QENSyslog(facility() | sev, "%.*s", static_cast<int>(text.size()), text.data());
}

void LogAdmin::report(int sev, const char* whop, const char* filep, int line, int id,
                      std::unique_ptr<MsgStruct> msgp) {
    const LogCall call(time(nullptr), sev, whop, filep, line, /*flag_word=*/0, ULOG_CAT_LIBRARY, id);
    Capture::offer(call, message_text(msgp.get()));
    send(call, std::move(msgp));
}

// A structure is built for the queue only.
void LogAdmin::mirror(int logical_sev, int number, std::string_view text) {
    const std::string_view taken = reportable(text);
    if (taken.data() == nullptr) return;
    const LogCall call(time(nullptr), logical_sev, "", QEN_EVENT_FILE, QEN_EVENT_LINE, /*flag_word=*/0,
                       QEN_PLATFORM_CATEGORY, number);
    Capture::offer(call, text);
    if (LoggerThread::is_on())
        send(call, message_of(taken));
    else if (!LogIdentity::is_verifying())
        write(logical_sev, taken);
}

int LogAdmin::verify_facility(const char* facility) {
    if (facility == nullptr || *facility == '\0') return 0;
    for (const auto& known : FACILITIES)
        if (strcasecmp(known.name, facility) == 0) return known.code;
    return -1;
}

} // namespace taq_1
