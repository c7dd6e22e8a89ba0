// Counts lost messages. Logs and their queue come before, LogTell.cpp tells after.
#include "primitives/log/LogLoss.h"

#include <algorithm>
#include <numeric>

uint64_t LossCounts::of(LossReason reason) const {
    const auto& counts = by[static_cast<size_t>(reason)];
    return std::accumulate(counts.begin(), counts.end(), uint64_t{0});
}

uint64_t LossCounts::total() const {
    uint64_t sum = 0;
    for (size_t r = 0; r < LOSS_REASONS; ++r) sum += of(static_cast<LossReason>(r));
    return sum;
}

// The count comes first: take() resets the time before it collects the counts, so no count stays behind
// without a time.
void LossLedger::note(LossReason reason, int logical_sev) {
    const auto sev = static_cast<size_t>(std::clamp<int>(logical_sev, SEV_CRIT, SEV_APP_END));
    _counts[static_cast<size_t>(reason)][sev].fetch_add(1, std::memory_order_acq_rel);
    _total.fetch_add(1, std::memory_order_relaxed);
    int64_t none = 0;
    if (_since.load(std::memory_order_acquire) == 0)
        _since.compare_exchange_strong(none, time(nullptr), std::memory_order_acq_rel);
}

LossCounts LossLedger::take() {
    LossCounts taken;
    taken.since = _since.exchange(0, std::memory_order_acq_rel);
    for (size_t r = 0; r < LOSS_REASONS; ++r)
        for (size_t s = 0; s < LossCounts::SEVERITIES; ++s)
            taken.by[r][s] = _counts[r][s].exchange(0, std::memory_order_acq_rel);
    if (taken.since == 0 && taken.total() != 0) taken.since = time(nullptr); // a loss is just being noted
    return taken;
}

void LossLedger::put_back(const LossCounts& untold) {
    for (size_t r = 0; r < LOSS_REASONS; ++r)
        for (size_t s = 0; s < LossCounts::SEVERITIES; ++s)
            _counts[r][s].fetch_add(untold.by[r][s], std::memory_order_relaxed);
    int64_t found = _since.load(std::memory_order_relaxed);
    while ((found == 0 || found > untold.since) &&
           !_since.compare_exchange_weak(found, untold.since, std::memory_order_release)) {
    }
}

void LogLoss::note(LossReason reason, int logical_sev) {
    lines.note(reason, logical_sev);
    if (logical_sev < SEV_APP_END) records.note(reason, logical_sev);
}
