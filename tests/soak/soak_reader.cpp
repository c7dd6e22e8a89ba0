// Opens the current files of a service's log again and again, beside a writer, for scripts/soak. Prints how
// often there was none, and how often the log data file was not what a reader may expect.
// Usage: soak_reader NAME COUNT
#include "primitives/ldf/LdfReader.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

// The service writes messages of severity INFO about object type QEN only.
bool adds_up(const ldf_header_t& h) {
    return h.total_info == h.total_msgs && h.total_qen_msg == h.total_msgs && h.offset_end >= LDF_HEADER_SIZE;
}

// Whether the newest record is there.
bool ends_well(LdfReader& reader) {
    LdfRecordView view;
    if (reader.get_header()->total_msgs == 0) return true;
    return reader.tail(1) == LDF_OK && reader.next_record({}, view) == LDF_OK && view.header.sev == 4;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const std::string text = std::string(std::getenv("TAQ_LOG")) + "/log/" + argv[1] + "_A.log";
    const std::string name = std::string(argv[1]) + "_A";
    const std::string records = std::string(std::getenv("TAQ_LDF")) + "/ldf/" + name + ".ldf";
    long missing_texts = 0, missing = 0, wrong = 0;
    LdfReader::init();
    for (long left = std::atol(argv[2]); left > 0; --left) {
        missing_texts += access(text.c_str(), F_OK) != 0;
        missing += access(records.c_str(), F_OK) != 0;
        LdfReader reader;
        const int rc = reader.open(nullptr, name.c_str());
        wrong += rc != LDF_OK || !adds_up(*reader.get_header()) || !ends_well(reader);
    }
    std::printf("%ld %ld %ld\n", missing_texts, missing, wrong);
    return 0;
}
