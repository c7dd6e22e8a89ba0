// First-failure capture as the log offers it.
#include "primitives/log/Log.h"

std::atomic<bool> Log::_enable_ffdc{false};
FFDC* Log::_ffdc_instance = nullptr;

// No capture object is made yet, so there is nothing to offer messages to.
void Log::register_for_ffdc(int, const char*, const char*, char) {}
void Log::unregister_for_ffdc() {}
void Log::dump_ffdc(int, bool) {}
void Log::write_ffdc(int, const char*, const char*, int, int, int, int, const char*) {}
void Log::write_ffdc(int, const char*, const char*, int, int, int, int, const MsgStruct*) {}
void Log::_delete_ffdc() {}
