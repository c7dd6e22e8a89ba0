// The record in which a message travels from its site to the logger thread (LoggerThread.h).
#pragma once

#include <ctime>

#include "primitives/log/PackedMessage.h"
#include "primitives/memory/Pooled.h"
#include "primitives/values/DList.h"

class ILog;
class MsgStruct;

// Made by the producer with new; belongs to the queue, then to the logger thread, which writes and deletes
// it together with the text and the message.
struct vlog_msg_t : Pooled<MEM_MISC> {
    vlog_msg_t(ILog* log, time_t t, int severity, const char* who, const char* file, int line_no,
               int flag_word, int catalog, int number, char* debug_text, MsgStruct* structp)
        : timet(t), sev(severity), line(line_no), flags(flag_word), cat(catalog), id(number), whop(who),
          filep(file), en_msgp(debug_text), msg_structp(structp), logp(log) {}

    // With a message whose structure is still to be built. Made by new (message), which makes room for its
    // bytes behind the record.
    vlog_msg_t(ILog* log, time_t t, int severity, const char* who, const char* file, int line_no,
               int flag_word, int catalog, int number, const PackedMessage& message)
        : vlog_msg_t(log, t, severity, who, file, line_no, flag_word, catalog, number,
                     /*debug_text=*/nullptr, /*structp=*/nullptr) {
        packed_args = message.view().count;
        message.copy_to(packed());
    }
    using Pooled<MEM_MISC>::operator new;
    using Pooled<MEM_MISC>::operator delete;
    static void* operator new(size_t size, const PackedMessage& message) {
        return taq_mem.get(0, size + message.size(), MEM_MISC);
    }
    static void operator delete(void* p, const PackedMessage&) noexcept { operator delete(p); }
    char* packed() { return reinterpret_cast<char*>(this + 1); }

    time_t timet; // when it was queued
    int sev;      // severity, or debug level for a debug text
    int line;
    int flags;
    int cat;
    int id;
    const char* whop;       // refers only; must stay valid
    const char* filep;      // likewise
    char* en_msgp;          // debug text (new[]), owned, or null
    MsgStruct* msg_structp; // owned, or null
    ILog* logp;             // null: for the system log
    bool is_to_log = false; // logp is a Log of no derived class: no virtual call, which would read what a log
                            // changes at the start of its deletion
    int packed_args = -1;   // arguments of the message in packed(); -1: there is none
    DLink link{this};       // in the queue
};
using vlog_msg = vlog_msg_t;

// Writes the record to its log, or to the system log, and deletes it.
void write_record(vlog_msg_t* record);
