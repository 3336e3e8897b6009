#include "desktop/PatientWaits.h"

#include <atomic>
#include <csignal>

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int kPatience = 10;

std::atomic<int> patience{1};

} // namespace

// A program's own symbol comes before the C library's, for Qt as well. Only waits that block end up
// here: the event loop is GLib's, which calls poll().
extern "C" int ppoll(
    pollfd* descriptors, nfds_t count, const timespec* timeout, const sigset_t* mask)
{
    // The kernel writes the time that is left into its argument.
    timespec longer{};
    if (timeout != nullptr) {
        constexpr long kSecondNs = 1'000'000'000;
        const long nanoseconds = timeout->tv_nsec * patience;
        longer.tv_sec = timeout->tv_sec * patience + nanoseconds / kSecondNs;
        longer.tv_nsec = nanoseconds % kSecondNs;
    }
    constexpr size_t kMaskBytes = _NSIG / 8;
    return static_cast<int>(::syscall(
        SYS_ppoll, descriptors, count, timeout != nullptr ? &longer : nullptr, mask, kMaskBytes));
}

PatientWaits::PatientWaits()
{
    patience = kPatience;
}

PatientWaits::~PatientWaits()
{
    patience = 1;
}
