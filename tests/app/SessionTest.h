#pragma once

#include "app/Services.h"
#include "support/TarqTest.h"

#include <QByteArray>
#include <QTimer>

#include <memory>

// Base of the tests of a session: all services, with an auth server that the test answers for, and
// an xdotool that sees no window.
class SessionTest : public TarqTest
{
    Q_OBJECT

protected:
    static QByteArray sessionAnswer(const QString& accessToken, qint64 expiresIn = 3600,
        const QString& refreshToken = QStringLiteral("refresh-2"));
    /// For the times of a test that runs a moment after what it looks at.
    static bool isJustBelow(qint64 value, qint64 limit);

    void store(const QString& accessToken,
        const QString& refreshToken = QStringLiteral("refresh-1"), qint64 expiresAt = 0);
    /// Starts with a good session.
    void enter();
    /// Lets the timer fire now.
    void refresh();
    [[nodiscard]] bool isPolling() const;
    [[nodiscard]] bool canDictate();
    [[nodiscard]] QTimer* refreshTimer() const;
    [[nodiscard]] QList<QTimer*> retryTimers() const;
    static bool isLoginShown();

    static const QString kLoginTitle;

    std::unique_ptr<ScopedVariable> m_path;
    std::unique_ptr<Services> m_services;

protected slots:
    void init();
    void cleanup();
};
