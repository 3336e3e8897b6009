#include "FuzzSupport.h"
#include "storage/JwtUtils.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kLeewayMs = 300000;

void requireSense(const QString& token)
{
    const qint64 expiry = JwtUtils::expiryMs(token);
    Fuzz::require(expiry % 1000 == 0, "a token expires on a full second");
    Fuzz::require(expiry > 0 || JwtUtils::isExpired(token, 0),
        "a token that doesn't tell its expiry, or a date before 1970, is expired");
    Fuzz::require(!JwtUtils::isExpired(token, 0) || JwtUtils::isExpired(token, kLeewayMs),
        "more leeway never revives a token");
}

} // namespace

// The input is a token, and then the payload of one.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input = Fuzz::bytes(data, size);
    requireSense(QString::fromUtf8(input));

    const QByteArray payload
        = input.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
    const QString token = "header."_L1 + QString::fromLatin1(payload) + ".signature"_L1;
    requireSense(token);
    Fuzz::require(JwtUtils::decodePayload(token) == QJsonDocument::fromJson(input).object(),
        "a payload is decoded byte for byte");
    return 0;
}
