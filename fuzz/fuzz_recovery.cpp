// Arbitrary bytes as a damaged file: the ranges must tile it, what is recovered must be whole, and recovering
// that again must give the same. The first byte steers, the rest is the file.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "FileCheck.h"
#include "Recovery.h"
#include "ldf_fuzz_dir.h"
#include "platform/unix/QENDescriptors.h"
#include "platform/unix/QENFileSystem.h"

namespace {

constexpr int64_t NOW = 1800000000;

void require(bool ok) {
    if (!ok) abort();
}

// The bytes of the new file; empty when there is no record.
std::vector<unsigned char> recover(std::span<const unsigned char> bytes, bool keep_repeats,
                                   RecoveryResult& result) {
    static const LdfFuzzDir dir;
    static const std::string path = dir.ldf() + "/recovered";
    const int fd = QENOpenOrCreateFile(path.c_str(), QENAccess::UPDATE);
    require(fd >= 0 && QENTruncateFile(fd, 0));
    LdfMemoryBytes input(bytes);
    RecoveredFile output(fd);
    int64_t end = 0;
    const RecoverySettings settings{NOW, "", keep_repeats};
    result = Recovery(input, settings, output, [&](const RecoveredRange& range) {
                 require(range.from == end && range.to > range.from);
                 end = range.to;
             }).run();
    require(result.error == 0 && end == static_cast<int64_t>(bytes.size()));
    std::vector<unsigned char> file;
    if (result.records > 0) {
        LdfFileBytes written(fd);
        const FileVerdict verdict = check_file(written, NOW);
        require(verdict.kind == FileVerdict::WHOLE && verdict.records == result.records &&
                verdict.tail_size == 0);
        file.resize(static_cast<size_t>(written.size()));
        require(QENReadAt(fd, file.data(), file.size(), 0));
    }
    QENCloseDescriptor(fd);
    return file;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    RecoveryResult result, again;
    const std::vector<unsigned char> file = recover({data + 1, size - 1}, (data[0] & 1) != 0, result);
    LdfMemoryBytes bytes({data + 1, size - 1});
    const FileVerdict verdict = check_file(bytes, NOW);
    if (verdict.kind == FileVerdict::WHOLE) require(result.records >= verdict.records);
    if (file.empty()) return 0;
    require(recover(file, false, again) == file);
    require(again.is_complete && again.records == result.records && again.bytes_skipped == 0);
    return 0;
}
