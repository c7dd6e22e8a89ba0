// The floor under a message that is written at once: the three system calls of burst_taq direct, with the
// same sizes, and nothing else. Usage: burst_bare THREADS LENGTH ROUNDS   (burst.h; TAQ_LOG names the folder)
#include "burst.h"

#include "primitives/ldf/ldf_format.h"

#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace {

class BareWrites : public BurstLogger {
public:
    explicit BareWrites(const std::string& folder)
        : _text(open((folder + "/bare.log").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC,
                     0644)),
          _records(open((folder + "/bare.ldf").c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)) {}
    ~BareWrites() override {
        close(_text);
        close(_records);
    }

    void start() override {}
    void log() override {
        if (pwrite(_records, _bytes, RECORD_SIZE, _end) < 0 ||
            pwrite(_records, _bytes, LDF_HEADER_SIZE, 0) < 0 || write(_text, _bytes, LINE_SIZE) < 0)
            std::abort();
        _end += RECORD_SIZE;
        if (_end > FILE_SIZE) _end = LDF_HEADER_SIZE;
    }
    void finish() override {}

private:
    static constexpr off_t LINE_SIZE = 90, RECORD_SIZE = 66; // of the message of burst_taq
    static constexpr off_t FILE_SIZE = 4 << 20;              // where the library begins a new file

    const int _text, _records;
    off_t _end = LDF_HEADER_SIZE;
    char _bytes[LDF_HEADER_SIZE] = {}; // the longest of the three
};

} // namespace

int main(int argc, char** argv) {
    const char* folder = std::getenv("TAQ_LOG");
    BurstOptions options;
    if (folder == nullptr || !read_burst_options(argc, argv, &options)) {
        std::fprintf(stderr, "usage: TAQ_LOG=FOLDER burst_bare THREADS LENGTH ROUNDS\n");
        return 2;
    }
    BareWrites logger(folder);
    Bursts(logger, options).run();
}
