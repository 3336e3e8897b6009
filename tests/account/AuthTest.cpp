#include "account/AuthTest.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace {

QString textOf(const SupabaseAuthClient::Session& session)
{
    return QStringList{session.accessToken, session.refreshToken,
        QString::number(session.expiresIn), session.userId, session.email}
        .join(u'|');
}

} // namespace

const QByteArray AuthTest::kSession
    = R"({"access_token":"the-access-token","expires_in":1800,)"
      R"("refresh_token":"the-refresh-token","user":{"email":"me@example.org","id":"user-1"}})";
const QString AuthTest::kSuccess
    = u"success: the-access-token|the-refresh-token|1800|user-1|me@example.org"_s;
const QString AuthTest::kEmptySuccess = u"success: ||3600||"_s;
const QString AuthTest::kResetFailed = u"failed: Could not send reset email"_s;

void AuthTest::init()
{
    TarqTest::init();
    m_outcomes.clear();
    m_server = std::make_unique<HttpServer>();
    useClient(std::make_unique<SupabaseAuthClient>(m_server->url(), u"the-key"_s));
}

void AuthTest::useClient(std::unique_ptr<SupabaseAuthClient> client)
{
    m_client = std::move(client);
    connect(m_client.get(), &SupabaseAuthClient::authSuccess, this,
        [this](const SupabaseAuthClient::Session& session) {
            m_outcomes << "success: "_L1 + textOf(session);
        });
    connect(m_client.get(), &SupabaseAuthClient::authFailed, this,
        [this](const QString& error) { m_outcomes << "failed: "_L1 + error; });
    connect(m_client.get(), &SupabaseAuthClient::authNetworkError, this,
        [this](const QString& error) { m_outcomes << "network error: "_L1 + error; });
    connect(m_client.get(), &SupabaseAuthClient::emailConfirmationRequired, this,
        [this]() { m_outcomes << u"confirmation required"_s; });
    connect(m_client.get(), &SupabaseAuthClient::passwordResetSent, this,
        [this]() { m_outcomes << u"reset sent"_s; });
}

void AuthTest::cleanup()
{
    m_client.reset();
    m_server.reset();
    TarqTest::cleanup();
}

void AuthTest::signIn(SupabaseAuthClient& client)
{
    client.signInWithEmail(u"me@example.org"_s, u"the-password"_s);
}

void AuthTest::signUp(SupabaseAuthClient& client)
{
    client.signUpWithEmail(u"me@example.org"_s, u"the-password"_s);
}

void AuthTest::refresh(SupabaseAuthClient& client)
{
    client.refreshSession(u"the-old-refresh-token"_s);
}

void AuthTest::reset(SupabaseAuthClient& client)
{
    client.resetPassword(u"me@example.org"_s);
}

void AuthTest::addOperations()
{
    QTest::addColumn<Operation>("operation");
    QTest::newRow("sign in") << Operation(signIn);
    QTest::newRow("sign up") << Operation(signUp);
    QTest::newRow("refresh") << Operation(refresh);
    QTest::newRow("reset") << Operation(reset);
}

HttpAnswer AuthTest::noAnswer()
{
    HttpAnswer answer;
    answer.silent = true;
    return answer;
}

HttpAnswer AuthTest::droppedConnection()
{
    HttpAnswer answer;
    answer.drop = true;
    return answer;
}

HttpAnswer AuthTest::rawAnswer(const QByteArray& bytes)
{
    HttpAnswer answer;
    answer.raw = bytes;
    return answer;
}

void AuthTest::expectHttpWarning(int status, const QByteArray& body)
{
    const QByteArray line = "Auth HTTP " + QByteArray::number(status) + " response: " + body;
    QTest::ignoreMessage(QtWarningMsg, line.constData());
}

QString AuthTest::outcome()
{
    if (!QTest::qWaitFor([this]() { return !m_outcomes.isEmpty(); })) {
        return u"(nothing)"_s;
    }
    // A second signal would have been queued behind the first.
    QCoreApplication::processEvents();
    return m_outcomes.join(u" | "_s);
}
