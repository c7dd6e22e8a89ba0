// The operations of Log that hand on to what a log is made of, or to what all logs share.
#include "primitives/log/Capture.h"
#include "primitives/log/LogAdmin.h"
#include "primitives/log/LogCore.h"
#include "primitives/log/LogIdentity.h"
#include "primitives/log/LoggerThread.h"

inline namespace taq_1 {

constinit std::atomic<bool>& Log::_verify_mode = LogIdentity::verify_mode;

// ---- Of one log

char* Log::pathAp() {
    return _core->_file.path();
}

const LogLoss& Log::losses() const {
    return _core->_loss;
}

void Log::set_cache_enabled() {
    _core->_cache.enable();
}

VList* Log::cache_vlistp() {
    return _core->_cache.list();
}

// ---- The administrator's messages

void Log::set_adminlog_facility(int facility) {
    LogAdmin::set_facility(facility);
}

int Log::get_adminlog_facility() {
    return LogAdmin::facility();
}

int Log::verify_facility(const char* facility) {
    return LogAdmin::verify_facility(facility);
}

// ---- The logger thread

void Log::start_logger() {
    logger_thread().start();
}

void Log::stop_logger() {
    logger_thread().stop();
}

void Log::finish_queue() {
    logger_thread().finish();
}

bool Log::run_thread() {
    return LoggerThread::is_running();
}

void Log::enq(vlog_msg_t* msgp) {
    logger_thread().append(msgp);
}

DList* Log::deq(int ms) {
    return logger_thread().take(ms);
}

// ---- First-failure capture

bool Log::is_ffdc_enabled() {
    return Capture::is_enabled();
}

void Log::enable_ffdc() {
    Capture::enable();
}

void Log::disable_ffdc() {
    Capture::disable();
}

void Log::register_for_ffdc(int role, const char* module, const char* logdir, char print_seqno) {
    Capture::add_thread(role, module, logdir, print_seqno);
}

void Log::unregister_for_ffdc() {
    Capture::remove_thread();
}

void Log::dump_ffdc(int role, bool sig_handler) {
    Capture::dump(role, sig_handler);
}

} // namespace taq_1
