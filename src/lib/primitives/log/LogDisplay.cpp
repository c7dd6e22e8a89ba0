// Showing the records of log data files: who may show, on which stream. The lines are made by RecordDisplay.
#include <array>

#include "platform/unix/QENPlatform.h"
#include "primitives/log/LineBuffer.h"
#include "primitives/log/LogCore.h"
#include "primitives/log/ShownRecord.h"
#include "primitives/values/VList.h"

inline namespace taq_1 {

namespace {

std::string_view string_of(const VElem& elem) {
    if (elem.vtype() != VTYPE_STR || elem.getstr() == nullptr) return {};
    return elem.getstr();
}

// Calls visit for each argument of a list.
template <class Visit>
void for_each_string(VList* vlistp, const Visit& visit) {
    if (vlistp == nullptr) return;
    for (const VElem* elemp = vlistp->head(); elemp != nullptr; elemp = elemp->next())
        visit(string_of(*elemp));
}

// Shows every argument, however many: those of the list, where there is one. The first six are for the text.
[[gnu::noinline]] void show_fields(RecordDisplay& display, const ShownRecord& record, ArgViews args,
                                   VList* listp, LineBuffer& out) {
    if (!display.begin_fields(record, args, out)) return;
    if (listp != nullptr)
        for_each_string(listp, [&](std::string_view arg) { display.add_field(arg, out); });
    else
        for (std::string_view arg : args) display.add_field(arg, out);
    RecordDisplay::end_fields(out);
}

} // namespace

// Room for the line in progress; only the thread that is within the log uses it.
std::span<char> LogCore::_line_room() {
    if (_line_roomp == nullptr) _line_roomp = raw_room<char>(LineBuffer::CAPACITY);
    return {_line_roomp.get(), LineBuffer::CAPACITY};
}

// The display, made for the first record; it stays until the log is closed. Null: nothing can be shown.
inline RecordDisplay* LogCore::_display_for(int sev) {
    if (!Log::is_logical_sev(sev)) return nullptr;
    return _displayp != nullptr ? _displayp.get() : _make_display();
}

RecordDisplay* LogCore::_make_display() {
    if (_enabled.load(std::memory_order_relaxed) == 0) return nullptr;
    if (_fp == nullptr)
        QENSyslog(SEV_ERR, "Log File Pointer is NULL\n");
    else
        _displayp.reset(new RecordDisplay(_catalog, _line.is_on_terminal()));
    return _displayp.get();
}

// Inside until the line has left: the stream may be the program's and show a record itself.
void Log::display_ldf_entry(int sev, int obj_tag, time_t time_stamp, int msgcat_id, VList* vlistp,
                            int flags) {
    const LogLock::Guard inside(_core->_lock);
    RecordDisplay* const display = inside ? _core->_display_for(sev) : nullptr;
    if (display == nullptr) return;
    _core->_write_gathered();
    const ShownRecord record = {sev, obj_tag, time_stamp, static_cast<uint32_t>(msgcat_id)};
    std::array<std::string_view, ULOG_MAX_ARGS> args;
    size_t count = 0;
    for_each_string(vlistp, [&](std::string_view arg) {
        if (count < args.size()) args[count++] = arg;
    });
    LineBuffer out(_core->_fp, _core->_line_room());
    if ((flags & ULOG_DISPLAY_DELIMITED) != 0)
        show_fields(*display, record, {args.data(), count}, vlistp, out);
    else
        display->show_line(record, {args.data(), count}, out);
    (void)out.send(/*at_once=*/false); // nobody to tell of a failure
}

void LogCore::display(Log& log, const ShownRecord& record, ArgViews args, int flags, LineBuffer& out) {
    const LogLock::Guard inside(log._core->_lock);
    RecordDisplay* const display = inside ? log._core->_display_for(record.sev) : nullptr;
    if (display == nullptr) return;
    if ((flags & ULOG_DISPLAY_DELIMITED) != 0) [[unlikely]]
        return show_fields(*display, record, args, /*listp=*/nullptr, out);
    display->show_next_line(record, args, out);
}

} // namespace taq_1
