// The hash functions, the registry of named tables, and the tables themselves.
#include "primitives/values/HashTable.h"

#include <cstring>
#include <memory>
#include <string>

#include "platform/unix/QENAssert.h"
#include "primitives/values/VList.h"

inline namespace taq_1 {

HashTable* _Hash_hashtablep = nullptr;

namespace {

constexpr char REGISTRY_NAME[] = "Hash_hashtable";
constexpr int32_t REGISTRY_SIZE = 1023;

enum key_case { FOLD_CASE, KEEP_CASE };

// With FOLD_CASE every byte below "a" is moved up by 32, so that upper-case letters become lower-case ones.
// Bytes are signed: those from 0x80 on are below "a", too.
template <key_case CASE>
uint32_t step(uint32_t h, char c) {
    int value = static_cast<signed char>(c); // NOLINT(bugprone-signed-char-misuse)
    if (CASE == FOLD_CASE && value <= '`') value += 'a' - 'A';
    h = (h << 4) + static_cast<uint32_t>(value);
    const uint32_t high = h & 0xF0000000u;
    return (h ^ (high >> 24)) ^ high;
}

int32_t bucket_of_hash(uint32_t h, int32_t size) {
    return static_cast<int32_t>(h % static_cast<uint32_t>(size));
}

template <key_case CASE>
int32_t hash_string(int32_t size, const char* cp) {
    QEN_CHECK(size > 0);
    QEN_CHECK(cp != NULL);
    uint32_t h = 0;
    for (; *cp != '\0'; ++cp) h = step<CASE>(h, *cp);
    return bucket_of_hash(h, size);
}

template <key_case CASE>
int32_t hash_view(int32_t size, std::string_view key) {
    uint32_t h = 0;
    for (const char c : key) h = step<CASE>(h, c);
    return bucket_of_hash(h, size);
}

} // namespace

int32_t ht_func(int32_t size, const char* cp) {
    return hash_string<FOLD_CASE>(size, cp);
}

int32_t ht_func_cs(int32_t size, const char* cp) {
    return hash_string<KEEP_CASE>(size, cp);
}

// --- registry ---

void HashTable::init() {
    if (_Hash_hashtablep != nullptr) return;
    _Hash_hashtablep = new HashTable; // must be set before the registry registers itself
    _Hash_hashtablep->init(REGISTRY_NAME, REGISTRY_SIZE, ht_func);
}

void HashTable::destroy() {
    delete _Hash_hashtablep;
    _Hash_hashtablep = nullptr;
}

HashTable* HashTable_inquire(const char* name) {
    if (_Hash_hashtablep == nullptr) return nullptr;
    const NVElem* nvelemp = _Hash_hashtablep->inquire(name);
    return nvelemp != nullptr ? nvelemp->gethash() : nullptr;
}

// --- set-up and end ---

int HashTable::init(int32_t size, hf_t hashf) {
    QEN_CHECK(size > 0);
    QEN_CHECK(hashf != NULL);
    _set_up(size, hashf);
    return MSG_SOK;
}

int HashTable::init(const char* namep, int32_t size, hf_t hashf) {
    QEN_CHECK(_Hash_hashtablep != NULL);
    QEN_CHECK(namep != NULL);
    QEN_CHECK(size > 0);
    QEN_CHECK(hashf != NULL);
    // namep may be the name that _release frees.
    std::unique_ptr<char[]> name(ValueElem::dup_str(namep, strlen(namep)));
    const bool is_taken = _Hash_hashtablep->_bucketsp != nullptr && HashTable_inquire(namep) != nullptr;
    _release();
    if (is_taken) return MSG_EEXISTS;
    _set_up(size, hashf);
    _name = name.release();
    return _Hash_hashtablep->append(_name, this, 1);
}

void HashTable::_set_up(int32_t size, hf_t hashf) {
    _release();
    _size = size;
    _hashf = hashf;
    _bucketsp = new NVList[static_cast<size_t>(size)];
}

HashTable::~HashTable() {
    if (_Hash_hashtablep == this) _Hash_hashtablep = nullptr;
    _release();
}

// The registry may be gone, and another table may have the name by now.
void HashTable::_release() {
    if (_name != nullptr && HashTable_inquire(_name) == this) _Hash_hashtablep->remove(_name);
    delete[] _name;
    _name = nullptr;
    // All entries are deleted before the buckets: deleting a value may remove another entry.
    for (int32_t i = 0; i < _size; ++i) _bucketsp[i].remove_all();
    delete[] _bucketsp;
    _bucketsp = nullptr;
    _size = 0;
}

// --- entries ---

NVList& HashTable::_bucket_at(int32_t bucket) const {
    QEN_CHECK(bucket >= 0 && bucket < _size);
    return _bucketsp[bucket];
}

NVList& HashTable::_bucket_of(const char* namep) const {
    QEN_CHECK(namep != NULL);
    QEN_CHECK(_bucketsp != NULL);
    return _bucket_at(_hashf(_size, namep));
}

NVElem* HashTable::inquire(const char* key) const {
    return key != nullptr ? _bucket_of(key).inquire(key) : nullptr;
}

NVElem* HashTable::inquire(std::string_view key) const {
    if (key.data() == nullptr) return nullptr;
    QEN_CHECK(_bucketsp != NULL);
    if (_hashf == ht_func) return _bucket_at(hash_view<FOLD_CASE>(_size, key)).inquire(key);
    if (_hashf == ht_func_cs) return _bucket_at(hash_view<KEEP_CASE>(_size, key)).inquire(key);
    return _bucket_of(std::string(key).c_str()).inquire(key); // a program's own hash function needs a NUL
}

int HashTable::remove(const char* key) {
    return _bucket_of(key).remove(key) == NV_REMOVED ? MSG_SOK : MSG_EFAIL;
}

NVList* HashTable::bucket(int index) const {
    QEN_CHECK(index >= 0);
    return index < _size ? &_bucketsp[index] : nullptr;
}

VList* HashTable::dist() const {
    VList* counts = new VList;
    for (int32_t i = 0; i < _size; ++i) counts->append(_bucketsp[i].count());
    return counts;
}

} // namespace taq_1
