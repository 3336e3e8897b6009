#include "dictation/ProcessExit.h"

#include <cstdio>
#include <cstdlib>

#ifdef TARQ_COUNTS_LINES
#include <gcov.h>
#endif
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
    exitAtOnce(status);
}

} // namespace

void exitAtOnce(int status)
{
#ifdef TARQ_COUNTS_LINES
    __gcov_dump(); // what a destructor would do
#endif
    ::_exit(status);
}

void skipStaticDestructors()
{
    // Not std::atexit: only this one hands the status on.
    [[maybe_unused]] static const int registered = ::on_exit(endProcess, nullptr);
}
