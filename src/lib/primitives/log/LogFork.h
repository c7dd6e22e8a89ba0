// What a fork does to the logs of the process.
#pragma once

inline namespace taq_1 {

class Log;

// fork copies one thread and the state of all locks. So that a child can log whatever other threads were
// doing in the parent, fork first waits for them and keeps them out of the logs, the logger thread's queue,
// the first-failure capture and the system log, in this order, which is the order in which a thread that
// writes a message takes their locks. A write that takes longer than a second is not waited for: the child
// then has its log closed.
//
// A forked child has no logger thread until it starts one, and the parent's queue is the parent's. The child
// may write to the logs that it inherits: lines are appended to the current file, but no record is written
// and nothing is rotated. For a log of its own it opens another name.

// From now on. Before the first of the locks is used.
void log_prepare_for_forks();

// The logs that live. logs_owe_tellings lets those that have lost messages tell them, through the queue; a
// log goes, then waits until the queue has no such request for it.
void log_was_made(Log* log);
void log_goes(Log* log);
void logs_owe_tellings();

} // namespace taq_1
