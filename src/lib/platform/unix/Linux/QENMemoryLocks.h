#pragma once

// Releases the memory locks of the process; callable between fork and exec.
bool QENReleaseMemoryLocks();
