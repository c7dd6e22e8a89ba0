// Arbitrary bytes as a log data file: open, tail, jumps and filtered walks must end in listed results. And as
// the text of a record, which must fall into the pieces that one look at each byte finds.
// The first three bytes steer, the rest is the file.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ldf_fuzz_dir.h"
#include "primitives/ldf/LdfReader.h"
#include "primitives/values/HashTable.h"
#include "primitives/values/VList.h"

namespace {

constexpr size_t STEERING = 3;

void require(bool ok) {
    if (!ok) abort();
}

void require_listed(int rc) {
    require(rc == LDF_OK || rc == LDF_EFAIL || rc == LDF_EVERSION || rc == LDF_EEND);
}

// Walks to the end; every piece must be readable and clean.
void walk(LdfReader& reader, const LdfFilter& filter, size_t size) {
    LdfRecordView view;
    size_t records = 0;
    int rc;
    while ((rc = reader.next_record(filter, view)) == LDF_OK) {
        require(++records <= size / LDF_RECORD_HEADER_SIZE);
        require(view.argc() <= LDF_MAX_ARGS && view.header.data_size <= LDF_TEXT_MAX);
        auto clean = [](std::string_view piece) {
            require(!piece.empty() && piece.find('\xFF') == piece.npos && piece.find('\0') == piece.npos);
        };
        if (view.filename().data()) clean(view.filename());
        if (view.function().data()) clean(view.function());
        view.for_each_arg(clean);
    }
    require_listed(rc);
}

void require_pieces(const uint8_t* text, size_t size) {
    std::vector<std::string> expected(1);
    for (size_t i = 0; i < size && text[i] != '\0'; ++i) {
        if (text[i] != LDF_SEPARATOR)
            expected.back() += static_cast<char>(text[i]);
        else if (!expected.back().empty())
            expected.emplace_back();
    }
    if (expected.back().empty()) expected.pop_back();

    std::vector<char> bytes(size + LDF_SPLIT_SLACK,
                            '\xFF'); // of exactly this size, for the address sanitizer
    std::memcpy(bytes.data(), text, size);
    LdfRecordView view;
    ldf_split_text(bytes.data(), size, view);
    std::vector<std::string> found(view.pieces, view.pieces + std::min<size_t>(view.piece_count, 2));
    view.for_each_arg([&](std::string_view arg) { found.emplace_back(arg); });
    require(found == expected);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < STEERING) return 0;
    require_pieces(data + STEERING, std::min(size - STEERING, LDF_TEXT_MAX));
    static const LdfFuzzDir dir;
    dir.put("f.ldf", data + STEERING, size - STEERING);
    LdfReader::init();
    LdfReader reader;
    const int opened = reader.open(dir.ldf().c_str(), "f");
    require_listed(opened);

    static HashTable* const names = [] {
        auto* table = new HashTable;
        table->init(32, ht_func);
        table->append("res1");
        table->append("a");
        return table;
    }();
    const LdfFilter filter = {.catid = data[0] & 1 ? 25 : LDF_ANY_ID,
                              .msgid = data[0] & 2 ? 7 : LDF_ANY_ID,
                              .sev = data[0] & 4 ? data[1] & 7 : LDF_ANY_CODE,
                              .otype = data[0] & 8 ? data[1] >> 5 : LDF_ANY_CODE,
                              .onames = data[0] & 16 ? names : nullptr,
                              .flags =
                                  (data[0] & 32 ? LDF_MATCH_ANY : 0) | (data[0] & 64 ? LDF_MATCH_PIECES : 0)};
    walk(reader, filter, size);
    require_listed(reader.tail(data[2]));
    walk(reader, {}, size);
    require_listed(reader.jumpto(data[1]));

    auto dbg = std::make_unique<ldf_dbg_info_t>();
    ldf_msg_header_t header;
    VList* args = nullptr;
    if (reader.get_next(-1, -1, '\xFF', '\xFF', nullptr, &header, dbg.get(), &args, 0) == LDF_OK) delete args;
    return 0;
}
