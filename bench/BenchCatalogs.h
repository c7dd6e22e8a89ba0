// Catalogs for a benchmark: the texts of bench.msg, compiled by the build (BENCH_CATALOG_ROOT).
#pragma once

#include <cstdlib>

inline void use_bench_catalogs() {
    setenv("TAQ_MESSAGES_DIR", BENCH_CATALOG_ROOT, 1);
    setenv("QENI18N_LANG", "en", 1);
}
