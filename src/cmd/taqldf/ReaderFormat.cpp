// The lines of the reader taqmsg, byte for byte: its own display makes them.
#include "RecordFormat.h"
#include "platform/unix/QENStreams.h"
#include "primitives/log/LogCatalog.h"
#include "primitives/log/MessageBuilder.h"
#include "primitives/log/RecordDisplay.h"

namespace {

class ReaderFormat : public RecordFormat {
public:
    explicit ReaderFormat(const FormatSettings& settings) : _display(_catalog, QENIsTerminal(stdout)) {
        _catalog.settle();
        if (!settings.lang.empty()) (void)_catalog.change_language(settings.lang.c_str()); // was tried before
    }

    void put(const FoundRecord& record, LineBuffer& out) override {
        LdfRecordView view;
        ldf_view_record(record.bytes, view);
        const ldf_msg_header_t& h = view.header;
        if (!MessageBuilder::is_logical_sev(h.sev)) return; // the reader shows no such record
        _display.show_next_line({h.sev, h.obj_type, h.timestamp, h.msgcat_id}, {view.argv(), view.argc()},
                                out);
    }

private:
    LogCatalog _catalog;
    RecordDisplay _display;
};

} // namespace

std::unique_ptr<RecordFormat> make_reader_format(const FormatSettings& settings) {
    return std::make_unique<ReaderFormat>(settings);
}
