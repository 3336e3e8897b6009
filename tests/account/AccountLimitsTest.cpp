#include "account/BrowserTest.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>

using namespace Qt::StringLiterals;

namespace {

constexpr int kTransferLimitMs = 20000;
constexpr int kFlowLimitMs = 120000;
// A coarse timer may be five per cent early, and a loaded machine late.
constexpr int kEarlyMs = 1000;
constexpr int kLateMs = 15000;

} // namespace

// The limits of the account client in real time, all at once: it takes two minutes.
class AccountLimitsTest final : public BrowserTest
{
    Q_OBJECT

private slots:
    void everyRequestEndsAtItsLimit();

private:
    struct Waiting {
        std::unique_ptr<SupabaseAuthClient> client;
        QString outcome;
        qint64 endMs = 0;
    };
    /// Without an answer of the server, from now on.
    void wait(Waiting& waiting, Operation operation);

    QElapsedTimer m_clock;
};

void AccountLimitsTest::wait(Waiting& waiting, Operation operation)
{
    waiting.client = std::make_unique<SupabaseAuthClient>(m_server->url(), u"the-key"_s);
    const auto end = [this, &waiting](const QString& outcome) {
        waiting.outcome += outcome;
        waiting.endMs = m_clock.elapsed();
    };
    connect(waiting.client.get(), &SupabaseAuthClient::authNetworkError, this,
        [end](const QString& error) { end("network error: "_L1 + error); });
    connect(waiting.client.get(), &SupabaseAuthClient::authFailed, this,
        [end](const QString& error) { end("failed: "_L1 + error); });
    connect(waiting.client.get(), &SupabaseAuthClient::authSuccess, this,
        [end]() { end(u"success"_s); });
    connect(waiting.client.get(), &SupabaseAuthClient::emailConfirmationRequired, this,
        [end]() { end(u"confirmation required"_s); });
    connect(waiting.client.get(), &SupabaseAuthClient::passwordResetSent, this,
        [end]() { end(u"reset sent"_s); });
    operation(*waiting.client);
}

void AccountLimitsTest::everyRequestEndsAtItsLimit()
{
    m_server->answerWith(QList<HttpAnswer>(5, noAnswer()));
    m_clock.start();
    Waiting signedIn;
    Waiting refreshed;
    Waiting reminded;
    Waiting exchanged;
    Waiting signedUp;
    Waiting gone;
    wait(signedIn, signIn);
    wait(refreshed, refresh);
    wait(reminded, reset);
    wait(signedUp, signUp);
    wait(exchanged, [](SupabaseAuthClient& client) { client.startOAuth(u"google"_s); });
    QCOMPARE(visit(redirectPort(), get("/callback?code=c")), kSuccessResponse);
    wait(gone, [](SupabaseAuthClient& client) { client.startOAuth(u"github"_s); });
    const quint16 port = redirectPort();
    const auto early = connectTo(port);

    for (int i = 0; i < 3; ++i) {
        QTest::ignoreMessage(QtWarningMsg, "Auth network error: Operation canceled");
    }
    const auto hasEnded = [](const Waiting& waiting) {
        return !waiting.outcome.isEmpty();
    };
    QTRY_VERIFY_WITH_TIMEOUT(
        hasEnded(signedIn) && hasEnded(refreshed) && hasEnded(reminded) && hasEnded(exchanged),
        kTransferLimitMs + kLateMs);
    for (const Waiting* waiting : {&signedIn, &refreshed, &reminded, &exchanged}) {
        QVERIFY2(waiting->endMs >= kTransferLimitMs - kEarlyMs,
            qPrintable(QString::number(waiting->endMs)));
    }
    QVERIFY(!hasEnded(gone));

    QTest::ignoreMessage(
        QtWarningMsg, "OAuth: timed out waiting for callback (browser may have been blocked)");
    QTRY_VERIFY_WITH_TIMEOUT(hasEnded(gone), kFlowLimitMs + kLateMs);
    QVERIFY2(gone.endMs >= kFlowLimitMs - kEarlyMs, qPrintable(QString::number(gone.endMs)));
    QVERIFY(isRefused(port));

    const QString canceled = u"network error: Operation canceled"_s;
    QCOMPARE(signedIn.outcome, canceled);
    QCOMPARE(refreshed.outcome, canceled);
    QCOMPARE(reminded.outcome, kResetFailed);
    QCOMPARE(exchanged.outcome, canceled);
    QCOMPARE(gone.outcome, kTimedOut);
    // A sign-up waits for as long as it takes.
    QCOMPARE(signedUp.outcome, QString());
    QCOMPARE(m_server->requests().size(), 5);
}

QTEST_MAIN(AccountLimitsTest)
#include "AccountLimitsTest.moc"
