#pragma once

#include <QByteArray>
#include <QString>

class QNetworkReply;

// What the program's HTTP requests have in common beside their manager.
namespace Http {

/// The value of the header Authorization that carries the token (RFC 6750).
[[nodiscard]] QByteArray bearerHeader(const QString& token);

/// The status of the answer; 0 if none came.
[[nodiscard]] int status(const QNetworkReply& reply);

/// All that came of the body by the time the reply finished.
[[nodiscard]] QByteArray body(QNetworkReply& reply);

/// Deletes what a request with a manager of its own needs, once it has been answered.
void discardWhenFinished(QNetworkReply* reply);

} // namespace Http
