#include "storage/FailingChmod.h"

#include <QByteArray>
#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

QByteArray& refusedPath()
{
    static QByteArray path;
    return path;
}

} // namespace

// A program's own symbol comes before the C library's, for Qt as well.
extern "C" int chmod(const char* path, mode_t mode) noexcept
{
    if (!refusedPath().isEmpty() && refusedPath() == path) {
        errno = EPERM;
        return -1;
    }
    return ::fchmodat(AT_FDCWD, path, mode, 0);
}

FailingChmod::FailingChmod(const QString& path)
{
    refusedPath() = QFile::encodeName(path);
}

FailingChmod::~FailingChmod()
{
    refusedPath().clear();
}
