#include "FuzzSupport.h"
#include "account/SupabaseAuthClient.h"
#include "support/HttpServer.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

// A client, the project's server, and how the request in hand has ended.
struct Account {
    Account()
    {
        QObject::connect(&client, &SupabaseAuthClient::authSuccess,
            [this](const SupabaseAuthClient::Session& session) {
                outcomes << u"success"_s;
                accessToken = session.accessToken;
            });
        QObject::connect(&client, &SupabaseAuthClient::authFailed, [this](const QString& message) {
            outcomes << u"failed"_s;
            error = message;
        });
        QObject::connect(
            &client, &SupabaseAuthClient::authNetworkError, [this](const QString& message) {
                outcomes << u"network error"_s;
                error = message;
            });
        QObject::connect(&client, &SupabaseAuthClient::emailConfirmationRequired,
            [this]() { outcomes << u"confirmation"_s; });
        QObject::connect(&client, &SupabaseAuthClient::passwordResetSent,
            [this]() { outcomes << u"reset sent"_s; });
    }

    void request(char operation)
    {
        outcomes.clear();
        accessToken.clear();
        error.clear();
        switch (operation) {
        case 'u':
            client.signUpWithEmail(u"me@example.org"_s, u"secret"_s);
            break;
        case 'r':
            client.refreshSession(u"the-refresh-token"_s);
            break;
        case 'p':
            client.resetPassword(u"me@example.org"_s);
            break;
        default:
            client.signInWithEmail(u"me@example.org"_s, u"secret"_s);
            break;
        }
    }

    HttpServer server;
    SupabaseAuthClient client{server.url(), u"anon"_s};
    QStringList outcomes;
    QString accessToken;
    QString error;
};

bool hasBody(int status)
{
    return status >= 200 && status <= 599 && status != 204 && status != 304;
}

} // namespace

// The input's first line is the operation (u, r, p or any other letter) and the status, or 0 for a
// connection that is closed without an answer; the rest is the body.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Account account;
    const QByteArray input = Fuzz::bytes(data, size);
    const qsizetype lineEnd = input.indexOf('\n');
    const char operation = input.isEmpty() ? 'i' : input.front();
    const QByteArray chosen = input.mid(1, lineEnd - 1);
    const int status = chosen == "0" || hasBody(chosen.toInt()) ? chosen.toInt() : 400;
    const QByteArray body = input.mid(lineEnd + 1);
    HttpAnswer answer;
    answer.status = status;
    answer.body = body;
    answer.drop = status == 0;
    // A request whose connection is closed too early is sent again.
    account.server.answerWith(QList<HttpAnswer>(8, answer));

    account.request(operation);
    Fuzz::waitUntil([]() { return !account.outcomes.isEmpty(); });
    Fuzz::settle();
    Fuzz::require(account.outcomes.size() == 1, "exactly one signal for each answer");
    const QString outcome = account.outcomes.first();
    const QJsonObject object = QJsonDocument::fromJson(body).object();
    Fuzz::require(outcome != "network error"_L1 || status == 0, "an answer is no network error");
    // An error without words is told as the server sent it.
    const bool isWordless = status >= 400 && object["msg"_L1] == u""_s;
    Fuzz::require(!outcome.endsWith("failed"_L1) || !account.error.isEmpty() || isWordless,
        "a failure has words");
    Fuzz::require(status < 400 || outcome == "failed"_L1, "a refusal is a failure");
    Fuzz::require(
        outcome != "success"_L1 || account.accessToken == object["access_token"_L1].toString(),
        "the token is the server's");
    return 0;
}
