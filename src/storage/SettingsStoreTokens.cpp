// The session's tokens in keys.json. The settings are in SettingsStore.cpp.

#include "storage/SettingsStore.h"

#include "storage/JsonFile.h"
#include "storage/JwtUtils.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace {

constexpr auto kAccessToken = "accessToken"_L1;
constexpr auto kRefreshToken = "refreshToken"_L1;
constexpr auto kExpiresAt = "expiresAt"_L1;
constexpr auto kUserId = "userId"_L1;
constexpr auto kUserEmail = "userEmail"_L1;

// A token that ends sooner than this isn't worth starting a session with.
constexpr qint64 kAuthLeewayMs = 300000;

} // namespace

SettingsStore::AuthTokens SettingsStore::loadAuthTokens() const
{
    const QJsonObject keys = readJsonObject(m_paths.keysFile).value_or(QJsonObject());
    AuthTokens tokens;
    tokens.accessToken = keys.value(kAccessToken).toString();
    tokens.refreshToken = keys.value(kRefreshToken).toString();
    tokens.expiresAt = keys.value(kExpiresAt).toInteger(0);
    tokens.userId = keys.value(kUserId).toString();
    tokens.userEmail = keys.value(kUserEmail).toString();
    return tokens;
}

void SettingsStore::saveAuthTokens(const AuthTokens& tokens) const
{
    QJsonObject keys = readJsonObject(m_paths.keysFile).value_or(QJsonObject());
    keys.insert(kAccessToken, tokens.accessToken);
    keys.insert(kRefreshToken, tokens.refreshToken);
    keys.insert(kExpiresAt, tokens.expiresAt);
    keys.insert(kUserId, tokens.userId);
    keys.insert(kUserEmail, tokens.userEmail);
    writeJsonFile(m_paths.keysFile, QJsonDocument(keys).toJson(QJsonDocument::Indented), nullptr);
}

void SettingsStore::clearAuthTokens() const
{
    saveAuthTokens({});
}

bool SettingsStore::hasValidAuth() const
{
    const QString accessToken = loadAuthTokens().accessToken;
    return !accessToken.isEmpty() && !JwtUtils::isExpired(accessToken, kAuthLeewayMs);
}
