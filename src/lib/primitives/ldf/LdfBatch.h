// Encoded records that wait to be written together. LdfWriter fills it and writes it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "primitives/ldf/ldf_format.h"
#include "primitives/memory/Pooled.h"

inline namespace taq_1 {

// What the file's header must know of a record.
struct LdfPart {
    uint32_t size; // bytes
    int8_t sev;
    int8_t obj_tag;
};

// Records back to back, in the order in which they were added.
class LdfBatch : public Pooled<MEM_MISC> {
public:
    static constexpr size_t RECORDS = 64;     // at most
    static constexpr size_t ROOM = 16 * 1024; // bytes

    bool has_room() const { return _count < RECORDS && ROOM - _size >= LDF_RECORD_MAX; } // for any record
    unsigned char* room() { return _bytes + _size; } // while has_room(): LDF_RECORD_MAX bytes
    void add(const LdfPart& record) {                // its bytes are in the room
        _parts[_count++] = record;
        _size += record.size;
    }
    void clear() { _count = _size = 0; }

    size_t size() const { return _size; } // bytes
    const unsigned char* bytes() const { return _bytes; }
    std::span<const LdfPart> parts() const { return {_parts, _count}; }

private:
    size_t _count = 0;
    size_t _size = 0;
    LdfPart _parts[RECORDS];
    unsigned char _bytes[ROOM];
};

} // namespace taq_1
