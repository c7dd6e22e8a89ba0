// A message site: the call becomes one value and a packed message, for the capture and for the log.
#include "primitives/log/MessageSite.h"

#include <typeinfo>

#include "primitives/log/Capture.h"
#include "primitives/log/CatalogMessage.h"
#include "primitives/log/Log.h"
#include "primitives/log/PackedMessage.h"

inline namespace taq_1 {

namespace {

void write_site(ILog* logp, const LogCall& call, const PackedMessage& packed) {
    Capture::offer(call, packed.view().text);
    if (logp == nullptr) return;
    if (typeid(*logp) == typeid(Log))
        static_cast<Log*>(logp)->write_packed(call, packed);
    else // another kind of log may want its write_app called, which takes a structure
        logp->write_app(static_cast<ulog_app_sev>(call.sev), call.whop, call.filep, call.line,
                        call.flags | ULOG_HAND_OVER, call.cat, call.id, packed.view().structure());
}

} // namespace

void write_message(ILog* logp, ulog_app_sev sev, const char* whop, const char* filep, int line, int flags,
                   int cat, int id, const char* fmtp, ...) {
    QENVaList args;
    va_start(args.list, fmtp);
    PackedMessage packed;
    packed.pack(fmtp, args);
    va_end(args.list);
    write_site(logp, LogCall(time(nullptr), sev, whop, filep, line, flags, cat, id), packed);
}

void write_composed_message(ILog* logp, ulog_app_sev sev, const char* whop, const char* filep, int line,
                            int flags, int cat, int id, const char* fmtp, ...) {
    QENVaList args;
    va_start(args.list, fmtp);
    PackedMessage packed;
    packed.pack(fmtp, args);
    va_end(args.list);
    write_site(logp, LogCall(time(nullptr), sev, whop, filep, line, flags, cat, id), packed);
}

void write_debug_message(ILog* logp, ulog_dbg_lev lev, const char* whop, const char* filep, int line,
                         int flags, int cat, int id, const char* fmtp, ...) {
    QENVaList args;
    va_start(args.list, fmtp);
    PackedMessage packed;
    packed.pack(fmtp, args);
    va_end(args.list);
    const std::string_view text = packed.view().text;
    Capture::offer({time(nullptr), lev, whop, filep, line, flags | ULOG_DEBUG, cat, id}, text);
    logp->write_dbg(lev, whop, filep, line, flags & ~ULOG_HAND_OVER, cat, id, text.data());
}

} // namespace taq_1
