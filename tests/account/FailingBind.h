#pragma once

#include <QStringList>

// While it lives, bind() to any of these addresses fails as it does where no interface has them.
// Taking the loopback interface's addresses away for real would take a network namespace.
class FailingBind final
{
public:
    explicit FailingBind(const QStringList& addresses);
    ~FailingBind();
    Q_DISABLE_COPY_MOVE(FailingBind)
};
