// The record in which a message travels from its site to the logger thread (LoggerThread.h).
#pragma once

#include "primitives/log/LogCall.h"
#include "primitives/log/PackedMessage.h"
#include "primitives/memory/Pooled.h"
#include "primitives/values/DList.h"

class ILog;
class MsgStruct;

// A call and what it says: a debug text, a structure, or packed bytes behind the record. Made by the producer
// with new; belongs to the queue, then to the logger thread, which writes and deletes it with what it owns.
struct vlog_msg_t : Pooled<MEM_MISC>, LogCall {
    vlog_msg_t(ILog* log, const LogCall& call, char* debug_text, MsgStruct* structp)
        : LogCall(call), en_msgp(debug_text), msg_structp(structp), logp(log) {}

    // Made by new (message), which makes room for its bytes behind the record.
    vlog_msg_t(ILog* log, const LogCall& call, const PackedMessage& message)
        : vlog_msg_t(log, call, /*debug_text=*/nullptr, /*structp=*/nullptr) {
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
