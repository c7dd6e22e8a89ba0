// Writes one record COUNT times to a new log data file: LdfWriter::write and nothing else.
// Usage: ldf_write COUNT   (TAQ_LDF names the root of the log data files)
#include "primitives/ldf/LdfWriter.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
    const char* root = std::getenv("TAQ_LDF");
    if (argc != 2 || root == nullptr) return 2;
    const int count = std::atoi(argv[1]);
    std::remove((std::string(root) + "/ldf/written_A.ldf").c_str()); // of a former run
    LdfWriter::init();
    LdfWriter writer;
    if (writer.open("written", 0) != LDF_OK) return 1;
    writer.set_maxlen(INT_MAX);
    for (int i = 0; i < count; ++i)
        writer.write(4, 1'790'000'000, 6, 200 << 16 | 1, "resource.cpp", 120, LDF_NO_SEQ, "online",
                     "web-000001", "ONLINE", "node1", nullptr, nullptr, nullptr);
    return 0;
}
