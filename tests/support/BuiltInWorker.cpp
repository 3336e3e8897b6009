#include "support/BuiltInWorker.h"

#include "Deployment.h"
#include "support/RedirectedPort.h"

#include <QUrl>

std::unique_ptr<HttpServer> startBuiltInWorker()
{
    auto worker = std::make_unique<HttpServer>();
    redirectPort(QUrl(Deployment::kWorkerBaseUrl).port(), QUrl(worker->url()).port());
    QObject::connect(worker.get(), &QObject::destroyed, []() { redirectPort(-1, -1); });
    return worker;
}
