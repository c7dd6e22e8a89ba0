// Turns classified messages into records. Log::_write_message comes before, LdfWriter after.
#include "primitives/log/LdfCopy.h"

#include <cstdint>
#include <new>

#include "platform/unix/QENPlatform.h"
#include "primitives/ldf/ResultText.h"
#include "primitives/log/LogAdmin.h"
#include "primitives/log/LogMessage.h"
#include "primitives/log/MessageBuilder.h"

inline namespace taq_1 {

namespace {

constexpr int MSG_LDF_OPEN_FAILED = 50878;

int8_t one_byte(int code) {
    return static_cast<int8_t>(code >= 0 && code <= INT8_MAX ? code : -1);
}

std::string_view view_of(const char* s) {
    return s != nullptr ? std::string_view(s) : std::string_view();
}

} // namespace

void LdfCopy::_open(const char* namep) {
    _ldfp.reset(new (std::nothrow) LdfWriter);
    const int result = _ldfp != nullptr ? _ldfp->open(namep, /*flags=*/0) : LDF_ENOMEM;
    if (result == LDF_OK) {
        _ldfp->sync_up_to(_synced_sev);
        _ldfp->on_lost(_count, &_losses);
        return;
    }
    LogAdmin::report(SEV_ERR, __func__, __FILE__, __LINE__, MSG_LDF_OPEN_FAILED,
                     std::unique_ptr<MsgStruct>(MessageBuilder::process_args(
                         "There is an error opening the LDF file for '%s'.", namep)));
    if (result == LDF_EROOT)
        QENSyslog(SEV_ERR, "The log '%s' has no records: %s", namep, ldf_result_text(result));
    _ldfp.reset();
    _ldf_enabled = false;
}

// A message without a number is recorded with its text, any other with the arguments of its text.
bool LdfCopy::_put(const LogMessage& m, decltype(&LdfWriter::append) put, bool is_counted) {
    ldf_msg_header_t fixed = {};
    fixed.sev = one_byte(m.logical_sev);
    fixed.timestamp = static_cast<int32_t>(m.time);
    fixed.msgcat_id = m.msgcat_id;
    fixed.obj_type = one_byte(m.obj_tag);
    fixed.line_no = static_cast<uint32_t>(m.call.line);
    fixed.seq = LDF_NO_SEQ;
    const std::string_view whop = view_of(m.call.whop);
    const LdfAppend result = m.number() == 0
                                 ? (_ldfp.get()->*put)(fixed, view_of(m.call.filep), whop, {&m.text, 1})
                                 : (_ldfp.get()->*put)(fixed, m.source, whop, m.arguments().span());
    if (result != LdfAppend::DONE && is_counted) _count(&_losses, result, m.logical_sev);
    return result == LdfAppend::DONE;
}

void LdfCopy::_count(void* losses, LdfAppend why, int sev) {
    LossReason reason = LossReason::WRITE;
    if (why == LdfAppend::NO_ROOM) reason = LossReason::ROTATION;
    if (why == LdfAppend::NOT_SYNCED) reason = LossReason::SYNC;
    static_cast<LossLedger*>(losses)->note(reason, sev);
}

} // namespace taq_1
