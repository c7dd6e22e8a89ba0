// Calls of the system that fail, come up short or never return, at a moment of the test's choice. No file
// system does this on demand, so SystemCalls.cpp stands before the C library in the program that lists it.
#pragma once

#include <functional>
#include <string_view>
#include <sys/types.h>
#include <vector>

struct SystemCall {
    std::string_view name; // pread, pwrite, write, fdatasync, fsync, rename, link, unlink, remove or rmdir
    std::string_view path; // the first one; empty for a descriptor
    size_t size;           // bytes to transfer; 0 for a path and a sync
};

// Asked before each such call of the program, while it is set: how many bytes to transfer (SystemCall::size
// or more: all), or what the call fails with, as a negative errno.
inline constexpr ssize_t PASS = 1 << 30; // let the call do what it should
using SystemCallPlan = std::function<ssize_t(const SystemCall&)>;
extern SystemCallPlan system_call_plan;

// What happens to the next calls of one name, in order. More pass.
void plan(std::string_view name, std::vector<ssize_t> steps);
