#pragma once

#include <QNetworkAccessManager>

// Every request of the program goes through one of these, which says what all of them have in
// common. What a request carries (a token, a password, a recording) is for the server that it was
// made for: a redirect is an answer like others, and isn't followed. No cookie is kept or sent.
class NetworkManager : public QNetworkAccessManager // the documents' own goes further
{
    Q_OBJECT

public:
    using QNetworkAccessManager::QNetworkAccessManager;

protected:
    QNetworkReply* createRequest(
        Operation operation, const QNetworkRequest& request, QIODevice* body) override;
};
