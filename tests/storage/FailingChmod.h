#pragma once

#include <QString>

// While it lives, chmod() refuses the one path with EPERM, as it does for a file of somebody else.
// The real refusal can't be had on demand: root, who runs the tests in a container, may do
// anything.
class FailingChmod final
{
public:
    explicit FailingChmod(const QString& path);
    ~FailingChmod();
    Q_DISABLE_COPY_MOVE(FailingChmod)
};
