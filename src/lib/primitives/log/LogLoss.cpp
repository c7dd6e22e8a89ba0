// Counts lost messages. Logs and their queue come before, LogTell.cpp tells after.
#include "primitives/log/LogLoss.h"

#include <algorithm>

inline namespace taq_1 {

uint64_t LossCounts::total() const {
    uint64_t sum = 0;
    for (const OfReason& counts : by)
        for (const uint64_t count : counts) sum += count;
    return sum;
}

// The count comes first. Either this thread finds no time and sets it, or told() finds the count behind the
// time that it reset: so no count stays without a time.
void LossLedger::note(LossReason reason, int logical_sev) {
    const auto sev = static_cast<size_t>(std::clamp<int>(logical_sev, SEV_CRIT, SEV_APP_END));
    _counts[static_cast<size_t>(reason)][sev].fetch_add(1);
    _total.fetch_add(1, std::memory_order_relaxed);
    int64_t none = 0;
    if (_since.load() == 0) _since.compare_exchange_strong(none, time(nullptr));
}

LossCounts LossLedger::due() const {
    LossCounts counts;
    counts.since = _since.load();
    for (size_t r = 0; r < LOSS_REASONS; ++r)
        std::copy(_counts[r].begin(), _counts[r].end(), counts.by[r].begin());
    return counts;
}

void LossLedger::told(const LossCounts& counts, bool is_all) {
    for (size_t r = 0; r < LOSS_REASONS; ++r)
        for (size_t s = 0; s < LossCounts::SEVERITIES; ++s) _counts[r][s].fetch_sub(counts.by[r][s]);
    if (!is_all) return;
    _since.store(0);
    int64_t none = 0;
    if (due().total() != 0) _since.compare_exchange_strong(none, time(nullptr));
}

void LogLoss::note(LossReason reason, int logical_sev) {
    lines.note(reason, logical_sev);
    if (logical_sev < SEV_APP_END) records.note(reason, logical_sev);
}

bool LogLoss::wants_telling() const {
    if (!is_due()) return false;
    if (time(nullptr) != _told_at) return true;
    const auto has_other = [](const LossCounts& counts) {
        uint64_t queued = 0;
        for (const uint64_t count : counts.of(LossReason::QUEUE)) queued += count;
        return counts.total() != queued;
    };
    return has_other(lines.due()) || has_other(records.due());
}

void LogLoss::forget() {
    for (LossLedger* ledger : {&lines, &records})
        if (ledger->is_due()) ledger->told(ledger->due(), /*is_all=*/true);
    _is_announced = false;
}

void LogLoss::listen(LossListener listener, void* context) {
    _listener = listener;
    _context = context;
}

void LogLoss::announce() {
    if (_is_announced) return;
    _is_announced = true;
    if (_listener != nullptr) _listener({/*is_told=*/false, lines.due(), records.due()}, _context);
}

void LogLoss::announce_told(const LossNews& n) {
    _is_announced = is_due();
    _told_at = time(nullptr);
    if (_listener != nullptr) _listener(n, _context);
}

} // namespace taq_1
