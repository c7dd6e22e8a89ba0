// Merges logs by time: a binary heap over their next records.
#include "MergedRecords.h"

#include <utility>

MergedRecords::MergedRecords(std::vector<std::unique_ptr<LogSource>> sources) : _sources(std::move(sources)) {
    for (size_t i = 0; i < _sources.size(); ++i)
        if (_sources[i]->next()) _heap.push_back({_sources[i]->key(), static_cast<uint32_t>(i)});
    for (size_t i = _heap.size() / 2; i-- > 0;) _sink(i);
}

bool MergedRecords::next(FoundRecord& record) {
    if (_has_begun && !_heap.empty()) {
        Entry& first = _heap.front();
        if (LogSource& source = *_sources[first.source]; source.next()) {
            first.key = source.key();
        } else {
            first = _heap.back();
            _heap.pop_back();
        }
        if (_heap.size() > 1) _sink(0);
    }
    _has_begun = true;
    if (_heap.empty()) return false;
    record = _sources[_heap.front().source]->record();
    return true;
}

// Moves an entry down to its place.
void MergedRecords::_sink(size_t at) {
    for (;;) {
        size_t child = 2 * at + 1;
        if (child >= _heap.size()) return;
        if (child + 1 < _heap.size() && _heap[child + 1].comes_before(_heap[child])) ++child;
        if (!_heap[child].comes_before(_heap[at])) return;
        std::swap(_heap[at], _heap[child]);
        at = child;
    }
}
