#include "storage/SettingsStore.h"
#include "support/TarqTest.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaMethod>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

SettingsStore::AuthTokens sampleTokens()
{
    return {u"access"_s, u"refresh"_s, 1700000000123, u"user-1"_s, u"müller@example.org"_s};
}

} // namespace

class AuthTokensTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void fileWithOnlyTheModelGivesAnEmptyRecord();
    void savedTokensComeBack();
    void saveKeepsTheModelAndEveryOtherKey();
    void saveWritesSortedAndIndented();
    void clearedRecordStaysAsEmptyValues();
    void savedFileIsPrivate();
    void nothingIsCachedInMemory();
    void wrongTypesLoadAsEmptyFieldByField_data();
    void wrongTypesLoadAsEmptyFieldByField();
    void expiryInMillisecondsKeepsItsValue_data();
    void expiryInMillisecondsKeepsItsValue();
    void unreadableFileLoadsAsAnEmptyRecord_data();
    void unreadableFileLoadsAsAnEmptyRecord();
    void corruptFileIsReplacedAtSaveWithoutItsModel_data();
    void corruptFileIsReplacedAtSaveWithoutItsModel();
    void missingFileIsMadeAtSave();
    void failedSaveIsSilentAndKeepsTheOldFile();
    void directoryInThePlaceOfTheFileMakesSaveSilent();
    void validityDependsOnTheAccessTokensClaim_data();
    void validityDependsOnTheAccessTokensClaim();
    void storedExpiryAndRefreshTokenDontCount();
    void qmlCantReachTheTokens();

private:
    [[nodiscard]] QString keysPath() const { return configPath(u"keys.json"_s); }
    [[nodiscard]] QJsonObject keysOnDisk() const
    {
        return QJsonDocument::fromJson(readFile(keysPath())).object();
    }
    static void verifyEmpty(const SettingsStore::AuthTokens& tokens)
    {
        QCOMPARE(tokens.accessToken, QString());
        QCOMPARE(tokens.refreshToken, QString());
        QCOMPARE(tokens.expiresAt, 0);
        QCOMPARE(tokens.userId, QString());
        QCOMPARE(tokens.userEmail, QString());
    }
};

void AuthTokensTest::init()
{
    TarqTest::init();
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
}

void AuthTokensTest::fileWithOnlyTheModelGivesAnEmptyRecord()
{
    const SettingsStore store;
    verifyEmpty(store.loadAuthTokens());
    QVERIFY(!store.hasValidAuth());
}

void AuthTokensTest::savedTokensComeBack()
{
    SettingsStore().saveAuthTokens(sampleTokens());
    const SettingsStore::AuthTokens tokens = SettingsStore().loadAuthTokens();
    QCOMPARE(tokens.accessToken, u"access"_s);
    QCOMPARE(tokens.refreshToken, u"refresh"_s);
    QCOMPARE(tokens.expiresAt, 1700000000123);
    QCOMPARE(tokens.userId, u"user-1"_s);
    QCOMPARE(tokens.userEmail, u"müller@example.org"_s);
}

void AuthTokensTest::saveKeepsTheModelAndEveryOtherKey()
{
    writeFile(keysPath(),
        "{\"accessToken\":\"old\",\"foo\":[1,{\"a\":null}],\"model\":\"mine\",\"userId\":7}"_ba);
    SettingsStore().saveAuthTokens(sampleTokens());
    const QJsonObject keys = keysOnDisk();
    QCOMPARE(keys.size(), 7);
    QCOMPARE(keys.value("model"_L1).toString(), u"mine"_s);
    QCOMPARE(QJsonDocument(keys.value("foo"_L1).toArray()).toJson(QJsonDocument::Compact),
        "[1,{\"a\":null}]"_ba);
    QCOMPARE(keys.value("accessToken"_L1).toString(), u"access"_s);
    QCOMPARE(keys.value("userId"_L1).toString(), u"user-1"_s);
}

void AuthTokensTest::saveWritesSortedAndIndented()
{
    SettingsStore().saveAuthTokens(sampleTokens());
    QCOMPARE(readFile(keysPath()), R"({
    "accessToken": "access",
    "expiresAt": 1700000000123,
    "model": "whisper-large-v3-turbo",
    "refreshToken": "refresh",
    "userEmail": "müller@example.org",
    "userId": "user-1"
}
)"_ba);
}

void AuthTokensTest::clearedRecordStaysAsEmptyValues()
{
    const SettingsStore store;
    store.saveAuthTokens(sampleTokens());
    store.clearAuthTokens();
    QCOMPARE(readFile(keysPath()), R"({
    "accessToken": "",
    "expiresAt": 0,
    "model": "whisper-large-v3-turbo",
    "refreshToken": "",
    "userEmail": "",
    "userId": ""
}
)"_ba);
    QCOMPARE(modeOf(keysPath()), 0600U);
    verifyEmpty(store.loadAuthTokens());
    QVERIFY(!store.hasValidAuth());
}

void AuthTokensTest::savedFileIsPrivate()
{
    QVERIFY(QFile::setPermissions(keysPath(), QFile::Permissions(0x6644)));
    SettingsStore().saveAuthTokens(sampleTokens());
    QCOMPARE(modeOf(keysPath()), 0600U);
}

void AuthTokensTest::nothingIsCachedInMemory()
{
    const SettingsStore store;
    store.saveAuthTokens(sampleTokens());
    writeFile(keysPath(), "{\"accessToken\":\"other\"}"_ba);
    QCOMPARE(store.loadAuthTokens().accessToken, u"other"_s);
}

void AuthTokensTest::wrongTypesLoadAsEmptyFieldByField_data()
{
    QTest::addColumn<QByteArray>("expiresAt");
    QTest::addColumn<qint64>("loaded");

    QTest::newRow("integer") << "1700000000123"_ba << qint64(1700000000123);
    QTest::newRow("string") << "\"1700000000123\""_ba << qint64(0);
    QTest::newRow("fraction") << "1.5"_ba << qint64(0);
    QTest::newRow("beyond integers") << "1e300"_ba << qint64(0);
    QTest::newRow("null") << "null"_ba << qint64(0);
    QTest::newRow("list") << "[1]"_ba << qint64(0);
}

void AuthTokensTest::wrongTypesLoadAsEmptyFieldByField()
{
    QFETCH(const QByteArray, expiresAt);
    writeFile(keysPath(),
        "{\"accessToken\":\"a\",\"refreshToken\":7,\"userId\":null,\"userEmail\":\"e\","
        "\"expiresAt\":"
            + expiresAt + '}');
    const SettingsStore::AuthTokens tokens = SettingsStore().loadAuthTokens();
    QCOMPARE(tokens.accessToken, u"a"_s);
    QCOMPARE(tokens.refreshToken, QString());
    QCOMPARE(tokens.userId, QString());
    QCOMPARE(tokens.userEmail, u"e"_s);
    QTEST(tokens.expiresAt, "loaded");
}

void AuthTokensTest::expiryInMillisecondsKeepsItsValue_data()
{
    QTest::addColumn<qint64>("expiresAt");

    QTest::newRow("negative") << qint64(-1);
    QTest::newRow("beyond doubles") << (qint64(1) << 53) + 1;
    QTest::newRow("largest") << std::numeric_limits<qint64>::max();
}

void AuthTokensTest::expiryInMillisecondsKeepsItsValue()
{
    QFETCH(const qint64, expiresAt);
    const SettingsStore store;
    store.saveAuthTokens({{}, {}, expiresAt, {}, {}});
    QCOMPARE(store.loadAuthTokens().expiresAt, expiresAt);
}

void AuthTokensTest::unreadableFileLoadsAsAnEmptyRecord_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("empty") << ""_ba;
    QTest::newRow("garbage") << "\x00\xff{"_ba;
    QTest::newRow("truncated") << "{\"accessToken\":\"a\","_ba;
    QTest::newRow("array") << "[{\"accessToken\":\"a\"}]"_ba;
    QTest::newRow("nested too deep") << "{\"accessToken\":"_ba + QByteArray(100000, '[');
    QTest::newRow("megabytes of garbage") << QByteArray(4000000, '"');
}

void AuthTokensTest::unreadableFileLoadsAsAnEmptyRecord()
{
    QFETCH(const QByteArray, content);
    writeFile(keysPath(), content);
    verifyEmpty(SettingsStore().loadAuthTokens());
    QVERIFY(!SettingsStore().hasValidAuth());
    QCOMPARE(readFile(keysPath()), content);
}

void AuthTokensTest::corruptFileIsReplacedAtSaveWithoutItsModel_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("truncated") << "{\"model\":\"whisper-large-v3-turbo\","_ba;
    QTest::newRow("array") << "[{\"model\":\"whisper-large-v3-turbo\"}]"_ba;
}

void AuthTokensTest::corruptFileIsReplacedAtSaveWithoutItsModel()
{
    QFETCH(const QByteArray, content);
    writeFile(keysPath(), content);
    SettingsStore().saveAuthTokens(sampleTokens());
    QCOMPARE(keysOnDisk().keys(),
        (QStringList{
            u"accessToken"_s, u"expiresAt"_s, u"refreshToken"_s, u"userEmail"_s, u"userId"_s}));
}

void AuthTokensTest::missingFileIsMadeAtSave()
{
    QVERIFY(QFile::remove(keysPath()));
    const SettingsStore store;
    verifyEmpty(store.loadAuthTokens());
    store.saveAuthTokens(sampleTokens());
    QCOMPARE(store.loadAuthTokens().accessToken, u"access"_s);
    QCOMPARE(keysOnDisk().size(), 5);
    QCOMPARE(modeOf(keysPath()), 0600U);
}

void AuthTokensTest::failedSaveIsSilentAndKeepsTheOldFile()
{
    const SettingsStore store;
    store.saveAuthTokens(sampleTokens());
    const QByteArray before = readFile(keysPath());
    {
        const FileSizeLimit limit(20);
        store.saveAuthTokens({});
        store.saveAuthTokens({QString(100000, u'x'), {}, 0, {}, {}});
    }
    QCOMPARE(readFile(keysPath()), before);
    QCOMPARE(QDir(configPath()).entryList(QDir::Files | QDir::Hidden).size(), 3);
}

void AuthTokensTest::directoryInThePlaceOfTheFileMakesSaveSilent()
{
    QVERIFY(QFile::remove(keysPath()));
    QVERIFY(QDir().mkpath(keysPath()));
    const SettingsStore store;
    store.saveAuthTokens(sampleTokens());
    verifyEmpty(store.loadAuthTokens());
    QVERIFY(QFileInfo(keysPath()).isDir());
}

void AuthTokensTest::validityDependsOnTheAccessTokensClaim_data()
{
    QTest::addColumn<QString>("accessToken");
    QTest::addColumn<bool>("valid");

    QTest::newRow("empty") << QString() << false;
    QTest::newRow("four minutes left") << tokenExpiringIn(4 * 60) << false;
    QTest::newRow("just five minutes left") << tokenExpiringIn(5 * 60) << false;
    QTest::newRow("six minutes left") << tokenExpiringIn(6 * 60) << true;
    QTest::newRow("expired") << tokenExpiringIn(-1) << false;
    QTest::newRow("no JWT") << u"access"_s << false;
    QTest::newRow("no claim") << tokenWithClaims("{\"sub\":\"u\"}"_ba) << false;
    QTest::newRow("claim is a string") << tokenWithClaims("{\"exp\":\"9999999999\"}"_ba) << false;
    QTest::newRow("claim beyond every date")
        << tokenWithClaims("{\"exp\":9223372036854775807}"_ba) << true;
}

void AuthTokensTest::validityDependsOnTheAccessTokensClaim()
{
    QFETCH(const QString, accessToken);
    const SettingsStore store;
    store.saveAuthTokens({accessToken, {}, 0, {}, {}});
    QTEST(store.hasValidAuth(), "valid");
}

void AuthTokensTest::storedExpiryAndRefreshTokenDontCount()
{
    const qint64 anHourAhead = QDateTime::currentMSecsSinceEpoch() + 3600000;
    const SettingsStore store;
    store.saveAuthTokens({tokenExpiringIn(-60), u"refresh"_s, anHourAhead, u"u"_s, u"e"_s});
    QVERIFY(!store.hasValidAuth());
    store.saveAuthTokens({tokenExpiringIn(3600), {}, 1, {}, {}});
    QVERIFY(store.hasValidAuth());
}

void AuthTokensTest::qmlCantReachTheTokens()
{
    const QMetaObject& meta = SettingsStore::staticMetaObject;
    QByteArrayList names;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Method) {
            names.append(meta.method(i).name());
        }
    }
    QCOMPARE(names,
        (QByteArrayList{
            "audioInputDevices", "applyAutoStart", "resetToDefaults", "configDirectory", "flush"}));
}

QTEST_GUILESS_MAIN(AuthTokensTest)
#include "AuthTokensTest.moc"
