// Takes a record apart for the forms of export.
#include "ExportedRecord.h"

#include <charconv>
#include <iterator>

#include "primitives/ldf/QENObjTags.h"

namespace {

std::string_view or_null(std::string_view text) {
    return text.empty() ? std::string_view() : text;
}

// The name of an object type that a record can have.
std::string_view object_type_name(uint8_t code) {
    const char* const name = code <= OBJTAG_RES ? QENGetObjTagStr(static_cast<obj_tag_t>(code)) : nullptr;
    return name != nullptr ? std::string_view(name) : std::string_view();
}

size_t size_of_texts(const ExportedRecord& f) {
    return f.time.size() + f.severity.size() + f.id.size() + f.object_type.size() + f.generation.size() +
           2 * size_t{f.view.header.data_size} + f.host.size() + f.log.size() + f.text.size() +
           f.lang.size() + f.uid.size();
}

} // namespace

const ExportedRecord& Exporter::fields_of(const FoundRecord& record) {
    ExportedRecord& f = _fields;
    ldf_view_record(record.bytes, f.view);
    f.odd_record = oddities_of_record(reinterpret_cast<const char*>(record.bytes) + LDF_RECORD_HEADER_SIZE,
                                      f.view.header.data_size);
    const ldf_msg_header_t& h = f.view.header;
    f.time = _times.at(h.timestamp);
    f.epoch = h.timestamp;
    f.sev = static_cast<uint8_t>(h.sev);
    f.severity = or_null(MessageTexts::severity_name(f.sev));
    const KnownMessage& message = _texts.of(h.msgcat_id);
    f.id = message.id;
    f.category = i18n_category_of(h.msgcat_id);
    f.msgid = i18n_number_of(h.msgcat_id);
    f.object_type = object_type_name(static_cast<uint8_t>(h.obj_type));
    f.object = h.obj_type != OBJTAG_QEN && f.view.argc() > 0 ? f.view.argv()[0] : std::string_view();
    f.host = record.file->host;
    f.log = record.file->log;
    _generation = record.file->generation;
    f.generation = _generation != '\0' ? std::string_view(&_generation, 1) : std::string_view();
    f.record = record.number;
    f.offset = record.offset;
    f.file = f.view.filename();
    f.function = f.view.function();
    f.line = h.line_no;
    f.seq = h.seq != LDF_NO_SEQ ? std::optional<int64_t>(h.seq) : std::nullopt;
    f.text = {};
    f.odd_text = MessageTexts::oddities_of_text(message, f.odd_record);
    if (message.kind != KnownMessage::UNKNOWN)
        f.text = {_text, _texts.compose(message, {f.view.argv(), f.view.argc()}, _text)};
    f.lang = _texts.lang();
    if (_serial == 0 || _serial != record.file->serial) {
        _uid = record.file->uid_prefix;
        _odd_place = record.file->oddities | oddities_of(f.lang);
        _serial = record.file->serial;
    }
    f.odd_place = _odd_place;
    _uid.resize(record.file->uid_prefix.size());
    char digits[24];
    _uid.append(digits, std::to_chars(digits, std::end(digits), record.offset).ptr);
    f.uid = _uid;
    f.texts_size = size_of_texts(f);
    return f;
}

std::string_view Exporter::text_or_arguments() {
    ExportedRecord& f = _fields;
    if (f.text.data() != nullptr) return f.text;
    const KnownMessage& message = _texts.of(f.view.header.msgcat_id);
    return {_text, _texts.compose(message, {f.view.argv(), f.view.argc()}, _text)};
}
