// Hash table from 32-bit numbers to untyped pointers, safe for several threads.
#pragma once

#include <cstdint>

#include "../../platform/unix/QENThread.h"
#include "DList.h"

inline namespace taq_1 {

// Maps (bucket count > 0, key) to a bucket index below the count.
using ihf_t = uint32_t (*)(uint32_t size, int32_t key);

// The usual hash function, a mix of all bits of the key. A size of 0 is fatal.
uint32_t iht_func(uint32_t size, int32_t key);

enum int_hash_result {
    IHT_OK = 0,
    IHT_EABSENT = 2, // no such key
    IHT_EEXISTS = 3, // the key is present; nothing changed
};

// One entry, linked into its bucket by a DLink whose object it is.
struct int_ht_mem_s {
    uint32_t key;
    void* value; // refers only
};
using IntHTMemT = int_ht_mem_s;

// One lock guards the whole table. The table never owns the values, and it does not free entries that are
// left: remove them before you delete it. The number of buckets is fixed. A size of 0, null arguments of the
// constructor and a hash function that leaves the table are fatal.
class IntHashTable : public Pooled<MEM_INTHASH> {
public:
    IntHashTable() : IntHashTable("Int_hashtable", DEFAULT_SIZE, iht_func) {}
    IntHashTable(const char* name, uint32_t size, ihf_t hashf);
    ~IntHashTable();
    IntHashTable(const IntHashTable&) = delete;
    IntHashTable& operator=(const IntHashTable&) = delete;

    int insert(uint32_t key, void* value);   // IHT_OK or IHT_EEXISTS
    int inquire(uint32_t key, void** value); // IHT_OK, or IHT_EABSENT with *value null
    int remove(uint32_t key);                // IHT_OK or IHT_EABSENT

    uint32_t size() const { return _size; }
    QENLock* lock() { return &_bucketlock; } // to be held around a fork

private:
    static constexpr uint32_t DEFAULT_SIZE = 1023;

    DList& _bucket_of(uint32_t key) const;
    static DLink* _find(const DList& bucket, uint32_t key);

    uint32_t _size;
    ihf_t _hashf;
    DList* _bucketsp; // owned array of _size buckets
    char* _name;      // owned
    QENLock _bucketlock;
};

} // namespace taq_1
