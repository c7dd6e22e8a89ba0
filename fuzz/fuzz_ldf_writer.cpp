// Arbitrary bytes as the current file of a log: a writer must continue it or set it aside, and what it then
// writes, rotating on the way, must be readable. The first byte steers, the rest is the file.
#include <cstdlib>
#include <string>

#include "ldf_fuzz_dir.h"
#include "primitives/ldf/LdfReader.h"
#include "primitives/ldf/LdfWriter.h"

namespace {

void require(bool ok) {
    if (!ok) abort();
}

constexpr int RECORDS = 40; // of about 4 KiB: more than two files of the smallest limit
constexpr unsigned MARK = 0x5EED0000;

// Reads the current file to its end. Returns the number of records and, through `last`, the newest one's seq.
int read_current(const LdfFuzzDir& dir, unsigned& last) {
    LdfReader reader;
    require(reader.open(dir.ldf().c_str(), "log_A") == LDF_OK);
    LdfRecordView view;
    int records = 0;
    for (; reader.next_record({}, view) == LDF_OK; ++records) last = view.header.seq;
    require(records <= reader.get_header()->total_msgs);
    return records;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    static const LdfFuzzDir dir;
    dir.clear();
    dir.put("log_A.ldf", data + 1, size - 1);
    LdfReader::init();
    LdfWriter::init();
    LdfWriter writer;
    require(writer.open("log", data[0]) == LDF_OK);
    const std::string arg(data[0] & 1 ? 4000 : 20, 'a');
    const int records = data[0] & 2 ? RECORDS : 2;
    if (data[0] & 4) writer.set_maxlen(LDF_MIN_MAXLEN);
    for (int i = 0; i < records; ++i)
        writer.write(static_cast<char>(data[0] >> 4), i, static_cast<char>(i % 7), 25u << 16 | 7, "file", i,
                     MARK + static_cast<unsigned>(i), "function", arg.c_str(), "b", nullptr, nullptr, nullptr,
                     nullptr);
    unsigned last = 0;
    const int read = read_current(dir, last);
    const bool rotated = (data[0] & 7) == 7; // then the current file is all ours
    require(!rotated || (read > 0 && last == MARK + RECORDS - 1));
    return 0;
}
