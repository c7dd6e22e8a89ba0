// Runs a fuzz target over files instead of generated inputs, so that every corpus is replayed by the
// ordinary test run of any compiler. Arguments: files, or folders whose files are taken in name order.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<std::filesystem::path> files_of(const std::filesystem::path& arg) {
    std::vector<std::filesystem::path> files;
    if (!std::filesystem::is_directory(arg)) return {arg};
    for (const auto& entry : std::filesystem::recursive_directory_iterator(arg))
        if (entry.is_regular_file()) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char** argv) {
    size_t runs = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& path : files_of(argv[i])) {
            std::ifstream in(path, std::ios::binary);
            if (!in) {
                std::fprintf(stderr, "cannot read %s\n", path.c_str());
                return 2;
            }
            const std::string bytes((std::istreambuf_iterator<char>(in)), {});
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
            ++runs;
        }
    }
    std::printf("%zu inputs replayed\n", runs);
    return runs == 0 ? 2 : 0;
}
