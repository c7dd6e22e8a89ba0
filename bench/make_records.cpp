// Writes the data that bench/compare shows: one log data file with COUNT records of three arguments, and
// the same records in the journal export format, so that both sides display the same messages.
// Usage: make_records LDF_LOG_NAME COUNT EXPORT_FILE|-   (TAQ_LDF names the root of the log data files)
#include "primitives/ldf/LdfWriter.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int FIRST_SECOND = 1'790'000'000;
constexpr unsigned CATEGORY = 200, RARE_CATEGORY = 201;
constexpr unsigned RARE_MESSAGE = 2; // one record in a hundred

struct Record {
    int severity;
    int object_type;
    unsigned category, message;
    int time;
    char resource[16], state[16], system[16];
};

// About thirty records a second, as a busy service writes them; one in a hundred differs in severity,
// object type, category, message number and resource name, for the filters to find.
Record record_at(int i) {
    const bool rare = i % 100 == 57;
    Record r{rare ? 1 : 4,
             rare ? 3 : 6,
             rare ? RARE_CATEGORY : CATEGORY,
             rare ? RARE_MESSAGE : 1,
             FIRST_SECOND + i / 30,
             {},
             {},
             {}};
    if (rare)
        std::snprintf(r.resource, sizeof r.resource, "db-primary");
    else
        std::snprintf(r.resource, sizeof r.resource, "web-%06d", i % 1000000);
    std::snprintf(r.state, sizeof r.state, "%s", i % 2 ? "ONLINE" : "OFFLINE");
    std::snprintf(r.system, sizeof r.system, "node%d", i % 8);
    return r;
}

const char* english_text(const Record& r, char* text, size_t size) {
    if (r.message == RARE_MESSAGE)
        std::snprintf(text, size, "Resource %s failed to reach state %s on system %s", r.resource, r.state,
                      r.system);
    else
        std::snprintf(text, size, "Resource %s is now %s on system %s", r.resource, r.state, r.system);
    return text;
}

void export_entry(std::FILE* out, const Record& r, int i) {
    char text[256];
    std::fprintf(
        out,
        "__REALTIME_TIMESTAMP=%lld\n__MONOTONIC_TIMESTAMP=%d\n"
        "_BOOT_ID=0123456789abcdef0123456789abcdef\n_HOSTNAME=node1\nSYSLOG_IDENTIFIER=QEN\n_PID=4242\n"
        "PRIORITY=%d\nTAQ_SEV=%d\nTAQ_CATEGORY=%u\nTAQ_MSGID=%u\nTAQ_OTYPE=%d\nTAQ_OBJECT=%s\nMESSAGE=%s\n\n",
        r.time * 1'000'000LL + i % 30 * 1000, i + 1, r.severity + 2, r.severity, r.category, r.message,
        r.object_type, r.resource, english_text(r, text, sizeof text));
}

int fail(const char* what, const char* name) {
    std::fprintf(stderr, "make_records: %s %s\n", what, name);
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) return fail("usage: make_records LOG_NAME COUNT EXPORT_FILE|-,", "three arguments");
    const int count = std::atoi(argv[2]);
    std::FILE* out = std::strcmp(argv[3], "-") == 0 ? nullptr : std::fopen(argv[3], "w");

    LdfWriter::init(nullptr);
    LdfWriter writer;
    if (writer.open(argv[1], 0) != 0) return fail("cannot open the log data file of", argv[1]);
    writer.set_maxlen(INT_MAX);
    for (int i = 0; i < count; ++i) {
        const Record r = record_at(i);
        writer.write(static_cast<char>(r.severity), r.time, static_cast<char>(r.object_type),
                     r.category << 16 | r.message, "res.cpp", 120, 0xFFFFFFFFu, "online", r.resource, r.state,
                     r.system, nullptr, nullptr, nullptr);
        if (out != nullptr) export_entry(out, r, i);
    }
    if (out != nullptr && std::fclose(out) != 0) return fail("cannot write", argv[3]);
    return 0;
}
