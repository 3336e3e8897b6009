#pragma once

#include <QtGlobal>

// While it lives, a listener on this port can't have more than `most` connections at once: accept()
// fails as it does where the process may open no more descriptors. A real shortage would take what
// the sanitizers need for their own checks.
class FailingAccept final
{
public:
    FailingAccept(quint16 port, int most);
    ~FailingAccept();
    Q_DISABLE_COPY_MOVE(FailingAccept)

    void setMost(int most);
};
