// Reads one log data file, record by record, optionally filtered or starting near the end.
#pragma once

#include <cstdio>
#include <memory>

#include "../memory/Pooled.h"
#include "LdfNameHints.h"
#include "LdfRecordView.h"
#include "LdfWindow.h"
#include "ldf_format.h"

inline namespace taq_1 {

class HashTable;
class VList;

inline constexpr int LDF_ANY_ID = -1;    // catalog or message number: any
inline constexpr int LDF_ANY_CODE = 255; // severity or object type: any

// Bits of LdfFilter::flags and of get_next's flags; others are ignored.
inline constexpr int LDF_MATCH_ANY = 1;     // one matching filter suffices; else every given one must match
inline constexpr int LDF_MATCH_PIECES = 16; // names also match a piece of an argument split at ":"

// Which records to return. A field with another value than its default is a filter.
struct LdfFilter {
    int catid = LDF_ANY_ID;      // high 16 bits of msgcat_id
    int msgid = LDF_ANY_ID;      // low 16 bits of msgcat_id
    int sev = LDF_ANY_CODE;      // 0 to 254
    int otype = LDF_ANY_CODE;    // 0 to 254
    HashTable* onames = nullptr; // names of which one argument must be one, ignoring case; refers only
    int flags = 0;
    const LdfNameHints* hints = nullptr; // made from onames, to search faster, or null; refers only
};

// A reader is used by one thread. All failures are result codes (ldf_result); nothing is written.
// The registry of open readers is process-wide and not locked.
class LdfReader : public Pooled<MEM_LDF_READER> {
public:
    // Creates and deletes the registry that keeps two readers from opening the same name. Once per
    // process; the argument of init is not used.
    static void init(const char* = nullptr);
    static void destroy();

    LdfReader() = default;
    ~LdfReader(); // closes the file and gives its name free
    LdfReader(const LdfReader&) = delete;
    LdfReader& operator=(const LdfReader&) = delete;

    // Opens dir/namep.ldf read-only and checks its header. dir is pathp, or the subdirectory "ldf" of the
    // data root when pathp is null. The name may hold a path of its own. A regular file shorter than a
    // header is deleted: no reader can use it and no writer of ours leaves one.
    // LDF_ENOINIT, LDF_ENONAME, LDF_EREGISTERED (names compare ignoring case): nothing changed.
    // LDF_EROOT: no data root. LDF_EFAIL: no directory, no such regular file, too short, corrupt.
    // LDF_EVERSION: header of another version. LDF_ENOMEM.
    // On these the name is free again; a file whose header was refused stays open until destruction.
    // Opening anew with another name closes what was open before.
    int open(const char* pathp, const char* namep);

    const ldf_header_t* get_header() const { return &_ldf_header; } // as read by open, all zero before
    bool is_opened() const { return _opened != 0; }
    const char* pathp() const { return _pathp.get(); } // full path; null before open

    // Positions at record 0. LDF_EFAIL: not open.
    int rewind();

    // Positions so that the next read starts at record msg_ndx (0-based; <= 0 is the first). Looks only at
    // the length word of each record it passes. LDF_EFAIL: not open, msg_ndx >= total_msgs, or the
    // records do not reach that far.
    int jumpto(int msg_ndx);

    // Positions before the last msgs_from_end records, or at record 0 when there are fewer.
    // LDF_EFAIL: not open, msgs_from_end < 1, or as jumpto.
    int tail(int msgs_from_end);

    // Finds the next record that passes the filter and shows it in `view`, whose pieces stay valid until
    // the next call on this reader. Filters are decided on the record's bytes, cheapest first.
    // LDF_EEND: after total_msgs records, or the file ends within a record. LDF_EVERSION: a record of
    // another version. LDF_EFAIL: not open, a read failed, or data_size above LDF_TEXT_MAX.
    // On any other result than LDF_OK the view is unspecified.
    int next_record(const LdfFilter& filter, LdfRecordView& view);

    // The same with copies. sev and otype: byte 0xFF is any. On LDF_OK the record's fixed part is in
    // *headerp, its source position in *dbg (a piece that the record lacks leaves that field as it was),
    // and *vargsp holds a new VList of owned argument copies, possibly empty, that the caller deletes.
    // On any other result *vargsp is untouched. headerp, dbg and vargsp may be null.
    int get_next(int catid, int msgid, char sev, char otype, HashTable* oname_hashp,
                 ldf_msg_header_t* headerp, ldf_dbg_info_t* dbg, VList** vargsp, int flags);

    // Writes a trace file name + "-ldfr.debug" in the current directory; XXDEBUG adds one line, or does
    // nothing while no trace file is open.
    void XXDEBUG_OPEN(const char* name);
    void XXDEBUG(const char* text);

private:
    int _locate(const char* pathp, const char* namep);
    int _open_file();
    void _delete_short_file(int fd);
    int _read_header();
    int _read_header_once();
    bool _pass_records(int msg_ndx, const unsigned char* bytes, size_t size);
    int _short_read(const unsigned char* bytes, size_t got) const;
    int _end_or_failure() const;
    void _unregister();
    void _close();

    // The reading position is (_msg_ndx, _curr_offset); every operation starts from it.
    FILE* _fp = nullptr; // owns the open file; null when not open
    int8_t _opened = 0;
    std::unique_ptr<char[]> _namep; // key in the registry
    std::unique_ptr<char[]> _dirp;
    std::unique_ptr<char[]> _pathp;
    int32_t _starting_filesize = 0; // bytes, at open time
    ldf_header_t _ldf_header = {};
    int32_t _msg_ndx = 0;     // record (0-based) at which the next read starts
    int32_t _curr_offset = 0; // its file offset; meaningful when _msg_ndx > 0
    FILE* _debug_fp = nullptr;
    LdfWindow _window;
};

// The reader that has `name` open, or null.
LdfReader* LdfReader_obj(const char* name);

} // namespace taq_1
