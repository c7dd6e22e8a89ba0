// Tells what a log has lost, by messages of the library's own: LogCore::_log calls it in front of the next
// message. A telling that fails loses nothing: its counts stay for the next one.
#include <cstdio>
#include <string>

#include "primitives/log/LogCore.h"
#include "primitives/log/LogMessage.h"
#include "primitives/message/MsgStruct.h"

inline namespace taq_1 {

namespace {

// By reason: the number, and what stands behind the counts in the English text.
constexpr struct {
    int number;
    const char* why;
} TELLINGS[LOSS_REASONS] = {
    {50880, "the disk is full or a write failed."},
    {50881, "the queue was full."},
    {50882, "the file was full and could not be rotated."},
    {50883, "the disk did not confirm them. Some may be there."},
};

std::string local_time(time_t t) {
    char text[32] = "unknown";
    tm local;
    if (localtime_r(&t, &local) != nullptr) std::strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S", &local);
    return text;
}

// The arguments of all four texts: how many messages, since when, and how many of them are critical, errors,
// warnings and all others.
std::unique_ptr<MsgStruct> telling_of(size_t reason, const LossCounts& counts) {
    const LossCounts::OfReason& n = counts.by[reason];
    const uint64_t others = n[SEV_NOTE] + n[SEV_INFO] + n[SEV_APP_END];
    const std::string args[ULOG_MAX_ARGS] = {std::to_string(n[SEV_CRIT] + n[SEV_ERR] + n[SEV_WARN] + others),
                                             local_time(counts.since),
                                             std::to_string(n[SEV_CRIT]),
                                             std::to_string(n[SEV_ERR]),
                                             std::to_string(n[SEV_WARN]),
                                             std::to_string(others)};
    const std::string text = args[0] + " messages have been lost since " + args[1] + " (" + args[2] +
                             " critical, " + args[3] + " errors, " + args[4] + " warnings, " + args[5] +
                             " others): " + TELLINGS[reason].why;
    auto msgp = std::make_unique<MsgStruct>();
    msgp->add_elem(MSGID_TEXT, text.c_str(), 0);
    for (const std::string& arg : args) msgp->append_elem(MSGID_ARGS, arg.c_str(), 0);
    return msgp;
}

// One message for each reason: an error when errors were lost. put(message) says whether it was written.
// Returns the counts that were told.
template <class Put>
LossCounts tell(LossLedger& ledger, const Put& put) {
    LossCounts told = ledger.due();
    bool is_all = true;
    for (size_t r = 0; r < LOSS_REASONS; ++r) {
        LossCounts::OfReason& counts = told.by[r];
        if (counts == LossCounts::OfReason{}) continue;
        const int sev = counts[SEV_CRIT] + counts[SEV_ERR] != 0 ? SEV_ERR : SEV_WARN;
        const LogCall call(time(nullptr), sev, __func__, __FILE__, __LINE__, /*flag_word=*/0,
                           ULOG_CAT_LIBRARY, TELLINGS[r].number);
        const auto msgp = telling_of(r, told);
        LogMessage m(call, /*text_of_debug=*/nullptr, msgp.get());
        if (put(m)) continue;
        counts = {};
        is_all = false;
    }
    ledger.told(told, is_all);
    return told;
}

} // namespace

void Log::on_loss(LossListener listener, void* context) {
    const LogLock::Guard inside(_core->_lock);
    _core->_loss.listen(listener, context);
}

void LogCore::tell_losses() {
    const LogLock::Guard inside(_lock);
    if (!inside || _enabled == 0 || _is_inherited() || !_loss.is_due()) return;
    (void)_has_stream(); // there may be no file yet
    _tell_losses();
}

// In each file what that file lacks. Records that nobody wants are not missed.
void LogCore::_tell_losses() {
    _write_gathered();
    LossNews news = {/*is_told=*/true, {}, {}};
    if (!_copy.is_enabled() || _on_standard_stream())
        _loss.records.told(_loss.records.due(), /*is_all=*/true);
    if (_fp != nullptr && _loss.lines.is_due())
        news.lines = tell(_loss.lines, [this](LogMessage& m) {
            return m.classify(_open_flags, _tags) && _put_line(m, /*is_counted=*/false);
        });
    if (_copy.is_open() && _loss.records.is_due())
        news.records = tell(_loss.records, [this](LogMessage& m) {
            return m.classify(_open_flags, _tags) && _copy.add(m, /*is_counted=*/false);
        });
    if (news.lines.total() + news.records.total() != 0) _loss.announce_told(news);
}

} // namespace taq_1
