// Names files and records, the same in every export and after each rotation.
#include "SourceFile.h"

#include <cstdio>
#include <cstring>

#include "VisibleText.h"

uint64_t hash_of_record(const unsigned char* record) {
    uint64_t hash = 0xcbf29ce484222325;
    for (size_t i = 0, size = ldf_record_size(record); i < size; ++i)
        hash = (hash ^ record[i]) * 0x100000001b3;
    return hash;
}

void SourceFile::describe(const std::string& host_label, const std::string& log_name,
                          const ldf_header_t& header, const unsigned char* first_record) {
    static uint64_t described = 0;
    serial = ++described;
    const uint64_t hash = hash_of_record(first_record);
    char identity[32];
    (void)std::snprintf(identity, sizeof identity, "/%08x-%08x/",
                        static_cast<unsigned>(header.datetime_create),
                        static_cast<unsigned>(hash ^ hash >> 32));
    host = !host_label.empty() ? host_label
                               : std::string(header.system, strnlen(header.system, sizeof header.system));
    log = log_name;
    place = host + "/" + log;
    uid_prefix = place + identity;
    oddities = oddities_of(uid_prefix);
}
