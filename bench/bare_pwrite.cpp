// The floor under LdfWriter::write: the same two pwrite calls of the same sizes, and nothing else.
// Usage: bare_pwrite FILE COUNT
#include "primitives/ldf/ldf_format.h"

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    constexpr size_t RECORD_SIZE = 68;
    const int fd = open(argv[1], O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    const int count = std::atoi(argv[2]);
    if (fd < 0) return 1;
    char record[RECORD_SIZE] = {}, header[LDF_HEADER_SIZE] = {};
    off_t end = LDF_HEADER_SIZE;
    for (int i = 0; i < count; ++i) {
        if (pwrite(fd, record, sizeof record, end) < 0 || pwrite(fd, header, sizeof header, 0) < 0) return 1;
        end += static_cast<off_t>(sizeof record);
    }
    return close(fd) != 0;
}
