// Appends records to the log data file of one log and rotates it through three generations.
#pragma once

#include <cstdio>
#include <memory>

#include "../files/Generations.h"
#include "../files/NameLock.h"
#include "../memory/Pooled.h"
#include "ldf_format.h"

inline namespace taq_1 {

class LdfBatch;
struct LdfPart;

inline constexpr int LDF_DEFAULT_MAXLEN = 4194304; // bytes at which a file is rotated, set by open
inline constexpr int LDF_MIN_MAXLEN = 65536;

// Files of log N in root/ldf/: N_A.ldf (current), N_B.ldf, N_C.ldf (oldest); N_A.ldf.err is a file that
// could not be continued, N_A.new a new file before it has its header, .N.lock the lock of the process that
// has the log open.
//
// After every completed write the file is consistent: the header describes exactly the records before
// offset_end. The record goes to the file first and the header after, each with one call, so a process
// that dies in between leaves a record that no reader sees and the next write overwrites. Gathered records go
// the same way together: all with one call, then the header once.
//
// A power cut may leave a header that is ahead of its records, unless they are among those that sync_up_to
// names. What a writer finds then it continues if a reader gets to the end of it, and else moves it aside.
//
// One writer per log and machine; a writer is used by one thread at a time. The registry of writers is
// process-wide and not locked. In a forked child an inherited writer writes nothing; a writer of its own, for
// another log, works.
// What became of a record.
enum class LdfAppend : uint8_t {
    DONE,
    WRITE_FAILED, // the record is dropped, as in the next two cases
    NO_ROOM,      // the file has reached a limit that no rotation could lift
    NOT_SYNCED,   // the disk did not confirm it
};

class LdfWriter : public Pooled<MEM_LDF_WRITER> {
public:
    // Creates and deletes the registry that keeps two writers from the same log. Once per process; the
    // argument of init has no effect.
    static void init(const char* = nullptr);
    static void destroy();

    LdfWriter();
    ~LdfWriter(); // closes the file and gives the name free
    LdfWriter(const LdfWriter&) = delete;
    LdfWriter& operator=(const LdfWriter&) = delete;

    // Continues root/ldf/namep_A.ldf or starts it, making the directory if it is missing. `flags` goes
    // into the headers of new files. A file that is no valid log data file is moved aside.
    // LDF_ENOINIT, LDF_ENONAME, LDF_EREGISTERED (names compare ignoring case); LDF_EFAIL for a name with
    // "/": nothing changed. LDF_EREGISTERED also: another process has the log open, and the system log says
    // which; LDF_EROOT: no data root; LDF_EFAIL: no directory; LDF_ENOMEM: the name is free again.
    // LDF_EFAIL also: no usable file could be made; the name stays registered.
    // Opening anew with another name closes what was open before.
    int open(const char* namep, int flags);

    // Appends one record, after rotating when the file has reached maxlen(), the size that the system lets a
    // file of this process have, or, near 2 GiB, the offset at which readers stop. filep and func may be
    // null; arguments count up to the first null one. time_stamp in seconds since 1970-01-01 UTC, seq
    // LDF_NO_SEQ for none, obj_tag 0 to 6 (anything else is a caller's mistake and fatal). When the fields
    // together exceed LDF_TEXT_MAX, the record has an empty text. A record that cannot be written is dropped,
    // and the file stays as it was. A file that cannot be rotated is continued. The system log tells so once,
    // and the rotation is tried again after pauses that grow.
    void write(char sev, int time_stamp, char obj_tag, unsigned msgcatID, const char* filep, int line_no,
               unsigned seq, const char* func, const char* arg1, const char* arg2, const char* arg3,
               const char* arg4, const char* arg5, const char* arg6);

    // The same with the record's fixed part, whose data_size and version are filled in here, and with views,
    // which hold no NUL; one with null data ends the arguments. DONE also in a forked child, and within a
    // write.
    LdfAppend append(ldf_msg_header_t fixed, std::string_view file, std::string_view func, LdfArgs args);

    // The same, but the record waits in memory until write_gathered(): for a caller that has more of them. It
    // is lost when the process dies before. At most LdfBatch::RECORDS wait: append and the end of the writer
    // write them first, a full batch and a rotation too. When the disk refuses them together, they are
    // written one by one, so that those that do not fit are lost and no others. Each of these goes to
    // on_lost.
    LdfAppend gather(ldf_msg_header_t fixed, std::string_view file, std::string_view func, LdfArgs args);
    void write_gathered();

    // A record of a severity up to this one, and what is written together with it, is on the disk before the
    // header counts it, and the header before the call returns. Negative, as at first: nothing is waited for.
    void sync_up_to(int sev) { _synced_sev = sev; }

    // Called for each gathered record that is lost; it may not use the writer.
    using Lost = void (*)(void* context, LdfAppend why, int sev);
    void on_lost(Lost lost, void* context) {
        _lost = lost;
        _lost_context = context;
    }

    // Whether the next record begins a new file, as far as the file's size tells.
    bool is_full() const { return _opened != 0 && !_has_room(); }

    // Sets the size in bytes at which the file is rotated, at least LDF_MIN_MAXLEN. Only while open.
    void set_maxlen(int maxlen);

    int maxlen() const { return _maxlen; }
    bool is_opened() const { return _opened != 0; }
    const char* pathAp() const { return _files.current(); } // full path of the current file; null before open

    // Writes a trace file name + "-ldfw.debug" in the current directory; XXDEBUG adds one line, or does
    // nothing while no trace file is open.
    void XXDEBUG_OPEN(const char* name);
    void XXDEBUG(const char* text);

private:
    int _locate(const char* namep);
    int _take_name();
    int _prepare_ldf();
    int _continue_file(int fd, int64_t size);
    void _use(FILE* fp, int64_t size);
    int _install_new(bool (Generations::*way)() const);
    FILE* _make_new_file(ldf_header_t& header) const;
    int _recover();
    int _read_header();
    int _write_header(ldf_header_t& header);
    bool _has_room() const;
    bool _make_room();
    void _next();
    bool _begin(int8_t obj_tag);
    LdfAppend _put(const unsigned char* bytes, const LdfPart* records, size_t count);
    LdfAppend _put_header(ldf_header_t& updated, bool sync);
    bool _reaches_end() const;
    void _put_gathered();
    void _unregister();
    void _close();

    int8_t _opened = 0;  // 1 while _fp is an open file
    int32_t _active = 0; // 1 while a write is in progress
    int32_t _count = 0;  // size of the file in bytes as the writer counts it
    int32_t _maxlen = 0; // size at which the file is rotated
    int32_t _flags = 0;  // stored in new headers
    FILE* _fp = nullptr; // owns the current file
    PathText _namep;     // key in the registry
    PathText _dirp;
    Generations _files;
    RetryPause _pause;                // between attempts at a rotation that is blocked
    NameLock _lock;                   // as long as the name is registered
    unsigned _forks = 0;              // QENForkCount() of the process that opened the log
    int32_t _starting_filesize = 0;   // size of file A when it was last prepared
    uint32_t _last_start = 0;         // greatest offset at which any record still fits
    ldf_header_t _ldf_header = {};    // identical to the one on disk after the last write
    std::unique_ptr<LdfBatch> _batch; // records that wait; made for the first one
    int _synced_sev = -1;
    Lost _lost = nullptr;
    void* _lost_context = nullptr;
    FILE* _debug_fp = nullptr;
};

// The writer that has the log `name` open, or null.
LdfWriter* Ldf_obj(const char* name);

} // namespace taq_1
