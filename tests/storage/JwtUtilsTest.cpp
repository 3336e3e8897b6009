#include "storage/JwtUtils.h"
#include "support/TarqTest.h"

#include <QDateTime>

#include <limits>

using namespace Qt::StringLiterals;

class JwtUtilsTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void claimsAreDecoded();
    void urlAlphabetAndMissingPaddingAreDecoded_data();
    void urlAlphabetAndMissingPaddingAreDecoded();
    void signatureIsntLookedAt();
    void textWithoutClaimsGivesNone_data();
    void textWithoutClaimsGivesNone();
    void expiryIsTheClaimInMilliseconds_data();
    void expiryIsTheClaimInMilliseconds();
    void tokenExpiresByItsClaimAndTheLeeway_data();
    void tokenExpiresByItsClaimAndTheLeeway();
    void tokenThatDoesntTellItsExpiryIsExpired_data();
    void tokenThatDoesntTellItsExpiryIsExpired();
};

void JwtUtilsTest::claimsAreDecoded()
{
    const QJsonObject claims
        = JwtUtils::decodePayload(tokenWithClaims(R"({"exp":7,"email":"müller@example.org"})"));
    QCOMPARE(claims.value("exp"_L1).toInteger(), 7);
    QCOMPARE(claims.value("email"_L1).toString(), u"müller@example.org"_s);
}

void JwtUtilsTest::urlAlphabetAndMissingPaddingAreDecoded_data()
{
    QTest::addColumn<QString>("payload");
    QTest::addColumn<QString>("value");

    QTest::newRow("no sign missing") << u"eyJhIjoieHh4eCJ9"_s << u"xxxx"_s;
    QTest::newRow("one sign missing") << u"eyJhIjoieHgifSA"_s << u"xx"_s;
    QTest::newRow("two signs missing") << u"eyJhIjoieHh4eCJ9IA"_s << u"xxxx"_s;
    QTest::newRow("padded") << u"eyJhIjoieHgifSA="_s << u"xx"_s;
    QTest::newRow("hyphen for plus") << u"eyJhIjoifn5-In0"_s << u"~~~"_s;
    QTest::newRow("underscore for slash") << u"eyJhIjoiPz8_In0"_s << u"???"_s;
    QTest::newRow("plus") << u"eyJhIjoifn5+In0"_s << u"~~~"_s;
    QTest::newRow("slash") << u"eyJhIjoiPz8/In0"_s << u"???"_s;
}

void JwtUtilsTest::urlAlphabetAndMissingPaddingAreDecoded()
{
    QFETCH(const QString, payload);
    const QJsonObject claims = JwtUtils::decodePayload(u"h."_s + payload + u".s"_s);
    QTEST(claims.value("a"_L1).toString(), "value");
}

void JwtUtilsTest::signatureIsntLookedAt()
{
    const QString token = tokenWithClaims("{\"exp\":7}"_ba);
    const QString unsignedToken = token.first(token.lastIndexOf(u'.'));
    QCOMPARE(JwtUtils::expiryMs(unsignedToken), 7000);
    QCOMPARE(JwtUtils::expiryMs(unsignedToken + u".forged.and.more"_s), 7000);
    QCOMPARE(JwtUtils::expiryMs(u".eyJleHAiOjd9"_s), 7000);
}

void JwtUtilsTest::textWithoutClaimsGivesNone_data()
{
    QTest::addColumn<QString>("token");

    QTest::newRow("empty") << QString();
    QTest::newRow("one part") << u"eyJleHAiOjd9"_s;
    QTest::newRow("empty second part") << u"a."_s;
    QTest::newRow("two dots") << u".."_s;
    QTest::newRow("not base64") << u"a.!!!!.c"_s;
    QTest::newRow("not ASCII") << u"a.äöü€.c"_s;
    QTest::newRow("not JSON") << u"a.Z2FyYmFnZQ.c"_s;
    QTest::newRow("array") << tokenWithClaims("[{\"exp\":7}]"_ba);
    QTest::newRow("string") << tokenWithClaims("\"exp\""_ba);
    QTest::newRow("truncated object") << tokenWithClaims("{\"exp\":7"_ba);
    QTest::newRow("nested too deep") << tokenWithClaims("{\"a\":"_ba + QByteArray(100000, '['));
    QTest::newRow("some megabytes") << u"a."_s + QString(3000000, u'x');
    QTest::newRow("a million dots") << QString(1000000, u'.');
}

void JwtUtilsTest::textWithoutClaimsGivesNone()
{
    QFETCH(const QString, token);
    QVERIFY(JwtUtils::decodePayload(token).isEmpty());
    QCOMPARE(JwtUtils::expiryMs(token), 0);
    QVERIFY(JwtUtils::isExpired(token, 0));
}

void JwtUtilsTest::expiryIsTheClaimInMilliseconds_data()
{
    QTest::addColumn<QByteArray>("claims");
    QTest::addColumn<qint64>("expiry");

    constexpr qint64 kEdge = std::numeric_limits<qint64>::max() / 1000 * 1000;
    QTest::newRow("integer") << "{\"exp\":1700000000}"_ba << qint64(1700000000000);
    QTest::newRow("integer with a point") << "{\"exp\":1700000000.0}"_ba << qint64(1700000000000);
    QTest::newRow("integer with an exponent") << "{\"exp\":17e8}"_ba << qint64(1700000000000);
    QTest::newRow("negative") << "{\"exp\":-1}"_ba << qint64(-1000);
    QTest::newRow("zero") << "{\"exp\":0}"_ba << qint64(0);
    QTest::newRow("fraction") << "{\"exp\":1700000000.5}"_ba << qint64(0);
    QTest::newRow("string") << "{\"exp\":\"1700000000\"}"_ba << qint64(0);
    QTest::newRow("bool") << "{\"exp\":true}"_ba << qint64(0);
    QTest::newRow("null") << "{\"exp\":null}"_ba << qint64(0);
    QTest::newRow("missing") << "{\"iat\":1700000000}"_ba << qint64(0);
    QTest::newRow("other case") << "{\"EXP\":1700000000}"_ba << qint64(0);
    QTest::newRow("beyond milliseconds") << "{\"exp\":9223372036854776}"_ba << kEdge;
    QTest::newRow("largest integer") << "{\"exp\":9223372036854775807}"_ba << kEdge;
    QTest::newRow("smallest integer") << "{\"exp\":-9223372036854775808}"_ba << -kEdge;
    QTest::newRow("beyond integers") << "{\"exp\":1e300}"_ba << qint64(0);
}

void JwtUtilsTest::expiryIsTheClaimInMilliseconds()
{
    QFETCH(const QByteArray, claims);
    QTEST(JwtUtils::expiryMs(tokenWithClaims(claims)), "expiry");
}

void JwtUtilsTest::tokenExpiresByItsClaimAndTheLeeway_data()
{
    QTest::addColumn<qint64>("secondsLeft");
    QTest::addColumn<qint64>("leewayMs");
    QTest::addColumn<bool>("expired");

    QTest::newRow("an hour left") << qint64(3600) << qint64(0) << false;
    QTest::newRow("a minute ago") << qint64(-60) << qint64(0) << true;
    QTest::newRow("now") << qint64(0) << qint64(0) << true;
    QTest::newRow("less left than the leeway") << qint64(240) << qint64(300000) << true;
    QTest::newRow("just the leeway left") << qint64(300) << qint64(300000) << true;
    QTest::newRow("more left than the leeway") << qint64(360) << qint64(300000) << false;
    QTest::newRow("a minute ago, negative leeway") << qint64(-60) << qint64(-120000) << false;
}

void JwtUtilsTest::tokenExpiresByItsClaimAndTheLeeway()
{
    QFETCH(const qint64, secondsLeft);
    QFETCH(const qint64, leewayMs);
    QTEST(JwtUtils::isExpired(tokenExpiringIn(secondsLeft), leewayMs), "expired");
}

void JwtUtilsTest::tokenThatDoesntTellItsExpiryIsExpired_data()
{
    QTest::addColumn<QByteArray>("claims");
    QTest::addColumn<bool>("expired");

    QTest::newRow("missing") << "{}"_ba << true;
    QTest::newRow("string") << "{\"exp\":\"4102444800\"}"_ba << true;
    QTest::newRow("fraction") << "{\"exp\":4102444800.25}"_ba << true;
    QTest::newRow("negative") << "{\"exp\":-4102444800}"_ba << true;
    QTest::newRow("smallest integer") << "{\"exp\":-9223372036854775808}"_ba << true;
    QTest::newRow("year 2100") << "{\"exp\":4102444800}"_ba << false;
    QTest::newRow("largest integer") << "{\"exp\":9223372036854775807}"_ba << false;
}

void JwtUtilsTest::tokenThatDoesntTellItsExpiryIsExpired()
{
    QFETCH(const QByteArray, claims);
    QTEST(JwtUtils::isExpired(tokenWithClaims(claims), 300000), "expired");
}

QTEST_GUILESS_MAIN(JwtUtilsTest)
#include "JwtUtilsTest.moc"
