// The states that a power cut leaves, as recover takes them.
#include "Recovered.h"

#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

#include "FileCheck.h"
#include "Recovery.h"
#include "platform/unix/QENDescriptors.h"
#include "support/Bytes.h"

std::vector<std::string> recovered_records(const std::string& bytes, const std::string& path) {
    const int fd = QENCreateFile(path.c_str(), QENAccess::UPDATE);
    LdfMemoryBytes input({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
    RecoveredFile output(fd);
    int64_t end = 0;
    bool tiles = true;
    const RecoverySettings settings{time(nullptr), "", /*keep_repeats=*/false};
    const RecoveryResult result = Recovery(input, settings, output, [&](const RecoveredRange& range) {
                                      tiles &= range.from == end && range.to > range.from;
                                      end = range.to;
                                  }).run();
    EXPECT_EQ(0, result.error);
    EXPECT_TRUE(tiles && end == static_cast<int64_t>(bytes.size())) << "the ranges tile the file";
    std::vector<std::string> records;
    if (result.records > 0) {
        LdfFileBytes written(fd);
        const FileVerdict verdict = check_file(written, settings.now);
        EXPECT_EQ(FileVerdict::WHOLE, verdict.kind) << verdict.reason;
        EXPECT_EQ(result.records, verdict.records);
        std::ifstream in(path, std::ios::binary);
        const std::string file{std::istreambuf_iterator<char>(in), {}};
        for (size_t at = LDF_HEADER_SIZE; at < file.size(); at += records.back().size())
            records.push_back(file.substr(at, LDF_RECORD_HEADER_SIZE + from_be(file.substr(at, 4))));
    }
    QENCloseDescriptor(fd);
    std::filesystem::remove(path);
    return records;
}
