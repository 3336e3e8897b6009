// Stands in for the module that holds the running instance. Its status tells that it was run.

#ifndef TARQ_ENTRY
#include "BuildId.h"
#endif

#include <csignal>
#include <cstdlib>

namespace {

constexpr int kStatus = 42;

// The real one takes a while to load, and a signal may come meanwhile.
const int signalled = []() {
    const char* const number = std::getenv("TARQ_SIGNAL_WHILE_LOADING");
    return number != nullptr ? std::raise(std::atoi(number)) : 0;
}();

} // namespace

extern "C" __attribute__((visibility("default"))) int TARQ_ENTRY(int argc, char* argv[]);

int TARQ_ENTRY(int /*argc*/, char* /*argv*/[])
{
    // At once: without /proc a sanitizer fails at the exit.
    std::_Exit(signalled == 0 ? kStatus : signalled);
}
