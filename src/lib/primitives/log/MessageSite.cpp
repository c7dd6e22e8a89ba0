// A message site: the call becomes one value and a packed message, for the capture and for the log.
#include "primitives/log/MessageSite.h"

#include "primitives/log/Capture.h"
#include "primitives/log/CatalogMessage.h"
#include "primitives/log/LogCore.h"
#include "primitives/log/PackedMessage.h"
#include "primitives/message/MsgStruct.h"

inline namespace taq_1 {

namespace {

void write_site(ILog* logp, const LogCall& call, const PackedMessage& packed) {
    Capture::offer(call, packed.view().text);
    if (logp == nullptr) return;
    const std::type_info* const type = class_of(*logp);
    if (type == &typeid(Log)) return LogCore::write_packed(static_cast<Log&>(*logp), call, packed);
    // Another kind of log may want its write_app called, which takes a structure. A Log of another copy of
    // the library, which the program has while we are in a plugin of it, has an allocator of its own too.
    const int owner = type != nullptr && *type == typeid(Log) ? 0 : ULOG_HAND_OVER;
    MsgStruct* const msgp = packed.view().structure();
    logp->write_app(static_cast<ulog_app_sev>(call.sev), call.whop, call.filep, call.line,
                    (call.flags & ~ULOG_HAND_OVER) | owner, call.cat, call.id, msgp);
    if (owner == 0) delete msgp;
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
