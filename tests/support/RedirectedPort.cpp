#include "support/RedirectedPort.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct Redirection {
    int from = -1;
    int to = -1;
};

Redirection redirectionOfEnvironment()
{
    Redirection told;
    const char* const value = std::getenv("TARQ_TEST_REDIRECTED_PORT");
    if (value != nullptr && std::sscanf(value, "%d:%d", &told.from, &told.to) != 2) {
        std::abort();
    }
    return told;
}

// Read by whichever thread connects.
std::atomic<Redirection> redirection{redirectionOfEnvironment()};

} // namespace

// A program's own symbol comes before the C library's, and so does that of a library which was
// loaded first.
extern "C" int connect(int socket, const sockaddr* address, socklen_t length)
{
    const Redirection now = redirection;
    sockaddr_in inet{};
    if (address->sa_family == AF_INET && length >= sizeof inet) {
        inet = *reinterpret_cast<const sockaddr_in*>(address);
        if (inet.sin_addr.s_addr == htonl(INADDR_LOOPBACK) && ntohs(inet.sin_port) == now.from) {
            inet.sin_port = htons(static_cast<in_port_t>(now.to));
            address = reinterpret_cast<const sockaddr*>(&inet);
        }
    }
    return static_cast<int>(::syscall(SYS_connect, socket, address, length));
}

void redirectPort(int from, int to)
{
    redirection = {from, to};
}
