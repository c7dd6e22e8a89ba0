// Finds out what a message is: text, identifier, severity, time and arguments, whatever its shape. A log does
// this before it writes the line.
#include "primitives/log/LogMessage.h"

#include <cstring>

#include "platform/unix/QENAssert.h"
#include "primitives/ldf/QENObjTags.h"
#include "primitives/log/LogDebugTags.h"
#include "primitives/log/MessageBuilder.h"
#include "primitives/log/PackedMessage.h"
#include "primitives/utils/msg_log_add.h"
#include "primitives/values/ValueElem.h"

inline namespace taq_1 {

namespace {

// Types whose identifier is in the message and whose severity is the call's.
constexpr int IDENTIFIED_TYPES[] = {ULOG_MSG_TEXT_A, ULOG_MSG_TEXT_B, ULOG_MSG_TEXT_C, ULOG_MSG_TEXT_D};
// Argument elements, copied into the cache, of a message of type MSG_LOG_ADD.
constexpr int16_t MSGID_LOG_ADD_ARGS = 26;

// False when the message has no such integer.
bool get_int(const MsgStruct* msgp, int16_t id, int32_t& value) {
    const MsgElem* elemp =
        msgp->find(id); // NOLINT(clang-analyzer-core.CallAndMessage): a type comes from a message
    if (elemp == nullptr || elemp->gettype() != VTYPE_S32) return false;
    value = elemp->gets32();
    return true;
}

std::string_view file_name_of(const char* path) {
    if (path == nullptr) return {};
    const char* slash = strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

// The part flags of the call, else the log's own, or both when the call asks for that.
int line_flags_of(int flags, int open_flags) {
    if ((flags & ULOG_MERGE) != 0) return flags | open_flags;
    return (flags & ULOG_LINE_PARTS) != 0 ? flags : open_flags;
}

LogArguments arguments_of(const PackedView& packed) {
    LogArguments args;
    const char* arg = packed.args;
    args.more = packed.count > ULOG_MAX_ARGS;
    while (args.count < static_cast<size_t>(args.more ? ULOG_MAX_ARGS : packed.count)) {
        const std::string_view view = args.views[args.count++] = arg;
        arg += view.size() + 1;
    }
    return args;
}

} // namespace

bool LogMessage::classify(int open_flags, const LogDebugTags& tags) {
    line_flags = line_flags_of(call.flags, open_flags);
    source = file_name_of(call.filep);
    type = structp != nullptr ? structp->gethdr()->getMessage() : ULOG_MSG_PLAIN;
    if (type == ULOG_MSG_PLAIN) return _classify_plain();
    if (type == MSG_LOG_ADD) return _classify_log_add(tags);
    for (int identified : IDENTIFIED_TYPES)
        if (type == identified) return _classify_identified();
    return false;
}

// A debug text, or a message that goes by the severity of the call.
bool LogMessage::_classify_plain() {
    msgcat_id = call.msgcat_id();
    is_debug = call.is_debug();
    if (is_debug) {
        level = call.sev;
        logical_sev = call.sev + SEV_APP_END;
        text = debug_text != nullptr ? std::string_view(debug_text) : std::string_view();
        return true;
    }
    text = packed != nullptr ? packed->text : message_text(structp);
    if (text.data() == nullptr) return false;
    int32_t own_id;
    if (packed == nullptr && get_int(structp, MSGID_MSGCAT_ID, own_id))
        msgcat_id = static_cast<uint32_t>(own_id);
    obj_tag = QENLogFlagToObjTag(call.flags);
    logical_sev = call.sev;
    cache_args_id = MSGID_ARGS;
    return true;
}

// A message that carries severity, time, object type and identifier itself.
bool LogMessage::_classify_log_add(const LogDebugTags& tags) {
    int32_t sev, tag, timestamp, own_id;
    if (!get_int(structp, MSGID_SEVERITY, sev)) return false;
    if (!MessageBuilder::is_logical_sev(sev)) return false;
    logical_sev = sev;
    level = sev - SEV_APP_END;
    is_debug = sev >= SEV_APP_END;
    if (is_debug && (call.flags & ULOG_FORCE_DEBUG) == 0 && !tags.has(level, LOG_DBG_ENABLED)) return false;
    text = message_text(structp);
    if (text.data() == nullptr || !get_int(structp, MSGID_OBJ_TAG, tag) ||
        !get_int(structp, MSGID_TIMESTAMP, timestamp) || !get_int(structp, MSGID_MSGCAT_ID, own_id))
        return false;
    is_recorded = tag >= OBJTAG_QEN && tag <= OBJTAG_RES; // no log data file can hold another
    obj_tag = tag;
    time = timestamp;
    msgcat_id = static_cast<uint32_t>(own_id);
    if (!is_debug) cache_args_id = MSGID_LOG_ADD_ARGS;
    return true;
}

bool LogMessage::_classify_identified() {
    text = message_text(structp);
    const MsgElem* melemp = structp->find(MSGID_MSGCAT_ID);
    if (text.data() == nullptr || melemp == nullptr) return false;
    QEN_CHECK_AS(melemp->gettype() == VTYPE_S32, "melemp->gettype() == VTYPE_S32");
    msgcat_id = static_cast<uint32_t>(melemp->gets32());
    obj_tag = QENLogFlagToObjTag(call.flags);
    logical_sev = call.sev;
    return true;
}

LogArguments LogMessage::arguments() const {
    if (packed != nullptr) return arguments_of(*packed);
    LogArguments args;
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

} // namespace taq_1
