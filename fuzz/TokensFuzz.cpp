#include "FuzzSupport.h"
#include "storage/SettingsStore.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

bool equal(const SettingsStore::AuthTokens& a, const SettingsStore::AuthTokens& b)
{
    return a.accessToken == b.accessToken && a.refreshToken == b.refreshToken
        && a.expiresAt == b.expiresAt && a.userId == b.userId && a.userEmail == b.userEmail;
}

// What stands in the file beside the session.
QJsonObject otherKeys(const QString& path)
{
    QJsonObject keys = QJsonDocument::fromJson(Fuzz::readFile(path)).object();
    for (const QString& key :
        {u"accessToken"_s, u"refreshToken"_s, u"expiresAt"_s, u"userId"_s, u"userEmail"_s}) {
        keys.remove(key);
    }
    return keys;
}

} // namespace

// The input is keys.json.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input = Fuzz::bytes(data, size);
    if (Fuzz::mayHaveByteOrderMark(input)) {
        return 0;
    }
    const SettingsStore store;
    const QString path = store.paths().keysFile;
    Fuzz::writeFile(path, input);
    const QJsonObject others = otherKeys(path);
    const SettingsStore::AuthTokens tokens = store.loadAuthTokens();
    const bool isValid = store.hasValidAuth();
    Fuzz::require(!isValid || !tokens.accessToken.isEmpty(), "no session without a token");

    store.saveAuthTokens(tokens);
    Fuzz::require(equal(store.loadAuthTokens(), tokens), "a saved session loads again equal");
    Fuzz::require(store.hasValidAuth() == isValid, "saving doesn't change what a token is worth");
    Fuzz::require(otherKeys(path) == others, "what isn't the session's stays");
    constexpr QFile::Permissions kOfOthers
        = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    Fuzz::require(
        (QFile::permissions(path) & kOfOthers) == 0, "nobody else may read the saved session");

    store.clearAuthTokens();
    Fuzz::require(equal(store.loadAuthTokens(), {}), "nothing is left of a cleared session");
    Fuzz::require(!store.hasValidAuth(), "a cleared session isn't valid");
    Fuzz::require(otherKeys(path) == others, "what isn't the session's stays when it is cleared");
    return 0;
}
