#include "account/FailingBind.h"

#include <QHostAddress>

#include <cerrno>

#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

QStringList refusedAddresses;

} // namespace

// A program's own symbol comes before the C library's, for Qt as well.
extern "C" int bind(int socket, const sockaddr* address, socklen_t length) noexcept
{
    if (refusedAddresses.contains(QHostAddress(address).toString())) {
        errno = EADDRNOTAVAIL;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_bind, socket, address, length));
}

FailingBind::FailingBind(const QStringList& addresses)
{
    refusedAddresses = addresses;
}

FailingBind::~FailingBind()
{
    refusedAddresses.clear();
}
