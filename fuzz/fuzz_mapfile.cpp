// Arbitrary bytes as a map file: entries inside their limits, an end, and a table only of what is complete.
#include <cstdio>
#include <cstdlib>

#include "i18n/common/bmcmap.h"

namespace {

void require(bool ok) {
    if (!ok) abort();
}

std::FILE* open(const uint8_t* data, size_t size) {
    return fmemopen(const_cast<uint8_t*>(data), size, "rb"); // opened for reading only
}

void read_entries(std::FILE* fp, size_t size) {
    i18n_string name, value;
    size_t entries = 0;
    int rc;
    while ((rc = get_next_entry(fp, &name, &value)) == I18N_SOK) {
        require(++entries <= size); // every entry takes a byte at least
        require(name.size() <= BMCMAP_NAME_MAX && value.size() <= BMCMAP_VALUE_MAX);
        require(name.find_first_of(":=") == std::string::npos);
        require((name + value).find_first_of(std::string_view("\0\n", 2)) == std::string::npos);
    }
    require(rc == I18N_EEOF || rc == I18N_EBMC);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0; // fmemopen takes no empty buffer
    std::FILE* fp = open(data, size);
    read_entries(fp, size);
    std::fclose(fp);

    fp = open(data, size);
    bmc_table table;
    const int rc = bmcmap_read(fp, "/d/", "en", "KORE", &table);
    std::fclose(fp);
    require(rc == I18N_SOK || rc == I18N_EBMC || rc == I18N_ELANGMISMATCH);
    require(table.empty() == (rc != I18N_SOK));
    for (const bmc_t& bmc : table) {
        require(!bmc._versionp.empty() && bmc._mru_ndx == -1 && !bmc._is_initialized);
        require(bmc._pathp.starts_with("/d/") && bmc._pathp.ends_with(".bmc"));
        require(bmc._pathp.find('/', 3) == std::string::npos); // stays in its directory
    }
    return 0;
}
