// Records of a built file as the filter gets them.
#pragma once

#include <gtest/gtest.h>

#include "FoundPlace.h"
#include "primitives/ldf/LdfStream.h"
#include "support/LdfBuilder.h"

class RecordsInMemory {
public:
    explicit RecordsInMemory(const LdfBuilder& file)
        : _bytes(file.bytes()),
          _memory({reinterpret_cast<const unsigned char*>(_bytes.data()), _bytes.size()}) {}

    // Numbers of the records that `find` leaves in `found`, over all runs.
    template <class Find>
    std::vector<int> found_by(const Find& find) {
        std::vector<int> numbers;
        std::vector<FoundPlace> found;
        LdfStream stream(2 * LDF_RECORD_MAX);
        EXPECT_EQ(LDF_OK, stream.open(_memory));
        for (LdfRun run; stream.next(run); found.clear()) {
            find(run, found);
            for (const FoundPlace& place : found) numbers.push_back(place.number);
        }
        EXPECT_FALSE(stream.damage());
        return numbers;
    }

    // Calls visit(bytes, number) for every record.
    template <class Visit>
    void for_each(const Visit& visit) {
        (void)found_by([&](const LdfRun& run, std::vector<FoundPlace>&) {
            size_t at = 0;
            for (int32_t i = 0; i < run.count; ++i) {
                visit(run.bytes + at, run.first + i);
                at += ldf_record_size(run.bytes + at);
            }
        });
    }

private:
    const std::string _bytes;
    LdfMemoryBytes _memory;
};
