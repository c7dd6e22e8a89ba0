// Tells a forked child from its parent, and calls handlers around a fork.
#pragma once

inline namespace taq_1 {

// The number of forks between the first process and this one: a forked child sees a greater number than its
// parent. What belongs to one process only (a file that it writes, a thread, a lock) keeps the number of its
// creation and compares. Costs one load; async-signal-safe; any thread.
unsigned QENForkCount();

// Calls the functions around each fork from now on: prepare before it, then one of the others in each
// process. Of several registrations the last is prepared first. Without memory for it nothing is registered.
void QENAtFork(void (*prepare)(), void (*in_parent)(), void (*in_child)());

} // namespace taq_1
