#include "network/NetworkManager.h"

#include <QNetworkRequest>

QNetworkReply* NetworkManager::createRequest(
    Operation operation, const QNetworkRequest& request, QIODevice* body)
{
    // Here and not where the requests are made, so that the next one can't be without.
    QNetworkRequest plain(request);
    plain.setAttribute(
        QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    plain.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    plain.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    return QNetworkAccessManager::createRequest(operation, plain, body);
}
