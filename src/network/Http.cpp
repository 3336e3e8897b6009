#include "network/Http.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

namespace Http {

QByteArray bearerHeader(const QString& token)
{
    // Qt sends a value as it is, and what follows a line break would be a header of its own. The
    // token comes from a server or a file, so these three become blanks (RFC 9110, 5.5).
    QByteArray value = "Bearer " + token.toUtf8();
    return value.replace('\r', ' ').replace('\n', ' ').replace('\0', ' ');
}

int status(const QNetworkReply& reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

QByteArray body(QNetworkReply& reply)
{
    // A transfer that took too long is closed by now, and would complain about being read.
    return reply.isOpen() ? reply.readAll() : QByteArray();
}

void discardWhenFinished(QNetworkReply* reply)
{
    QObject::connect(reply, &QNetworkReply::finished, reply, &QNetworkReply::deleteLater);
    QObject::connect(
        reply, &QNetworkReply::finished, reply->manager(), &QNetworkAccessManager::deleteLater);
}

} // namespace Http
