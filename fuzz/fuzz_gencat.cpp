// Any source: the compiler reports or accepts it, and what it accepts survives the way through a catalog
// and a listing. Any bytes taken as a catalog: refused, or listed as a source that compiles.
#include "cmd/taqgencat/CatalogCodec.h"
#include "cmd/taqgencat/CatalogLister.h"
#include "cmd/taqgencat/Checker.h"
#include "cmd/taqgencat/MapFile.h"
#include "cmd/taqgencat/SourceParser.h"
#include "i18n/unix/i18n_conv.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

using namespace gencat;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

std::string encode(const MessageSet& set) {
    std::string bytes;
    require(encode_catalog(set, bytes));
    return bytes;
}

// Other tools' catalogs may hold texts that are not UTF-8, which are listed but not compiled.
void list_and_compile(const MessageSet& set, const std::string& catalog) {
    constexpr uint32_t CATEGORY = 5;
    Messages again;
    Diagnostics faults;
    const bool is_utf8 = std::all_of(set.begin(), set.end(),
                                     [](const auto& entry) { return i18n_is_utf8(entry.second.text); });
    require(parse_source("list", list_catalog(set, CATEGORY), DefaultSet::None, again, faults) == is_utf8);
    require(!is_utf8 || encode(again[CATEGORY]) == catalog);
}

void source_round_trip(std::string_view source) {
    Messages messages;
    Diagnostics faults;
    require(parse_source("fuzz", source, DefaultSet::First, messages, faults) == !faults.has_faults());
    check_texts(messages, faults);
    drop_empty_sets(messages);
    std::string map;
    (void)write_map("M", "en", map_entries("M", messages), map);
    for (const auto& [category, set] : messages) {
        const std::string catalog = encode(set);
        MessageSet decoded;
        require(decode_catalog(catalog, decoded) == nullptr);
        list_and_compile(decoded, catalog);
    }
}

void catalog_round_trip(std::string_view bytes) {
    MessageSet set;
    if (decode_catalog(bytes, set) == nullptr) list_and_compile(set, encode(set));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    source_round_trip(input);
    catalog_round_trip(input);
    return 0;
}
