// Arbitrary bytes as a log data file that arrives in pieces: the runs must tile it from the header on, and a
// stream that ends early must name a damage. The first two bytes steer, the rest is the file.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "primitives/ldf/LdfStream.h"

namespace {

constexpr size_t STEERING = 2;

void require(bool ok) {
    if (!ok) abort();
}

class Pieces : public LdfBytes {
public:
    Pieces(const uint8_t* data, size_t size, size_t step, bool is_pipe)
        : _data(data), _size(size), _step(step), _is_pipe(is_pipe) {}
    int64_t read(void* buffer, size_t n, int64_t offset) override {
        require(offset >= 0);
        const size_t from = std::min(static_cast<size_t>(offset), _size);
        n = std::min({n, _step, _size - from});
        if (n > 0) std::memcpy(buffer, _data + from, n);
        return static_cast<int64_t>(n);
    }
    int64_t size() override { return _is_pipe ? -1 : static_cast<int64_t>(_size); }

private:
    const uint8_t* _data;
    const size_t _size, _step;
    const bool _is_pipe;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < STEERING) return 0;
    const size_t file_size = size - STEERING;
    const uint8_t* const file = data + STEERING;
    Pieces bytes(file, file_size, size_t{1} + data[0] * 37u, (data[1] & 1) != 0);
    LdfStream stream(2 * LDF_RECORD_MAX);
    const int rc = stream.open(bytes);
    require(rc == LDF_OK || rc == LDF_EFAIL || rc == LDF_EVERSION);

    int64_t offset = LDF_HEADER_SIZE;
    int32_t records = 0;
    for (LdfRun run; rc == LDF_OK && stream.next(run); offset += static_cast<int64_t>(run.size)) {
        require(run.offset == offset && run.first == records && run.count > 0);
        require(std::memcmp(run.bytes, file + offset, run.size) == 0);
        size_t at = 0;
        for (int32_t i = 0; i < run.count; ++i) {
            LdfRecordView view;
            ldf_view_record(run.bytes + at, view);
            view.for_each_arg([](std::string_view arg) { require(!arg.empty()); });
            at += ldf_record_size(run.bytes + at);
        }
        require(at == run.size);
        records += run.count;
    }
    require(stream.damage() || records == stream.header().total_msgs);
    require(stream.skipped() <= static_cast<int64_t>(file_size));
    require(stream.damage().text().size() < 159);
    return 0;
}
