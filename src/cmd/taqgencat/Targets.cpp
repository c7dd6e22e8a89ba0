// Checks the targets before the first byte is written: a mistyped command line must not overwrite a source.
#include "Targets.h"

#include "i18n/common/bmc_format.h"

#include <filesystem>
#include <fstream>
#include <string_view>

namespace gencat {

namespace fs = std::filesystem;

namespace {

bool is_empty_or_former(const std::string& path, Product product) {
    char bytes[BMC_HEADER_SIZE];
    std::ifstream file(path, std::ios::binary);
    if (!file) return false;
    file.read(bytes, sizeof bytes);
    if (file.gcount() == 0 && file.eof()) return true;
    const std::string_view start(bytes, static_cast<size_t>(file.gcount()));
    if (product == Product::HEADER) return start.starts_with(HEADER_START);
    bmc_header_t header;
    return file.gcount() == sizeof bytes &&
           bmc_decode_header(reinterpret_cast<const uint8_t*>(bytes), &header);
}

} // namespace

bool may_replace(const std::string& path, const std::vector<std::string>& inputs, std::string& error) {
    std::error_code failure;
    const fs::file_status status = fs::status(path, failure);
    if (!fs::exists(status)) return true; // other errors show when the file is made
    if (fs::is_directory(status)) return error = path + ": Is a directory", false;
    for (const std::string& input : inputs)
        if (fs::equivalent(path, input, failure)) return error = path + ": is read as a source", false;
    return true;
}

bool find_target(const std::string& path, Product product, const std::vector<std::string>& inputs,
                 Target& target, std::string& error) {
    target = {path, false};
    if (!may_replace(path, inputs, error)) return false;
    std::error_code failure;
    const fs::file_status status = fs::status(path, failure);
    if (!fs::exists(status)) return true;
    target.takes_stream = !fs::is_regular_file(status);
    if (target.takes_stream) return true;
    if (!is_empty_or_former(path, product))
        return error = path + (product == Product::CATALOG ? ": exists and is not a message catalog"
                                                           : ": exists and is not a header of taqgencat"),
               false;
    target.path = fs::canonical(path, failure).string();
    if (failure) return error = path + ": " + failure.message(), false;
    return true;
}

} // namespace gencat
