#include "account/LoopbackListener.h"

#include <QDebug>
#include <QTcpSocket>

namespace {

constexpr int kRetryMs = 100;

} // namespace

LoopbackListener::LoopbackListener(QObject* parent)
    : QTcpServer(parent)
{
    m_retryTimer.setSingleShot(true);
    m_retryTimer.setInterval(kRetryMs);
    connect(&m_waiting, &QSocketNotifier::activated, this, &LoopbackListener::acceptWaiting);
    connect(&m_retryTimer, &QTimer::timeout, this, &LoopbackListener::acceptAgain);
}

bool LoopbackListener::start()
{
    if (!listenLocally()) {
        return false;
    }
    pauseAccepting();
    m_waiting.setSocket(socketDescriptor());
    m_waiting.setEnabled(true);
    return true;
}

void LoopbackListener::stop()
{
    m_retryTimer.stop();
    m_waiting.setEnabled(false);
    close();
}

void LoopbackListener::incomingConnection(qintptr descriptor)
{
    m_hasAccepted = true;
    auto* socket = new QTcpSocket(this);
    socket->setSocketDescriptor(descriptor);
    emit accepted(socket);
}

// The redirect always names 127.0.0.1: the other addresses are for machines whose 127.0.0.1 leads
// there.
bool LoopbackListener::listenLocally()
{
    if (listen(QHostAddress::LocalHost)) {
        return true;
    }
    qWarning().noquote() << "OAuth: failed to bind 127.0.0.1 — trying ::1 ...";
    if (listen(QHostAddress::LocalHostIPv6)) {
        return true;
    }
    qWarning().noquote() << "OAuth: failed to bind ::1 — trying any local ...";
    return listen(QHostAddress::Any);
}

// Returns false if a connection is left that can't be accepted, and asks for it later.
bool LoopbackListener::acceptWaiting()
{
    m_hasAccepted = false;
    const bool stuck = waitForNewConnection(0) && !m_hasAccepted;
    m_waiting.setEnabled(isListening() && !stuck);
    if (stuck) {
        if (!m_hasRunOut) {
            qWarning().noquote() << "OAuth: no descriptor left for a connection";
        }
        m_hasRunOut = true;
        m_retryTimer.start();
    }
    return !stuck;
}

void LoopbackListener::acceptAgain()
{
    if (!acceptWaiting()) {
        emit outOfDescriptors();
        acceptWaiting();
    }
}
