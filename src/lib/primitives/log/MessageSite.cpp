#include "primitives/log/MessageSite.h"

#include <memory>
#include <typeinfo>

#include "primitives/log/Log.h"
#include "primitives/log/PackedMessage.h"
#include "primitives/message/MsgStruct.h"

void write_message(ILog* logp, ulog_app_sev sev, const char* whop, const char* filep, int line, int flags,
                   int cat, int id, const char* fmtp, ...) {
    QENVaList args;
    va_start(args.list, fmtp);
    PackedMessage packed;
    // Another kind of log may want its write_app called, which takes a structure.
    if ((logp == nullptr || typeid(*logp) == typeid(Log)) && packed.pack(fmtp, args)) {
        Log::write_ffdc(sev, whop, filep, line, flags, cat, id, packed.view().text.data());
        if (logp != nullptr)
            static_cast<Log*>(logp)->write_packed(sev, whop, filep, line, flags, cat, id, packed);
    } else {
        std::unique_ptr<MsgStruct> msgp(Log::process_va_args(fmtp, args));
        Log::write_ffdc(sev, whop, filep, line, flags, cat, id, msgp.get());
        if (logp != nullptr)
            logp->write_app(sev, whop, filep, line, flags | ULOG_HAND_OVER, cat, id, msgp.release());
    }
    va_end(args.list);
}

void write_debug_message(ILog* logp, ulog_dbg_lev lev, const char* whop, const char* filep, int line,
                         int flags, int cat, int id, const char* fmtp, ...) {
    QENVaList args;
    va_start(args.list, fmtp);
    const std::unique_ptr<char[]> text(Log::process_va_dbg_args(fmtp, args));
    va_end(args.list);
    Log::write_ffdc(lev, whop, filep, line, flags | ULOG_DEBUG, cat, id, text.get());
    logp->write_dbg(lev, whop, filep, line, flags & ~ULOG_HAND_OVER, cat, id, text.get());
}
