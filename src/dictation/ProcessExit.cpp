#include "dictation/ProcessExit.h"

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

// There in a build with a leak check, which would otherwise come after the destructors.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" void __lsan_do_leak_check() __attribute__((weak));

namespace {

void endProcess(int status, void* /*unused*/)
{
    if (__lsan_do_leak_check != nullptr) {
        __lsan_do_leak_check();
    }
    std::fflush(nullptr);
    ::_exit(status);
}

} // namespace

void skipStaticDestructors()
{
#ifndef TARQ_KEEP_STATIC_DESTRUCTORS
    // Not std::atexit: only this one hands the status on.
    [[maybe_unused]] static const int registered = ::on_exit(endProcess, nullptr);
#endif
}
