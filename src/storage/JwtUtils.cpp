#include "storage/JwtUtils.h"

#include <QDateTime>
#include <QJsonDocument>

#include <limits>

using namespace Qt::StringLiterals;

namespace JwtUtils {

QJsonObject decodePayload(const QString& token)
{
    const QStringList parts = token.split(u'.');
    if (parts.size() < 2) {
        return {};
    }
    QByteArray payload = parts.at(1).toUtf8();
    payload.replace('-', '+').replace('_', '/');
    while (payload.size() % 4 != 0) {
        payload.append('=');
    }
    return QJsonDocument::fromJson(QByteArray::fromBase64(payload)).object();
}

qint64 expiryMs(const QString& token)
{
    constexpr qint64 kMsPerSecond = 1000;
    constexpr qint64 kLatestSecond = std::numeric_limits<qint64>::max() / kMsPerSecond;
    // A date beyond the range of the result stays at its edge instead of wrapping round.
    const qint64 seconds = decodePayload(token).value("exp"_L1).toInteger(0);
    return qBound(-kLatestSecond, seconds, kLatestSecond) * kMsPerSecond;
}

bool isExpired(const QString& token, qint64 leewayMs)
{
    const qint64 expiry = expiryMs(token);
    if (expiry == 0) {
        return true;
    }
    return QDateTime::currentMSecsSinceEpoch() + leewayMs >= expiry;
}

} // namespace JwtUtils
