#include "account/FailingAccept.h"

#include <algorithm>
#include <cerrno>
#include <vector>

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

quint16 limitedPort = 0;
int mostConnections = 0;
std::vector<int> connections;

// Of the near side; 0 for what isn't a socket of the internet.
quint16 portOf(int socket)
{
    sockaddr_in address{};
    socklen_t length = sizeof(address);
    const bool known = ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    return known ? ntohs(address.sin_port) : quint16(0);
}

} // namespace

// A program's own symbol comes before the C library's, for Qt as well.
extern "C" int accept4(int socket, sockaddr* address, socklen_t* length, int flags)
{
    const bool limited = limitedPort != 0 && portOf(socket) == limitedPort;
    if (limited) {
        connections.erase(std::remove_if(connections.begin(), connections.end(),
                              [](int connection) { return portOf(connection) != limitedPort; }),
            connections.end());
        if (static_cast<int>(connections.size()) >= mostConnections) {
            errno = EMFILE;
            return -1;
        }
    }
    const auto accepted = static_cast<int>(::syscall(SYS_accept4, socket, address, length, flags));
    if (limited && accepted >= 0) {
        connections.push_back(accepted);
    }
    return accepted;
}

FailingAccept::FailingAccept(quint16 port, int most)
{
    limitedPort = port;
    mostConnections = most;
}

FailingAccept::~FailingAccept()
{
    limitedPort = 0;
    connections.clear();
}

void FailingAccept::setMost(int most)
{
    mostConnections = most;
}
