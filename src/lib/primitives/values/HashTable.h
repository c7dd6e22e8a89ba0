// Hash table with string keys and typed values, and the registry of named tables.
#pragma once

#include <string_view>

#include "NVList.h"
#include "msg_result.h"

inline namespace taq_1 {

// Maps (bucket count > 0, NUL-terminated key) to a bucket index below the count.
using hf_t = int32_t (*)(int32_t size, const char* cp);

// The usual hash functions. ht_func puts upper- and lower-case forms of a key into the same bucket.
// A size that is not positive and a null key are fatal.
int32_t ht_func(int32_t size, const char* cp);
int32_t ht_func_cs(int32_t size, const char* cp);

// The number of buckets is fixed; chains grow without bound. Keys compare ignoring case, so a table whose
// hash function tells case apart may hold keys that differ only in case. A null key (except for inquire),
// use before init and a hash function that leaves the table are fatal. No locking.
class HashTable : public Pooled<MEM_HASH> {
public:
    // Create the registry of named tables if it does not exist; delete it. Tables that outlive the registry
    // are then no longer found and stay good otherwise.
    static void init();
    static void destroy();

    HashTable() = default; // unusable until init
    ~HashTable();          // a named table leaves the registry; entries go with their owned values
    HashTable(const HashTable&) = delete;
    HashTable& operator=(const HashTable&) = delete;

    // Set up a table of `size` buckets, without or with a name in the registry. What the table held before
    // is deleted, its own old name included. MSG_SOK; MSG_EEXISTS when a table has the name, also when it is
    // this one: this table then has no buckets and no name. A size that is not positive, a null argument and
    // a missing registry are fatal.
    int init(int32_t size, hf_t hashf);
    int init(const char* name, int32_t size, hf_t hashf);

    // The entry with that key; null when absent or the key is null. The view needs no NUL behind it.
    NVElem* inquire(const char* key) const;
    NVElem* inquire(std::string_view key) const;

    // Add an entry at the end (front) of its bucket, with no value, a number, or a pointer and its reference
    // flag (ValueElem). MSG_SOK; MSG_EEXISTS when an equal key exists: the value stays the caller's. `out`,
    // when given, receives the new or the existing entry.
    int append(const char* key, NVElem** out = nullptr) {
        return _result(_bucket_of(key).append(key, out, true));
    }
    template <class T, IfCellNumber<T> = 0>
    int append(const char* key, T value, NVElem** out = nullptr) {
        return _result(_bucket_of(key).append(key, value, out, true));
    }
    template <class P, IfCellPointer<P> = 0>
    int append(const char* key, P value, int ref, NVElem** out = nullptr) {
        return _result(_bucket_of(key).append(key, value, ref, out, true));
    }
    int insert(const char* key, NVElem** out = nullptr) {
        return _result(_bucket_of(key).insert(key, out, true));
    }
    template <class T, IfCellNumber<T> = 0>
    int insert(const char* key, T value, NVElem** out = nullptr) {
        return _result(_bucket_of(key).insert(key, value, out, true));
    }
    template <class P, IfCellPointer<P> = 0>
    int insert(const char* key, P value, int ref, NVElem** out = nullptr) {
        return _result(_bucket_of(key).insert(key, value, ref, out, true));
    }

    int remove(const char* key); // MSG_SOK, or MSG_EFAIL when absent

    int32_t size() const { return _size; }
    const char* name() const { return _name; } // null for an unnamed table

    // Bucket 0 to size() - 1, null beyond, for walks over all entries. A negative index is fatal.
    NVList* bucket(int index) const;

    // A new list with the entry count (VTYPE_S32) of each bucket in order; the caller deletes it.
    VList* dist() const;

private:
    void _set_up(int32_t size, hf_t hashf);
    void _release();
    NVList& _bucket_of(const char* key) const;
    NVList& _bucket_at(int32_t bucket) const;
    static int _result(int nvlist_result) { return nvlist_result == NV_ADDED ? MSG_SOK : MSG_EEXISTS; }

    int32_t _size = 0;
    char* _name = nullptr; // owned
    hf_t _hashf = nullptr;
    NVList* _bucketsp = nullptr; // owned array of _size buckets; null before init
};

// The registry: name to table, which it only refers to. It holds itself as "Hash_hashtable".
extern HashTable* _Hash_hashtablep;

// The registered table of that name, ignoring case; null if none, also without a registry.
HashTable* HashTable_inquire(const char* name);

} // namespace taq_1
