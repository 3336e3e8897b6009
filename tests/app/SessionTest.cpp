#include "app/SessionTest.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlExtensionPlugin>

Q_IMPORT_QML_PLUGIN(TarqLinuxPlugin)

using namespace Qt::StringLiterals;

const QString SessionTest::kLoginTitle = u"Tarq — Sign In"_s;

QByteArray SessionTest::sessionAnswer(
    const QString& accessToken, qint64 expiresIn, const QString& refreshToken)
{
    return QJsonDocument(
        QJsonObject{
            {u"access_token"_s, accessToken},
            {u"refresh_token"_s, refreshToken},
            {u"expires_in"_s, expiresIn},
            {u"user"_s, QJsonObject{{u"id"_s, u"user-1"_s}, {u"email"_s, u"me@example.org"_s}}},
        })
        .toJson();
}

bool SessionTest::isJustBelow(qint64 value, qint64 limit)
{
    return value <= limit && value > limit - 5000;
}

void SessionTest::init()
{
    TarqTest::init();
    // An xdotool that sees no window, and writes down that it was asked.
    const QString tool = homePath(u"bin/xdotool"_s);
    writeFile(tool, "#!/bin/sh\necho asked >> \"$HOME/polls\"\nexit 1\n");
    QVERIFY(QFile::setPermissions(tool, QFile::ReadOwner | QFile::ExeOwner));
    m_path = std::make_unique<ScopedVariable>(
        "PATH", QFile::encodeName(homePath(u"bin"_s)) + ":/usr/bin:/bin");
    m_services = std::make_unique<Services>();
}

void SessionTest::cleanup()
{
    m_services.reset();
    Services::removeRemains();
    m_path.reset();
    TarqTest::cleanup();
}

void SessionTest::store(const QString& accessToken, const QString& refreshToken, qint64 expiresAt)
{
    SettingsStore::AuthTokens tokens;
    tokens.accessToken = accessToken;
    tokens.refreshToken = refreshToken;
    tokens.expiresAt = expiresAt;
    tokens.userId = u"user-1"_s;
    tokens.userEmail = u"me@example.org"_s;
    m_services->settings.saveAuthTokens(tokens);
}

void SessionTest::enter()
{
    store(tokenExpiringIn(3600));
    m_services->session.begin();
    QVERIFY(m_services->overlay.isVisible());
}

void SessionTest::refresh()
{
    refreshTimer()->start(0);
}

bool SessionTest::isPolling() const
{
    return m_services->focusMonitor.findChild<QTimer*>(u"pollTimer"_s)->isActive();
}

bool SessionTest::canDictate()
{
    m_services->pipeline.startRecordingExplicit();
    return m_services->overlay.state() == OverlayStateModel::State::Recording;
}

QTimer* SessionTest::refreshTimer() const
{
    return m_services->session.findChild<QTimer*>(u"refreshTimer"_s);
}

QList<QTimer*> SessionTest::retryTimers() const
{
    return m_services->session.findChildren<QTimer*>(u"retryTimer"_s);
}

bool SessionTest::isLoginShown()
{
    const QList<QWindow*> windows = Services::windowsTitled(kLoginTitle);
    return windows.size() == 1 && windows.first()->isVisible();
}
