// A service with messages of its own in two languages. orders_messages.h is made from en/orders.msg: with a
// wrong name or number of arguments this does not compile. Usage: orders NAME COUNT
#include "orders_messages.h"

#include <taq/log.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: orders NAME COUNT\n");
        return 2;
    }
    Log::init("QEN", "K-16", nullptr);
    Log log;
    const int rc = log.open(argv[1], /*fp=*/nullptr, /*flags=*/0, nullptr);
    if (rc != ULOG_OK) {
        std::fprintf(stderr, "orders: %s\n", ulog_result_text(rc));
        return rc;
    }
    QEN_REPORT(&log, SEV_NOTE, 0, orders::started);
    for (int number = 1; number <= std::atoi(argv[2]); ++number) {
        QEN_REPORT(&log, SEV_INFO, 0, orders::accepted, number, number % 2 == 1 ? "Ada" : "Grace");
        if (number % 3 == 0) QEN_REPORT(&log, SEV_WARN, 0, orders::waiting, number, number / 3);
    }
}
