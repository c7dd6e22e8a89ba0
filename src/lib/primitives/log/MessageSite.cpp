#include "primitives/log/MessageSite.h"

#include <memory>
#include <typeinfo>

#include "primitives/log/Log.h"
#include "primitives/message/MsgStruct.h"

void write_message(ILog* logp, ulog_app_sev sev, const char* whop, const char* filep, int line, int flags,
                   int cat, int id, const char* fmtp, ...) {
    flags |= ULOG_HAND_OVER;
    QENVaList args;
    va_start(args.list, fmtp);
    if (logp != nullptr && !Log::is_ffdc_enabled() && typeid(*logp) == typeid(Log)) {
        static_cast<Log*>(logp)->write_formatted(sev, whop, filep, line, flags, cat, id, fmtp, args);
    } else { // a capture wants the structure, and another kind of log may want its write_app called
        std::unique_ptr<MsgStruct> msgp(Log::process_va_args(fmtp, args));
        if (Log::is_ffdc_enabled()) Log::write_ffdc(sev, whop, filep, line, flags, cat, id, msgp.get());
        if (logp != nullptr) logp->write_app(sev, whop, filep, line, flags, cat, id, msgp.release());
    }
    va_end(args.list);
}
