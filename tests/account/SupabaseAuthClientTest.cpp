#include "account/AuthTest.h"

using namespace Qt::StringLiterals;

namespace {

const QString kAlreadyRegistered
    = u"failed: This email is already registered. Try signing in instead."_s;
const QString kWrongPassword
    = u"failed: Wrong email or password. New here? Tap \u201cSign up\u201d below."_s;
const QString kUnconfirmed = u"failed: Please confirm your email first. Check your inbox."_s;

} // namespace

// What each answer of the server turns into.
class SupabaseAuthClientTest final : public AuthTest
{
    Q_OBJECT

private slots:
    void signInSucceedsBelow400_data();
    void signInSucceedsBelow400();
    void sessionIsReadFieldByField_data();
    void sessionIsReadFieldByField();
    void signInFailsFrom400On_data();
    void signInFailsFrom400On();
    void messagesForTheUser_data();
    void messagesForTheUser();
    void refreshIsAnsweredLikeASignIn_data();
    void refreshIsAnsweredLikeASignIn();
    void signUpAnswers_data();
    void signUpAnswers();
    void resetAnswers_data();
    void resetAnswers();
};

void SupabaseAuthClientTest::signInSucceedsBelow400_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {200, 201, 299, 300, 302, 304, 399}) {
        QTest::addRow("%d", status) << status;
    }
}

void SupabaseAuthClientTest::signInSucceedsBelow400()
{
    QFETCH(int, status);
    m_server->answerWith({{status, status == 304 ? QByteArray() : kSession}});
    signIn(*m_client);
    QCOMPARE(outcome(), status == 304 ? kEmptySuccess : kSuccess);
}

void SupabaseAuthClientTest::sessionIsReadFieldByField_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    QTest::newRow("whole") << kSession << kSuccess;
    QTest::newRow("empty object") << "{}"_ba << kEmptySuccess;
    QTest::newRow("nothing") << ""_ba << kEmptySuccess;
    QTest::newRow("no JSON") << "<html>"_ba << kEmptySuccess;
    QTest::newRow("array") << '[' + kSession + ']' << kEmptySuccess;
    QTest::newRow("cut off") << kSession.chopped(1) << kEmptySuccess;
    QTest::newRow("tokens alone") << R"({"access_token":"a","refresh_token":"r"})"_ba
                                  << u"success: a|r|3600||"_s;
    QTest::newRow("tokens that aren't strings")
        << R"({"access_token":1,"refresh_token":null})"_ba << kEmptySuccess;
    QTest::newRow("user is no object")
        << R"({"access_token":"a","user":"u"})"_ba << u"success: a||3600||"_s;
    QTest::newRow("user at the top")
        << R"({"access_token":"a","id":"u","email":"e"})"_ba << u"success: a||3600||"_s;
    QTest::newRow("user of other types")
        << R"({"user":{"id":7,"email":["e"]}})"_ba << kEmptySuccess;
    QTest::newRow("characters beyond ASCII") << R"({"user":{"email":"grüße@example.org"}})"_ba
                                             << u"success: ||3600||grüße@example.org"_s;
    QTest::newRow("whole number with a fraction of zero")
        << R"({"expires_in":60.0})"_ba << u"success: ||60||"_s;
    QTest::newRow("fraction") << R"({"expires_in":1800.5})"_ba << kEmptySuccess;
    QTest::newRow("number in a string") << R"({"expires_in":"1800"})"_ba << kEmptySuccess;
    QTest::newRow("null") << R"({"expires_in":null})"_ba << kEmptySuccess;
    QTest::newRow("beyond integers") << R"({"expires_in":1e300})"_ba << kEmptySuccess;
    QTest::newRow("zero") << R"({"expires_in":0})"_ba << u"success: ||0||"_s;
    QTest::newRow("negative") << R"({"expires_in":-5})"_ba << u"success: ||-5||"_s;
    QTest::newRow("beyond 32 bits")
        << R"({"expires_in":4294967297})"_ba << u"success: ||4294967297||"_s;
}

void SupabaseAuthClientTest::sessionIsReadFieldByField()
{
    QFETCH(QByteArray, body);
    m_server->answerWith({{200, body}});
    signIn(*m_client);
    QTEST(outcome(), "expected");
}

void SupabaseAuthClientTest::signInFailsFrom400On_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {400, 401, 403, 404, 422, 429, 500, 503, 599, 600}) {
        QTest::addRow("%d", status) << status;
    }
}

void SupabaseAuthClientTest::signInFailsFrom400On()
{
    QFETCH(int, status);
    const QByteArray body = R"({"msg":"No luck","access_token":"a"})";
    m_server->answerWith({{status, body}});
    expectHttpWarning(status, body);
    signIn(*m_client);
    QCOMPARE(outcome(), u"failed: No luck"_s);
    QCOMPARE(m_server->requests().size(), 1);
}

void SupabaseAuthClientTest::messagesForTheUser_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    const auto withMessage = [](const QByteArray& message) {
        return R"({"error_description":")" + message + R"("})";
    };

    QTest::newRow("already registered")
        << withMessage("Email ALREADY Registered") << kAlreadyRegistered;
    QTest::newRow("already exists") << withMessage("It already exists.") << kAlreadyRegistered;
    QTest::newRow("user already") << withMessage("User already there") << kAlreadyRegistered;
    QTest::newRow("already alone") << withMessage("Already done") << u"failed: Already done"_s;
    QTest::newRow("wrong password") << withMessage("Invalid login credentials") << kWrongPassword;
    QTest::newRow("any case and order") << withMessage("cReDeNtIaLs are iNVALID") << kWrongPassword;
    QTest::newRow("inside of words") << withMessage("xinvalidx ycredentialsy") << kWrongPassword;
    QTest::newRow("invalid alone") << withMessage("Invalid Grant") << u"failed: Invalid Grant"_s;
    QTest::newRow("credentials alone")
        << withMessage("No Credentials") << u"failed: No Credentials"_s;
    QTest::newRow("unconfirmed") << withMessage("EMAIL not Confirmed") << kUnconfirmed;
    QTest::newRow("anything else keeps its case")
        << withMessage("Rate Limit grüßt") << u"failed: Rate Limit grüßt"_s;

    QTest::newRow("registered before wrong password")
        << withMessage("Invalid credentials: already exists") << kAlreadyRegistered;
    QTest::newRow("registered before unconfirmed")
        << withMessage("Email not confirmed, user already registered") << kAlreadyRegistered;
    QTest::newRow("wrong password before unconfirmed")
        << withMessage("Email not confirmed, invalid credentials") << kWrongPassword;
    QTest::newRow("all three") << withMessage(
        "Email not confirmed, invalid credentials, user already")
                               << kAlreadyRegistered;

    QTest::newRow("msg") << R"({"msg":"From msg"})"_ba << u"failed: From msg"_s;
    QTest::newRow("msg is mapped too")
        << R"({"msg":"User already registered"})"_ba << kAlreadyRegistered;
    QTest::newRow("error_description before msg")
        << R"({"msg":"second","error_description":"First"})"_ba << u"failed: First"_s;
    QTest::newRow("empty error_description gives way")
        << R"({"error_description":"","msg":"Second"})"_ba << u"failed: Second"_s;
    QTest::newRow("error_description of another type gives way")
        << R"({"error_description":7,"msg":"Second"})"_ba << u"failed: Second"_s;
    QTest::newRow("empty msg") << R"({"msg":""})"_ba << u"failed: "_s;
    QTest::newRow("both empty") << R"({"error_description":"","msg":""})"_ba << u"failed: "_s;
    QTest::newRow("msg is a number") << R"({"msg":7})"_ba << u"failed: Authentication failed"_s;
    QTest::newRow("msg is null") << R"({"msg":null})"_ba << u"failed: Authentication failed"_s;
    QTest::newRow("other keys alone")
        << R"({"error":"invalid_grant","message":"m"})"_ba << u"failed: Authentication failed"_s;
    QTest::newRow("empty object") << "{}"_ba << u"failed: Authentication failed"_s;
    QTest::newRow("nothing") << ""_ba << u"failed: Authentication failed"_s;
    QTest::newRow("no JSON") << "already exists"_ba << u"failed: Authentication failed"_s;
    QTest::newRow("array") << R"([{"msg":"m"}])"_ba << u"failed: Authentication failed"_s;
}

void SupabaseAuthClientTest::messagesForTheUser()
{
    QFETCH(QByteArray, body);
    m_server->answerWith({{400, body}});
    expectHttpWarning(400, body);
    signIn(*m_client);
    QTEST(outcome(), "expected");
}

void SupabaseAuthClientTest::refreshIsAnsweredLikeASignIn_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    QTest::newRow("session") << 200 << kSession << kSuccess;
    QTest::newRow("nothing") << 200 << ""_ba << kEmptySuccess;
    QTest::newRow("refused") << 400 << R"({"error_description":"Invalid Refresh Token"})"_ba
                             << u"failed: Invalid Refresh Token"_s;
    QTest::newRow("mapped") << 401 << R"({"msg":"Invalid credentials"})"_ba << kWrongPassword;
}

void SupabaseAuthClientTest::refreshIsAnsweredLikeASignIn()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    m_server->answerWith({{status, body}});
    if (status >= 400) {
        expectHttpWarning(status, body);
    }
    refresh(*m_client);
    QTEST(outcome(), "expected");
}

void SupabaseAuthClientTest::signUpAnswers_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    const QString confirmation = u"confirmation required"_s;
    QTest::newRow("session") << 200 << kSession << kSuccess;
    QTest::newRow("created") << 201 << kSession << kSuccess;
    QTest::newRow("access token alone")
        << 200 << R"({"access_token":"a"})"_ba << u"success: a||3600||"_s;
    QTest::newRow("user alone") << 200 << R"({"user":{"id":"u","email":"e"}})"_ba << confirmation;
    QTest::newRow("refresh token alone") << 200 << R"({"refresh_token":"r"})"_ba << confirmation;
    QTest::newRow("empty access token") << 200 << R"({"access_token":""})"_ba << confirmation;
    QTest::newRow("access token is a number") << 200 << R"({"access_token":7})"_ba << confirmation;
    QTest::newRow("nothing") << 200 << ""_ba << confirmation;
    QTest::newRow("no JSON") << 200 << "<html>"_ba << confirmation;
    QTest::newRow("session below 400") << 399 << kSession << kSuccess;
    QTest::newRow("refused") << 400 << R"({"msg":"Too short"})"_ba << u"failed: Too short"_s;
    QTest::newRow("server error") << 500 << R"({"msg":"Down"})"_ba << u"failed: Down"_s;
    QTest::newRow("refused with a session") << 422 << kSession << u"failed: Sign-up failed"_s;
    QTest::newRow("refused with nothing") << 400 << ""_ba << u"failed: Sign-up failed"_s;
    QTest::newRow("msg is a number") << 400 << R"({"msg":7})"_ba << u"failed: Sign-up failed"_s;
    QTest::newRow("empty msg") << 400 << R"({"msg":""})"_ba << u"failed: "_s;
    QTest::newRow("error_description isn't read")
        << 400 << R"({"error_description":"No"})"_ba << u"failed: Sign-up failed"_s;
    QTest::newRow("registered isn't mapped")
        << 400 << R"({"msg":"User already registered"})"_ba << u"failed: User already registered"_s;
    QTest::newRow("wrong password isn't mapped")
        << 400 << R"({"msg":"Invalid credentials"})"_ba << u"failed: Invalid credentials"_s;
    QTest::newRow("unconfirmed isn't mapped")
        << 400 << R"({"msg":"Email not confirmed"})"_ba << u"failed: Email not confirmed"_s;
}

void SupabaseAuthClientTest::signUpAnswers()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    m_server->answerWith({{status, body}});
    signUp(*m_client);
    QTEST(outcome(), "expected");
}

void SupabaseAuthClientTest::resetAnswers_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    QTest::newRow("accepted") << 200 << "{}"_ba << u"reset sent"_s;
    QTest::newRow("no content") << 204 << ""_ba << u"reset sent"_s;
    QTest::newRow("last of the accepted") << 299 << ""_ba << u"reset sent"_s;
    QTest::newRow("body isn't read")
        << 200 << R"({"msg":"no","error_description":"no"})"_ba << u"reset sent"_s;
    QTest::newRow("first beyond the accepted") << 300 << ""_ba << kResetFailed;
    QTest::newRow("redirect") << 302 << ""_ba << kResetFailed;
    QTest::newRow("refused") << 400 << R"({"msg":"User already registered"})"_ba << kResetFailed;
    QTest::newRow("too many") << 429 << ""_ba << kResetFailed;
    QTest::newRow("server error") << 500 << ""_ba << kResetFailed;
}

void SupabaseAuthClientTest::resetAnswers()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    m_server->answerWith({{status, body}});
    reset(*m_client);
    QTEST(outcome(), "expected");
}

QTEST_GUILESS_MAIN(SupabaseAuthClientTest)
#include "SupabaseAuthClientTest.moc"
