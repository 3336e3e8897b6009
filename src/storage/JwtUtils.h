#pragma once

#include <QJsonObject>
#include <QString>

// Reads a JSON Web Token (RFC 7519) without checking its signature: the token is the server's
// business, and here it only tells when it will stop being accepted.
namespace JwtUtils {

/// The claims of the token; empty if it isn't of the form header.payload or doesn't decode.
[[nodiscard]] QJsonObject decodePayload(const QString& token);

/// The claim `exp` in milliseconds since the epoch; 0 if it is missing or not an integer.
[[nodiscard]] qint64 expiryMs(const QString& token);

/// Whether the token expires within the next `leewayMs` milliseconds, or has. A token that doesn't
/// tell its expiry counts as expired.
[[nodiscard]] bool isExpired(const QString& token, qint64 leewayMs);

} // namespace JwtUtils
