#pragma once

#include <QNetworkAccessManager>

// Every request of the program goes through one of these, which says what all of them have in
// common. What a request carries (a token, a password, a recording) is for the server that it was
// made for: no redirect is followed. No cookie is kept or sent.
class NetworkManager final : public QNetworkAccessManager
{
    Q_OBJECT

public:
    /// What the receiver of a reply sees of a redirect.
    enum class Redirect {
        Answer, ///< an answer like others, with its status and body
        Failure, ///< a request that was cancelled, for a receiver that would follow by itself
    };

    explicit NetworkManager(QObject* parent = nullptr, Redirect redirect = Redirect::Answer);

protected:
    QNetworkReply* createRequest(
        Operation operation, const QNetworkRequest& request, QIODevice* body) override;

private:
    Redirect m_redirect;
};
