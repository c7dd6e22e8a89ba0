// First-failure data capture: the latest log entries of each thread role, kept in memory and written to files
// when the process fails.
#pragma once

#include "../../platform/unix/QENThread.h"
#include "../memory/Pooled.h"
#include "FFDCRole.h"

#include <atomic>
#include <cstdint>
#include <vector>

inline namespace taq_1 {

class CList;
class IntHashTable;

inline constexpr unsigned FFDC_RING_SIZE = 1024; // entries kept for a role
inline constexpr uint32_t FFDC_LAST_SEQNO = 4'294'967'293u;
inline constexpr size_t FFDC_NAME_SIZE = 256; // of the object's texts, NUL included

// What the threads of one role share.
struct ffdc_buf_t {
    QENLock _rdwr_lock;
    CList* buffer; // owned ring of entries
};
using FFDCBufPropT = ffdc_buf_t;

// One object in a process, made by Log::register_for_ffdc and deleted by Log::destroy. Any thread may call
// any function; construction and destruction happen while no other thread uses the object. Failures are
// reported to the system log.
//
// Dump file, DIR/FFDC_<role>_<pid>_<process>.log, readable by its owner only: six header lines that begin
// with "#", then the captured entries, the oldest first.
class FFDC : public Pooled<MEM_FFDC> {
public:
    // module: names the dump files, null for the process's name. logdir: holds them, null for ".". Both are
    // cut at 255 characters. print_seqno: entries carry sequence numbers.
    FFDC(const char* module, const char* logdir, char print_seqno);
    ~FFDC();
    FFDC(const FFDC&) = delete;
    FFDC& operator=(const FFDC&) = delete;

    // The thread captures into the ring of the role (1 to 6, else fatal) from now on. The first registration
    // of a role makes the ring, of numElem entries. FFDC_FAILURE: no memory, or the thread is registered
    // already.
    int FFDC_Register(pthread_t tid, FFDCRoleT role, unsigned int numElem);
    int FFDC_Unregister(pthread_t tid); // FFDC_FAILURE: it was not registered

    // Captures a copy of the entry for the calling thread; a thread that is not registered captures nothing.
    // local_timep: time text of the entry, null to keep the former one.
    void FFDC_Log(const char* msgp, const char* local_timep);

    // Writes the ring of a role, or with FFDC_ROLE_MAX those of all roles up to the first failure, to files.
    // A file of an earlier dump is replaced; a link, another user's file or anything else is left alone.
    // With sig_recd the call comes from a signal handler: no lock is taken, nothing is allocated or reported;
    // entries that are captured meanwhile may stand at the wrong place. FFDC_FAILURE: no such ring, or a file
    // could not be written.
    int FFDC_DumpLogs(FFDCRoleT role, bool sig_recd);
    int FFDC_DumpLogToFile(FFDCBufPropT* bufpropp, FFDCRoleT role, bool sig_recd);

    // Ends capturing, and dumps of other threads, for good: the process dies, and what the rings hold now is
    // what led there. For the handler of a fatal signal, before its dump.
    void stop_capture();

    // Current local time as "%m_%d_%Y.%H_%M_%S". FFDC_FAILURE: the clock cannot be read, or no room.
    static int FFDC_Time(char* bufp, unsigned int size);

    // Sequence numbers run 1, 2, ... 4,294,967,293, 0, 1, ...
    static constexpr uint32_t seqno_after(uint32_t number) {
        return number < FFDC_LAST_SEQNO ? number + 1 : 0;
    }
    // Around a fork: no thread is in the middle of a change then. In the child the calling thread is the only
    // registered one, and dumps carry the child's process number.
    void before_fork();
    void after_fork(bool in_child);

    unsigned long seqno(); // the next one
    bool print_seqno() const { return _print_seqno; }

private:
    // Roles can be added while others are dumped.
    using RoleSlot = std::atomic<FFDCBufPropT*>;
    static_assert(RoleSlot::is_always_lock_free);

    int _open_dump(const char* path, bool sig_recd) const;
    int _dump_all(bool sig_recd);
    int _dump_role(FFDCRoleT role, bool sig_recd);
    FFDCBufPropT* _ring_of(int role) const; // null: no thread has registered the role
    template <class Use>
    void _for_inner_locks(Use use);
    void _unregister_all_but(pthread_t tid);
    FFDCBufPropT* _descriptor_of(FFDCRoleT role, unsigned int numElem);
    void _free_displaced(char* text);
    void _set_last_time(const char* local_timep);

    IntHashTable* _hashtblp;           // low 32 bits of the thread identifier -> descriptor of its role
    RoleSlot RoleToBuf[FFDC_ROLE_MAX]; // by role; entry 0 is never set
    int pid;
    char ffdc_dir[FFDC_NAME_SIZE];
    char sysinfo[FFDC_NAME_SIZE];
    char hostname[FFDC_NAME_SIZE];
    char lastlogtime[FFDC_NAME_SIZE]; // guarded by _seq_lock
    char processname[FFDC_NAME_SIZE];
    uint32_t _seqno;
    bool _print_seqno;
    QENLock _seq_lock;
    QENLock _reg_lock;
    std::vector<uint32_t> _registered; // keys in _hashtblp; guarded by _reg_lock
    std::atomic<int> _readers{0};      // signal handlers that walk the rings: displaced entries stay readable
    std::vector<char*> _displaced;     // entries displaced meanwhile, owned; guarded by _seq_lock
    std::atomic<bool> _has_displaced{false};
    std::atomic<bool> _dying{false}; // capturing has ended
};

} // namespace taq_1
