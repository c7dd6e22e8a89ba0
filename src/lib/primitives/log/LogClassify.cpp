// What a message is: its text, identifier, severity and time, taken from the call and from the elements of
// its structure. A message that lacks what its type must have is dropped.
#include <cstring>

#include "platform/unix/QENAssert.h"
#include "primitives/ldf/QENObjTags.h"
#include "primitives/log/Log.h"
#include "primitives/log/LogMessage.h"
#include "primitives/log/LogText.h"
#include "primitives/log/PackedMessage.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/utils/msg_log_add.h"
#include "primitives/values/ValueElem.h"

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

} // namespace

// The part flags of the call, else the log's own, or both when the call asks for that.
int Log::_line_flags(int flags) const {
    if ((flags & ULOG_MERGE) != 0) return flags | _open_flags;
    return (flags & ULOG_LINE_PARTS) != 0 ? flags : _open_flags;
}

bool Log::_has_debug_flag(int level, int flag) const {
    return level >= 0 && level < DBG_LEV_END &&
           (_debug[static_cast<size_t>(level)].load(std::memory_order_relaxed) & flag) != 0;
}

bool Log::_classify(LogMessage& m) {
    m.line_flags = _line_flags(m.flags);
    m.source = file_name_of(m.filep);
    m.type = m.structp != nullptr ? m.structp->gethdr()->getMessage() : 0;
    if (m.type == 0) return _classify_plain(m);
    if (m.type == MSG_LOG_ADD) return _classify_log_add(m);
    for (int type : IDENTIFIED_TYPES)
        if (m.type == type) return _classify_identified(m);
    return false;
}

// A debug text, or a message that goes by the severity of the call.
bool Log::_classify_plain(LogMessage& m) {
    m.msgcat_id = i18n_msgcat_id(static_cast<uint32_t>(m.cat), static_cast<uint32_t>(m.id));
    m.is_debug = (m.flags & ULOG_DEBUG) != 0;
    if (m.is_debug) {
        m.level = m.sev;
        m.logical_sev = m.sev + SEV_APP_END;
        m.text = m.debug_text != nullptr ? std::string_view(m.debug_text) : std::string_view();
        return true;
    }
    m.text = m.packed != nullptr ? m.packed->text : message_text(m.structp);
    if (m.text.data() == nullptr) return false;
    int32_t own_id;
    if (m.packed == nullptr && get_int(m.structp, MSGID_MSGCAT_ID, own_id))
        m.msgcat_id = static_cast<uint32_t>(own_id);
    m.obj_tag = QENLogFlagToObjTag(m.flags);
    m.logical_sev = m.sev;
    if (_cache_enabled) _cache_add(m, MSGID_ARGS);
    return true;
}

// A message that carries severity, time, object type and identifier itself.
bool Log::_classify_log_add(LogMessage& m) {
    int32_t sev, obj_tag, timestamp, own_id;
    if (!get_int(m.structp, MSGID_SEVERITY, sev)) return false;
    if (sev < 0 || sev > logical_sev(DBG_RES2)) return false;
    m.logical_sev = sev;
    m.level = sev - SEV_APP_END;
    m.is_debug = sev >= SEV_APP_END;
    if (m.is_debug && (m.flags & ULOG_FORCE_DEBUG) == 0 && !_has_debug_flag(m.level, LOG_DBG_ENABLED))
        return false;
    m.text = message_text(m.structp);
    if (m.text.data() == nullptr || !get_int(m.structp, MSGID_OBJ_TAG, obj_tag) ||
        !get_int(m.structp, MSGID_TIMESTAMP, timestamp) || !get_int(m.structp, MSGID_MSGCAT_ID, own_id))
        return false;
    m.is_recorded = obj_tag >= OBJTAG_QEN && obj_tag <= OBJTAG_RES; // no log data file can hold another
    m.obj_tag = obj_tag;
    m.time = timestamp;
    m.msgcat_id = static_cast<uint32_t>(own_id);
    if (!m.is_debug && _cache_enabled) _cache_add(m, MSGID_LOG_ADD_ARGS);
    return true;
}

bool Log::_classify_identified(LogMessage& m) {
    m.text = message_text(m.structp);
    const MsgElem* melemp = m.structp->find(MSGID_MSGCAT_ID);
    if (m.text.data() == nullptr || melemp == nullptr) return false;
    QEN_CHECK_AS(melemp->gettype() == VTYPE_S32, "melemp->gettype() == VTYPE_S32");
    m.msgcat_id = static_cast<uint32_t>(melemp->gets32());
    m.obj_tag = QENLogFlagToObjTag(m.flags);
    m.logical_sev = m.sev;
    return true;
}
