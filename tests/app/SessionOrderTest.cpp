#include "app/Services.h"
#include "support/TarqTest.h"

#include <QDateTime>
#include <QEvent>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlExtensionPlugin>
#include <QSet>
#include <QTimer>

Q_IMPORT_QML_PLUGIN(TarqLinuxPlugin)

using namespace Qt::StringLiterals;

namespace {

constexpr int kBubbleWidth = 138;
constexpr qint64 kHourMs = 3'600'000;
constexpr qint64 kRefreshLeadMs = 300'000;

QByteArray sessionAnswer(const QString& accessToken)
{
    return QJsonDocument(
        QJsonObject{
            {u"access_token"_s, accessToken},
            {u"refresh_token"_s, u"refresh-2"_s},
            {u"expires_in"_s, 3600},
            {u"user"_s, QJsonObject{{u"id"_s, u"user-1"_s}, {u"email"_s, u"new@example.org"_s}}},
        })
        .toJson();
}

// Empty for a window whose coming and going doesn't matter here.
QString nameOf(const QWindow& window)
{
    if (window.title() == u"Tarq"_s) {
        return window.width() == kBubbleWidth ? u"bubble"_s : u"history"_s;
    }
    if (window.title() == u"Tarq — Sign In"_s) {
        return u"login"_s;
    }
    return window.title() == u"Tarq — Profile"_s ? u"profile"_s : QString();
}

} // namespace

// In which order a session comes and goes. Every step that shows is written down with what doesn't
// show and holds by then: the stored refresh token, the key of the pipeline, the polling of the
// focus, the timer of the next refresh, and a request to the worker. There is no microphone.
class SessionOrderTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void startWithASession();
    void firstSignIn();
    void refreshOfARunningSession();
    void signInAfterASignOut();
    void signOut();
    void refusedToken();
    void retryIsThirtySecondsAway();

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void enter();
    void signIn();
    void writeDown(const QString& step);
    [[nodiscard]] bool hasKey();
    static bool isAsking();
    [[nodiscard]] QTimer* refreshTimer() const;

    std::unique_ptr<ScopedVariable> m_path;
    std::unique_ptr<Services> m_services;
    QStringList m_steps;
    QSet<QString> m_shown; // windows
    bool m_asksForKey = false;
};

void SessionOrderTest::init()
{
    TarqTest::init();
    const QString tool = homePath(u"bin/xdotool"_s);
    writeFile(tool, "#!/bin/sh\nexit 1\n");
    QVERIFY(QFile::setPermissions(tool, QFile::ReadOwner | QFile::ExeOwner));
    m_path = std::make_unique<ScopedVariable>(
        "PATH", QFile::encodeName(homePath(u"bin"_s)) + ":/usr/bin:/bin");
    m_services = std::make_unique<Services>();

    const OverlayStateModel& overlay = m_services->overlay;
    connect(&overlay, &OverlayStateModel::userEmailChanged, this,
        [&]() { writeDown("address "_L1 + overlay.userEmail()); });
    connect(&overlay, &OverlayStateModel::visibleChanged, this,
        [&]() { writeDown(overlay.isVisible() ? u"signed in"_s : u"signed out"_s); });
    connect(&overlay, &OverlayStateModel::lastErrorChanged, this, [&]() {
        if (!m_asksForKey) {
            writeDown("error "_L1 + overlay.lastError());
        }
    });
    qApp->installEventFilter(this);
}

void SessionOrderTest::cleanup()
{
    qApp->removeEventFilter(this);
    m_services.reset();
    Services::removeRemains();
    m_path.reset();
    m_steps.clear();
    m_shown.clear();
    TarqTest::cleanup();
}

bool SessionOrderTest::eventFilter(QObject* object, QEvent* event)
{
    const auto* window = qobject_cast<QWindow*>(object);
    const QString name = window != nullptr ? nameOf(*window) : QString();
    if (!name.isEmpty() && event->type() == QEvent::Show) {
        // Once it is there, the bubble follows the model.
        if (name != u"bubble"_s || !m_shown.contains(name)) {
            writeDown(name + " shown"_L1);
        }
        m_shown.insert(name);
    }
    if (event->type() == QEvent::Hide && name != u"bubble"_s && m_shown.remove(name)) {
        writeDown(name + " hidden"_L1);
    }
    return false;
}

// A session that was stored an hour before its end.
void SessionOrderTest::enter()
{
    SettingsStore::AuthTokens tokens;
    tokens.accessToken = tokenExpiringIn(3600);
    tokens.refreshToken = u"refresh-1"_s;
    tokens.expiresAt = QDateTime::currentMSecsSinceEpoch() + kHourMs;
    tokens.userEmail = u"old@example.org"_s;
    m_services->settings.saveAuthTokens(tokens);
    m_services->session.begin();
}

void SessionOrderTest::signIn()
{
    m_services->authServer.answerWith({{200, sessionAnswer(tokenExpiringIn(3600))}});
    QSignalSpy success(&m_services->auth, &SupabaseAuthClient::authSuccess);
    m_services->auth.signInWithEmail(u"me@example.org"_s, u"correct horse"_s);
    QVERIFY(success.wait());
}

void SessionOrderTest::writeDown(const QString& step)
{
    QStringList facts{step};
    facts << m_services->settings.loadAuthTokens().refreshToken;
    facts << (hasKey() ? u"key"_s : QString());
    const auto* polls = m_services->focusMonitor.findChild<QTimer*>(u"pollTimer"_s);
    facts << (polls->isActive() ? u"polling"_s : QString());
    facts << (refreshTimer()->isActive() ? u"timer"_s : QString());
    facts << (isAsking() ? u"request"_s : QString());
    facts.removeAll(QString());
    m_steps << facts.join(u", "_s);
}

// Only a pipeline that has a key gets as far as looking for a microphone.
bool SessionOrderTest::hasKey()
{
    OverlayStateModel& overlay = m_services->overlay;
    const QString error = overlay.lastError();
    m_asksForKey = true;
    const auto handler
        = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    m_services->pipeline.startRecordingExplicit();
    qInstallMessageHandler(handler);
    const bool has = overlay.lastError() == u"No audio input device is available."_s;
    overlay.setLastError(error);
    m_asksForKey = false;
    return has;
}

// Whether a request to the worker is under way.
bool SessionOrderTest::isAsking()
{
    return !qApp->findChildren<QNetworkAccessManager*>(Qt::FindDirectChildrenOnly).isEmpty();
}

QTimer* SessionOrderTest::refreshTimer() const
{
    return m_services->session.findChild<QTimer*>(u"refreshTimer"_s);
}

void SessionOrderTest::startWithASession()
{
    enter();
    QCOMPARE(m_steps,
        (QStringList{
            u"address old@example.org, refresh-1, key"_s,
            u"signed in, refresh-1, key"_s,
            u"bubble shown, refresh-1, key"_s,
        }));
    QVERIFY(refreshTimer()->isActive());
}

void SessionOrderTest::firstSignIn()
{
    m_services->session.begin();
    QCOMPARE(m_steps, QStringList{u"login shown"_s});
    m_steps.clear();
    // The window hears of the sign-in last, and is still there to hear of it.
    connect(&m_services->auth, &SupabaseAuthClient::authSuccess, this,
        [this]() { writeDown(u"window told"_s); });
    signIn();
    QCOMPARE(m_steps,
        (QStringList{
            u"login hidden, refresh-2, key"_s,
            u"address new@example.org, refresh-2, key"_s,
            u"signed in, refresh-2, key"_s,
            u"bubble shown, refresh-2, key"_s,
            u"window told, refresh-2, key, polling, timer"_s,
        }));
}

void SessionOrderTest::refreshOfARunningSession()
{
    enter();
    m_steps.clear();
    m_services->authServer.answerWith({{200, sessionAnswer(tokenExpiringIn(7200))}});
    refreshTimer()->start(0);
    QTRY_COMPARE(m_steps.size(), 1);
    QCOMPARE(m_steps, QStringList{u"address new@example.org, refresh-2, key, polling"_s});
    QVERIFY(refreshTimer()->isActive());
}

void SessionOrderTest::signInAfterASignOut()
{
    enter();
    m_services->overlay.requestLogout();
    QTRY_VERIFY(!isAsking());
    m_steps.clear();
    signIn();
    QCOMPARE(m_steps,
        (QStringList{
            u"login hidden, refresh-2, key, polling"_s,
            u"address new@example.org, refresh-2, key, polling"_s,
            u"signed in, refresh-2, key, polling"_s,
        }));
    QVERIFY(refreshTimer()->isActive());
}

void SessionOrderTest::signOut()
{
    enter();
    m_services->windows.showHistory();
    m_services->windows.showProfile();
    m_steps.clear();
    m_services->overlay.requestLogout();
    QCOMPARE(m_steps,
        (QStringList{
            u"address , polling, timer, request"_s,
            u"signed out, polling, request"_s,
            u"history hidden, polling, request"_s,
            u"profile hidden, polling, request"_s,
            u"login shown, polling, request"_s,
        }));
}

void SessionOrderTest::refusedToken()
{
    enter();
    m_services->windows.showHistory();
    m_services->windows.showProfile();
    m_steps.clear();
    emit m_services->pipeline.authRequired();
    QCOMPARE(m_steps,
        (QStringList{
            u"address , polling, timer"_s,
            u"error Session expired — sign in again., polling"_s,
            u"signed out, polling"_s,
            u"history hidden, polling"_s,
            u"login shown, polling"_s,
        }));
}

void SessionOrderTest::retryIsThirtySecondsAway()
{
    enter();
    const int toRefresh = refreshTimer()->interval();
    QVERIFY2(toRefresh > 0 && toRefresh <= kHourMs - kRefreshLeadMs, QByteArray::number(toRefresh));
    QVERIFY(refreshTimer()->isSingleShot());

    m_services->authServer.close();
    QTest::ignoreMessage(QtWarningMsg, "Auth network error: Connection refused");
    QTest::ignoreMessage(QtWarningMsg,
        "Auth network error (transient): Connection refused — will retry, keeping session");
    QSignalSpy lost(&m_services->auth, &SupabaseAuthClient::authNetworkError);
    m_services->auth.refreshSession(u"refresh-1"_s);
    QVERIFY(lost.wait());
    const auto* retry = m_services->session.findChild<QTimer*>(u"retryTimer"_s);
    QVERIFY(retry);
    QVERIFY(retry->isActive());
    QVERIFY(retry->isSingleShot());
    QCOMPARE(retry->interval(), 30'000);
    // A coarse timer may be five per cent late.
    QVERIFY(retry->remainingTime() <= 31'500);
    // The refresh that was due anyway stays due.
    QVERIFY(refreshTimer()->isActive());
    QCOMPARE(refreshTimer()->interval(), toRefresh);
}

QTEST_MAIN(SessionOrderTest)
#include "SessionOrderTest.moc"
