#include "network/NetworkManager.h"

#include <QNetworkReply>
#include <QNetworkRequest>

NetworkManager::NetworkManager(QObject* parent, Redirect redirect)
    : QNetworkAccessManager(parent)
    , m_redirect(redirect)
{
}

QNetworkReply* NetworkManager::createRequest(
    Operation operation, const QNetworkRequest& request, QIODevice* body)
{
    // Here and not where the requests are made, so that the next one can't be without.
    QNetworkRequest plain(request);
    plain.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
        m_redirect == Redirect::Answer ? QNetworkRequest::ManualRedirectPolicy
                                       : QNetworkRequest::UserVerifiedRedirectPolicy);
    plain.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    plain.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    QNetworkReply* reply = QNetworkAccessManager::createRequest(operation, plain, body);
    if (m_redirect == Redirect::Failure) {
        connect(reply, &QNetworkReply::redirected, reply, &QNetworkReply::abort);
    }
    return reply;
}
