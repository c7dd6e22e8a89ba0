// A hash table of numbers under one lock.
#include "primitives/values/IntHashTable.h"

#include <cstring>
#include <memory>

#include "platform/unix/QENAssert.h"
#include "primitives/values/ValueElem.h"

inline namespace taq_1 {

// Works in 32 unsigned bits, which wrap around; the right shifts carry the sign.
uint32_t iht_func(uint32_t size, int32_t key) {
    QEN_CHECK(size > 0);
    uint32_t k = static_cast<uint32_t>(key);
    const auto signed_shift = [&k](int bits) {
        return static_cast<uint32_t>(static_cast<int32_t>(k) >> bits);
    };
    k += ~(k << 15);
    k ^= signed_shift(10);
    k += k << 3;
    k ^= signed_shift(6);
    k += ~(k << 11);
    k ^= signed_shift(16);
    return k % size;
}

IntHashTable::IntHashTable(const char* namep, uint32_t size, ihf_t hashf) : _size(size), _hashf(hashf) {
    QEN_CHECK(namep != NULL);
    QEN_CHECK(size > 0);
    QEN_CHECK(hashf != NULL);
    _bucketsp = new DList[size];
    _name = ValueElem::dup_str(namep, strlen(namep));
    QENLockInit(&_bucketlock);
}

IntHashTable::~IntHashTable() {
    delete[] _bucketsp;
    delete[] _name;
    QENLockDeinit(&_bucketlock);
}

DList& IntHashTable::_bucket_of(uint32_t key) const {
    const uint32_t bucket = _hashf(_size, static_cast<int32_t>(key));
    QEN_CHECK(bucket < _size);
    return _bucketsp[bucket];
}

DLink* IntHashTable::_find(const DList& bucket, uint32_t key) {
    DLink* link = bucket.head();
    while (link != nullptr && static_cast<IntHTMemT*>(link->object())->key != key) link = link->next();
    return link;
}

// The entry is made before the lock is taken: the allocator need not run inside it.
int IntHashTable::insert(uint32_t key, void* value) {
    auto entry = std::make_unique<IntHTMemT>(IntHTMemT{key, value});
    auto link = std::make_unique<DLink>(entry.get());

    QENLockGuard guard(&_bucketlock);
    DList& bucket = _bucket_of(key);
    if (_find(bucket, key) != nullptr) return IHT_EEXISTS;
    bucket.insert(link.release());
    (void)entry.release(); // the bucket holds it from now on
    return IHT_OK;
}

int IntHashTable::inquire(uint32_t key, void** value) {
    *value = nullptr;
    QENLockGuard guard(&_bucketlock);
    const DLink* link = _find(_bucket_of(key), key);
    if (link == nullptr) return IHT_EABSENT;
    *value = static_cast<IntHTMemT*>(link->object())->value;
    return IHT_OK;
}

int IntHashTable::remove(uint32_t key) {
    QENLockGuard guard(&_bucketlock);
    DLink* link = _find(_bucket_of(key), key);
    if (link == nullptr) return IHT_EABSENT;
    delete static_cast<IntHTMemT*>(link->object());
    delete link; // leaves the bucket
    return IHT_OK;
}

} // namespace taq_1
