// Stretches of memory for queued records. See RecordPool.h.
#include "primitives/log/RecordPool.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "platform/unix/QENThread.h"
#include "primitives/memory/Memory.h"

inline namespace taq_1 {

namespace {

constexpr size_t STRETCH_SIZE = 64 * 1024 - 64; // with what the heap adds
constexpr size_t LARGEST = 8 * 1024;            // record that is put into a stretch
constexpr int KEPT = 64;                        // stretches: 4 MiB
constexpr int64_t OPEN = INT64_C(1) << 40;

// Who fills it knows how many records it made; those that give them back only count down.
struct Stretch {
    // While it is filled: OPEN less the records given back. Then: records that are still in use.
    std::atomic<int64_t> left{OPEN};
    Stretch* next = nullptr; // of the stretches that are kept
};
static_assert(sizeof(Stretch) % alignof(std::max_align_t) == 0);

// Before each record stands the stretch that it is in, null for one of the heap.
using Owner = Stretch*;
constexpr size_t OWNER_SIZE = 8;
static_assert(sizeof(void*) == OWNER_SIZE);

pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER; // guards the next three
Stretch* kept = nullptr;
int kept_count = 0;
int count = 0; // of all stretches

// Used last in, first out: the stretch may still be in a cache. A new one comes from the heap, unfilled: a
// thread that logs now and then touches a page or two of it.
Stretch* new_stretch() {
    QENMutexLock(&lock);
    Stretch* const stretch = kept;
    if (stretch != nullptr) {
        kept = stretch->next;
        --kept_count;
    }
    QENMutexUnlock(&lock);
    void* const memory = stretch != nullptr ? stretch : std::malloc(STRETCH_SIZE);
    if (memory == nullptr) return nullptr;
    if (stretch == nullptr) {
        QENMutexLock(&lock);
        ++count;
        QENMutexUnlock(&lock);
    }
    return new (memory) Stretch;
}

void keep_or_free(Stretch* stretch) {
    QENMutexLock(&lock);
    const bool is_kept = kept_count < KEPT;
    if (is_kept) {
        stretch->next = kept;
        kept = stretch;
        ++kept_count;
    } else {
        --count;
    }
    QENMutexUnlock(&lock);
    if (!is_kept) std::free(stretch);
}

void count_down(Stretch* stretch, int64_t records) {
    if (stretch->left.fetch_sub(records, std::memory_order_acq_rel) == records) keep_or_free(stretch);
}

// The stretch that a thread fills. Without a destructor: objects that end after it may still log.
class Producer {
public:
    void end() {
        _close();
        _is_over = true;
    }

    // Null: no stretch is to be had.
    char* take(size_t size) {
        if (size > _room && !_renew()) return nullptr;
        char* const place = _at;
        _at += size;
        _room -= size;
        ++_made;
        *reinterpret_cast<Owner*>(place) = _stretch;
        return place;
    }

private:
    bool _renew();
    void _close() {
        if (_stretch != nullptr) count_down(_stretch, OPEN - _made);
        _stretch = nullptr;
        _room = 0;
        _made = 0;
    }

    Stretch* _stretch = nullptr;
    char* _at = nullptr;
    size_t _room = 0;
    int64_t _made = 0; // records in the stretch
    bool _is_over = false;
};

constinit thread_local Producer producer;

// Ends the producer with its thread.
struct EndOfThread {
    ~EndOfThread() { producer.end(); }
    bool is_awaited = false;
};
thread_local EndOfThread end_of_thread;

bool Producer::_renew() {
    _close();
    if (_is_over) return false;
    end_of_thread.is_awaited = true; // the first use registers it
    _stretch = new_stretch();
    if (_stretch == nullptr) return false;
    _at = reinterpret_cast<char*>(_stretch + 1);
    _room = STRETCH_SIZE - sizeof(Stretch);
    return true;
}

} // namespace

void* RecordPool::get(size_t size) {
    constexpr size_t UNIT = alignof(Owner);
    char* place = size <= LARGEST ? producer.take((OWNER_SIZE + size + UNIT - 1) / UNIT * UNIT) : nullptr;
    if (place == nullptr) {
        place = static_cast<char*>(taq_mem.get(0, OWNER_SIZE + size, MEM_MISC));
        *reinterpret_cast<Owner*>(place) = nullptr;
    }
    return place + OWNER_SIZE;
}

void RecordPool::release(void* record) noexcept {
    if (record == nullptr) return;
    char* const place = static_cast<char*>(record) - OWNER_SIZE;
    if (Stretch* const stretch = *reinterpret_cast<Owner*>(place))
        count_down(stretch, 1);
    else
        taq_mem.release(place, MEM_MISC);
}

int RecordPool::stretches() {
    QENMutexLock(&lock);
    const int stretches = count;
    QENMutexUnlock(&lock);
    return stretches;
}

void RecordPool::before_fork() {
    QENMutexLock(&lock);
}

void RecordPool::after_fork() {
    QENMutexUnlock(&lock);
}

} // namespace taq_1
