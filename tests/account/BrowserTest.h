#pragma once

#include "account/AuthTest.h"

#include <QList>
#include <QUrl>

#include <chrono>

class QTcpServer;
class QTcpSocket;

// Base of the tests of the sign-in by browser. The test gets the page to open in the browser's
// place, and comes back to the client's port by sockets of its own. Each test fails if it leaves a
// descriptor open.
class BrowserTest : public AuthTest
{
    Q_OBJECT

public:
    /// Called by QDesktopServices.
    Q_INVOKABLE void open(const QUrl& url) { m_opened.append(url); }

protected:
    /// From the next flow on.
    void setTimeout(std::chrono::milliseconds timeout);
    /// Starts a sign-in, and returns the port that the page is told to come back to.
    quint16 startFlow();
    [[nodiscard]] quint16 redirectPort() const;
    [[nodiscard]] QByteArray challenge() const;
    /// What the challenge must be for a verifier (RFC 7636, S256).
    static QByteArray challengeFor(const QByteArray& verifier);
    /// The verifier in the request that exchanges a code for a session.
    static QByteArray exchangedVerifier(const HttpRequest& request);
    /// The latest flow's.
    [[nodiscard]] const QTcpServer* listener() const;
    [[nodiscard]] qsizetype acceptedSockets() const;

    static QByteArray get(const QByteArray& path);
    static std::unique_ptr<QTcpSocket> connectTo(quint16 port);
    /// Everything that comes until the other side closes.
    static QByteArray readToEnd(QTcpSocket& socket);
    /// Sends the bytes on a connection of their own, and returns the answer.
    static QByteArray visit(quint16 port, const QByteArray& request);
    static bool isRefused(quint16 port);

    static constexpr auto kBase64Url
        = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;
    static const QByteArray kSuccessResponse;
    static const QByteArray kFailureResponse;
    static const QString kCancelled;
    static const QString kTimedOut;

    QList<QUrl> m_opened;

protected slots:
    void initTestCase();
    void init();
    void cleanup();

private:
    qsizetype m_descriptors = 0;
};
