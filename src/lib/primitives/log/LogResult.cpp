// Result codes of logs become words that a service prints.
#include "primitives/log/LogResult.h"

#include "platform/unix/QENDefaults.h"
#include "primitives/ldf/ResultText.h"
#include "primitives/log/ILog.h"

inline namespace taq_1 {

namespace {

constexpr ResultText TEXTS[] = {
    {ULOG_OK, "done"},
    {ULOG_EREGISTERED, "a log of that name is open already, here or in another process"},
    {ULOG_ENONAME, "no name was given"},
    {ULOG_EROOT, "there is no folder"},
    {ULOG_EFAIL, "the log's folder or file cannot be made, or there is no such language"},
    {ULOG_ENOMEM, "out of memory"},
    {ULOG_ENOINIT, "Log::init was not called"},
};

} // namespace

const char* ulog_result_text(int result) {
    return find_result_text(TEXTS, sizeof TEXTS / sizeof TEXTS[0], result, ULOG_EROOT, QEN_ENV_LOG_ROOT);
}

} // namespace taq_1
