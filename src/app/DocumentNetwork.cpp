#include "app/DocumentNetwork.h"

#include "network/NetworkManager.h"

#include <QQmlEngine>
#include <QQmlNetworkAccessManagerFactory>

namespace {

class Factory final : public QQmlNetworkAccessManagerFactory
{
public:
    QNetworkAccessManager* create(QObject* parent) override
    {
        // An XMLHttpRequest goes by itself where an answer points.
        return new NetworkManager(parent, NetworkManager::Redirect::Failure);
    }
};

} // namespace

void restrictNetwork(QQmlEngine& engine)
{
    // An engine may outlive whoever has made it.
    static Factory factory;
    engine.setNetworkAccessManagerFactory(&factory);
}
