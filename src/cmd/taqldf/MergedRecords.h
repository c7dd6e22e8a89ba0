// All records of several logs in the order of time: a binary heap over their next records.
#pragma once

#include <utility>
#include <vector>

#include "SourceFile.h"

// Records of one log keep their order, whatever their times. Equal times go by the order of the logs. A
// source has next(), record() and key(), as LogSource has.
template <class Source>
class MergedRecords {
public:
    // The sources must outlive the object.
    explicit MergedRecords(std::vector<Source*> sources) : _sources(std::move(sources)) {
        for (size_t i = 0; i < _sources.size(); ++i)
            if (_sources[i]->next()) _heap.push_back({_sources[i]->key(), static_cast<uint32_t>(i)});
        for (size_t i = _heap.size() / 2; i-- > 0;) _sink(i);
    }

    // The next record, valid until the next call. False: there are no more.
    bool next(FoundRecord& record) {
        if (_has_begun && !_heap.empty()) {
            Entry& first = _heap.front();
            if (Source& source = *_sources[first.source]; source.next()) {
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

private:
    // A heap: no entry comes before its parent. The first is the one to give next.
    struct Entry {
        int32_t key;
        uint32_t source; // index of _sources
        bool comes_before(const Entry& other) const {
            return key != other.key ? key < other.key : source < other.source;
        }
    };

    // Moves an entry down to its place.
    void _sink(size_t at) {
        for (;;) {
            size_t child = 2 * at + 1;
            if (child >= _heap.size()) return;
            if (child + 1 < _heap.size() && _heap[child + 1].comes_before(_heap[child])) ++child;
            if (!_heap[child].comes_before(_heap[at])) return;
            std::swap(_heap[at], _heap[child]);
            at = child;
        }
    }

    std::vector<Source*> _sources;
    std::vector<Entry> _heap;
    bool _has_begun = false; // the first entry's record was given
};
