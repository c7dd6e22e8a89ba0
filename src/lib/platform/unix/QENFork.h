// Tells a forked child from its parent.
#pragma once

// The number of forks between the first process and this one: a forked child sees a greater number than its
// parent. What belongs to one process only (a file that it writes, a thread, a lock) keeps the number of its
// creation and compares. Costs one load; async-signal-safe; any thread.
unsigned QENForkCount();
