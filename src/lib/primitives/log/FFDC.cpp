// The rings of the capture: who fills which, and how an entry replaces the oldest. Dumps: FFDCDump.cpp.
#include "primitives/log/FFDC.h"

#include "platform/unix/QENAssert.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/message/severity.h"
#include "primitives/strings/QENString.h"
#include "primitives/values/CList.h"
#include "primitives/values/IntHashTable.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>

inline namespace taq_1 {

const char* const ubo_FFDCRoleName[FFDC_ROLE_MAX + 1] = {"MinFFDC",   "AGFWMain", "AGFWIMF", "AGFWNotifier",
                                                         "AGFWTimer", "AGFWSvc",  "TAQ",     "MaxFFDC"};

namespace {

constexpr uint32_t THREAD_BUCKETS = 1024;
constexpr char UNNAMED_PROCESS[] = "KAVOubo";

uint32_t key_of(pthread_t tid) {
    return static_cast<uint32_t>(tid);
}

void name_process(char (&name)[FFDC_NAME_SIZE], const char* module) {
    if (module != nullptr) {
        qenstrlcpy(name, module, sizeof name);
        return;
    }
    const std::unique_ptr<char[]> process(QENGetProcName());
    qenstrlcpy(name, process != nullptr ? process.get() : UNNAMED_PROCESS, sizeof name);
}

// The text that the next entry of the ring displaces, no longer the ring's; null while there is room. It
// stays readable in its cell until then.
char* take_oldest(CList& ring) {
    const CElem* newest = ring.tail();
    if (newest == nullptr || newest->value()->vtype() != VTYPE_STR) return nullptr;
    ValueElem* oldest = ring.head()->value();
    oldest->set_ref(1);
    return oldest->getstr();
}

} // namespace

FFDC::FFDC(const char* module, const char* logdir, char print_seqno)
    : _hashtblp(new IntHashTable("FFDCIntHashTable", THREAD_BUCKETS, iht_func)), RoleToBuf{},
      pid(QENGetPid()), lastlogtime{}, _seqno(0), _print_seqno(print_seqno != 0) {
    qenstrlcpy(ffdc_dir, logdir != nullptr ? logdir : ".", sizeof ffdc_dir);
    QENGetSysInfo(sysinfo, sizeof sysinfo);
    QENGetSystemName(hostname, sizeof hostname);
    (void)FFDC_Time(lastlogtime, sizeof lastlogtime); // without a clock it stays empty
    name_process(processname, module);
    QENLockInit(&_seq_lock);
    QENLockInit(&_reg_lock);
}

FFDC::~FFDC() {
    for (const uint32_t key : _registered) (void)_hashtblp->remove(key); // the table frees no entries itself
    delete _hashtblp;
    for (const RoleSlot& slot : RoleToBuf) {
        FFDCBufPropT* descriptor = slot.load(std::memory_order_relaxed);
        if (descriptor == nullptr) continue;
        QENLockDeinit(&descriptor->_rdwr_lock);
        delete descriptor->buffer;
        delete descriptor;
    }
    for (const char* text : _displaced) delete[] text;
    QENLockDeinit(&_seq_lock);
    QENLockDeinit(&_reg_lock);
}

// The descriptor of the role, made at its first registration. Null: no memory. Under _reg_lock.
FFDCBufPropT* FFDC::_descriptor_of(FFDCRoleT role, unsigned int numElem) {
    FFDCBufPropT* descriptor = RoleToBuf[role].load(std::memory_order_relaxed);
    if (descriptor != nullptr) return descriptor;
    descriptor = new (std::nothrow) FFDCBufPropT;
    if (descriptor == nullptr) return nullptr;
    descriptor->buffer = new CList(numElem);
    QENLockInit(&descriptor->_rdwr_lock);
    RoleToBuf[role].store(descriptor, std::memory_order_release);
    return descriptor;
}

int FFDC::FFDC_Register(pthread_t tid, FFDCRoleT role, unsigned int numElem) {
    QEN_CHECK((role > FFDC_ROLE_MIN) && (role < FFDC_ROLE_MAX));
    const QENLockGuard guard(&_reg_lock);
    FFDCBufPropT* descriptor = _descriptor_of(role, numElem);
    if (descriptor == nullptr) {
        QENSyslog(SEV_INFO, "FFDC_Register: Could not allocate memory");
        return FFDC_FAILURE;
    }
    if (_hashtblp->insert(key_of(tid), descriptor) != IHT_OK) {
        QENSyslog(SEV_INFO, "FFDC_Register: Could not insert record in hashtable for thread-id %lu", tid);
        return FFDC_FAILURE;
    }
    _registered.push_back(key_of(tid));
    return FFDC_SUCCESS;
}

int FFDC::FFDC_Unregister(pthread_t tid) {
    const QENLockGuard guard(&_reg_lock);
    if (_hashtblp->remove(key_of(tid)) != IHT_OK) {
        QENSyslog(SEV_INFO, "FFDC_Unregister: Could not unregister record from hashtable for thread-id %lu",
                  tid);
        return FFDC_FAILURE;
    }
    std::erase(_registered, key_of(tid));
    return FFDC_SUCCESS;
}

void FFDC::FFDC_Log(const char* msgp, const char* local_timep) {
    void* found;
    if (_hashtblp->inquire(key_of(pthread_self()), &found) != IHT_OK) return;
    auto* descriptor = static_cast<FFDCBufPropT*>(found);
    const size_t size = std::strlen(msgp) + 1;
    std::unique_ptr<char[]> copy(new char[size]);
    std::memcpy(copy.get(), msgp, size);

    char* displaced = nullptr;
    {
        const QENLockGuard guard(&descriptor->_rdwr_lock);
        if (_dying.load(std::memory_order_acquire)) return;
        displaced = take_oldest(*descriptor->buffer);
        if (descriptor->buffer->write(copy.get()) != nullptr) copy.release(); // the ring's from now on
    }
    if (copy != nullptr) QENSyslog(SEV_INFO, "FFDC_Log: Unsuccessful attempt to write log");
    _free_displaced(displaced);
    if (local_timep != nullptr) _set_last_time(local_timep);
}

// A dump in a signal handler that began before the text was displaced may still read it. Both sides change
// _readers: either the dump begins later, and finds what the ring holds now, or it is seen here.
void FFDC::_free_displaced(char* text) {
    if (text == nullptr) return;
    const bool is_read = _readers.fetch_add(0, std::memory_order_acq_rel) != 0;
    if (!is_read && !_has_displaced.load(std::memory_order_relaxed)) {
        delete[] text;
        return;
    }
    const QENLockGuard guard(&_seq_lock);
    _displaced.push_back(text);
    _has_displaced.store(is_read, std::memory_order_relaxed);
    if (is_read) return;
    for (const char* displaced : _displaced) delete[] displaced;
    _displaced.clear();
}

void FFDC::_set_last_time(const char* local_timep) {
    const QENLockGuard guard(&_seq_lock);
    qenstrlcpy(lastlogtime, local_timep, sizeof lastlogtime);
}

// The locks of what a registered thread uses. Under _reg_lock, which keeps further roles from coming.
template <class Use>
void FFDC::_for_inner_locks(Use use) {
    for (const RoleSlot& slot : RoleToBuf)
        if (FFDCBufPropT* descriptor = slot.load(std::memory_order_relaxed)) use(&descriptor->_rdwr_lock);
    use(_hashtblp->lock());
    use(&_seq_lock);
}

// In the order in which they are taken inside each other.
void FFDC::before_fork() {
    QENLockAcquire(&_reg_lock);
    _for_inner_locks(QENLockAcquire);
}

void FFDC::after_fork(bool in_child) {
    _for_inner_locks(QENLockRelease);
    QENLockRelease(&_reg_lock);
    if (!in_child) return;
    pid = QENGetPid();
    _readers.store(0, std::memory_order_relaxed); // handlers of threads that are not here
    _unregister_all_but(pthread_self());          // a new thread may get the number of one that is not here
}

void FFDC::_unregister_all_but(pthread_t tid) {
    std::erase_if(_registered,
                  [&](uint32_t key) { return key != key_of(tid) && _hashtblp->remove(key) == IHT_OK; });
}

unsigned long FFDC::seqno() {
    const QENLockGuard guard(&_seq_lock);
    return _seqno = seqno_after(_seqno);
}

int FFDC::FFDC_Time(char* bufp, unsigned int size) {
    const time_t now = std::time(nullptr);
    tm local;
    if (now == static_cast<time_t>(-1) || localtime_r(&now, &local) == nullptr) return FFDC_FAILURE;
    return std::strftime(bufp, size, "%m_%d_%Y.%H_%M_%S", &local) != 0 ? FFDC_SUCCESS : FFDC_FAILURE;
}

} // namespace taq_1
