#include "primitives/log/LogMessage.h"

#include <cstring>

#include "primitives/log/PackedMessage.h"

LogArguments LogMessage::arguments() const {
    LogArguments args;
    if (packed != nullptr) {
        const char* arg = packed->args;
        args.more = packed->count > ULOG_MAX_ARGS;
        while (args.count < static_cast<size_t>(args.more ? ULOG_MAX_ARGS : packed->count)) {
            const std::string_view view = args.views[args.count++] = arg;
            arg += view.size() + 1;
        }
        return args;
    }
    for (const MsgElem* elemp = structp->find(MSGID_ARGS); elemp != nullptr; elemp = elemp->next()) {
        args.more = args.count == args.views.size();
        if (args.more) break;
        args.views[args.count++] = elem_text(elemp);
    }
    return args;
}

MsgStruct* LogMessage::structure() {
    if (structp != nullptr || packed == nullptr) return structp;
    if (built == nullptr) built.reset(packed->structure());
    return built.get();
}
