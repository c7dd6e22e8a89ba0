// Starts a command: locale, logging framework and its two logs on standard output and standard error.
#include "commoncmd/commoncmd.h"

#include "platform/unix/QENPlatform.h"
#include "primitives/log/Log.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <string>

inline namespace taq_1 {

void initialization(const char* cmdname) {
    const std::string err_name = std::string(cmdname) + "-err";
    QENSigignore(SIGIO);
    std::setlocale(LC_ALL, "");
    Log::init("QEN", "K-16", nullptr);
    use_log_pair(cmdname, err_name.c_str());
}

void use_log_pair(const char* name, const char* err_name) {
    drop_log_pair();
    _unified_log_function__ = new Log;
    _unified_logerr_function__ = new Log;
    (void)_unified_log_function__->open(name, stdout, CMD_STDOUT_FLAGS, nullptr);
    (void)_unified_logerr_function__->open(err_name, stderr, CMD_STDERR_FLAGS, nullptr);
}

void drop_log_pair() {
    if (_unified_logerr_function__ != _unified_log_function__) delete _unified_logerr_function__;
    delete _unified_log_function__;
    _unified_log_function__ = nullptr;
    _unified_logerr_function__ = nullptr;
}

int l10nconversion(char**, int, char**) {
    return 0;
}

} // namespace taq_1
