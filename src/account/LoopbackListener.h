#pragma once

#include <QSocketNotifier>
#include <QTcpServer>
#include <QTimer>

class QTcpSocket;

// A port of this machine that the browser is sent back to. Every connection is announced by
// accepted(), and is a child of the listener. Where the process has no descriptor left for a
// connection that waits, a QTcpServer asks for it again at every turn of the event loop; this one
// asks ten times a second.
class LoopbackListener final : public QTcpServer
{
    Q_OBJECT

public:
    explicit LoopbackListener(QObject* parent = nullptr);

    /// Takes a port of the system's choice.
    [[nodiscard]] bool start();
    /// The connections that were accepted stay.
    void stop();
    /// Whether a connection has ever had to wait for a descriptor.
    [[nodiscard]] bool hasRunOut() const { return m_hasRunOut; }

signals:
    void accepted(QTcpSocket* socket);
    /// A connection has waited for a descriptor for a tenth of a second. Those that are freed now
    /// are used at once.
    void outOfDescriptors();

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    bool listenLocally();
    bool acceptWaiting();
    void acceptAgain();

    QSocketNotifier m_waiting{QSocketNotifier::Read, this};
    QTimer m_retryTimer{this};
    bool m_hasAccepted = false; // during one acceptWaiting()
    bool m_hasRunOut = false;
};
