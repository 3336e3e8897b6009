#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

// Reads a JSON Web Token (RFC 7519) without checking its signature: the token is the server's
// business, and here it only tells when it will stop being accepted, and goes into requests.
namespace JwtUtils {

/// The claims of the token; empty if it isn't of the form header.payload or doesn't decode.
[[nodiscard]] QJsonObject decodePayload(const QString& token);

/// The claim `exp` in milliseconds since the epoch; 0 if it is missing or not an integer.
[[nodiscard]] qint64 expiryMs(const QString& token);

/// Whether the token expires within the next `leewayMs` milliseconds, or has. A token that doesn't
/// tell its expiry counts as expired.
[[nodiscard]] bool isExpired(const QString& token, qint64 leewayMs);

/// The value of the header Authorization that carries the token (RFC 6750).
[[nodiscard]] QByteArray bearerHeader(const QString& token);

} // namespace JwtUtils
