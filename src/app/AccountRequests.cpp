#include "app/AccountRequests.h"

#include "Deployment.h"
#include "dictation/OverlayStateModel.h"
#include "network/Http.h"
#include "network/NetworkManager.h"
#include "storage/SettingsStore.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QStandardPaths>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

QNetworkRequest accountRequest(QLatin1StringView path, const QString& accessToken)
{
    QNetworkRequest request(QUrl(Deployment::kWorkerBaseUrl + path));
    request.setRawHeader("Authorization", Http::bearerHeader(accessToken));
    return request;
}

// The notice for the user.
QString saveExport(const QByteArray& content)
{
    const QString name
        = u"tarq-export-%1.json"_s.arg(QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss"_s));
    const QDir downloads(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation));
    downloads.mkpath(u"."_s);
    QFile file(downloads.filePath(name));
    if (!file.open(QIODevice::WriteOnly)) {
        return u"Failed to save export file."_s;
    }
    file.write(content);
    file.close();
    return u"Export saved to %1"_s.arg(file.fileName());
}

} // namespace

void exportAccountData(const SettingsStore& settings, OverlayStateModel& overlay)
{
    const QString accessToken = settings.loadAuthTokens().accessToken;
    if (accessToken.isEmpty()) {
        overlay.setLastError(u"Sign in first to export data."_s);
        return;
    }
    auto* manager = new NetworkManager(qApp);
    QNetworkReply* reply = manager->get(accountRequest("/v1/account/export"_L1, accessToken));
    QObject::connect(reply, &QNetworkReply::finished, qApp, [reply, &overlay]() {
        if (reply->error() != QNetworkReply::NoError) {
            overlay.setLastError(u"Export failed: %1"_s.arg(reply->errorString()));
            return;
        }
        overlay.setLastError(saveExport(reply->readAll()));
    });
    Http::discardWhenFinished(reply);
}

void deleteAccount(const SettingsStore& settings, OverlayStateModel& overlay)
{
    const QString accessToken = settings.loadAuthTokens().accessToken;
    if (accessToken.isEmpty()) {
        overlay.setLastError(u"Sign in first."_s);
        return;
    }
    auto* manager = new NetworkManager(qApp);
    QNetworkReply* reply = manager->deleteResource(accountRequest("/v1/account"_L1, accessToken));
    QObject::connect(reply, &QNetworkReply::finished, qApp, [reply, &overlay]() {
        if (reply->error() != QNetworkReply::NoError) {
            overlay.setLastError(u"Delete failed: %1"_s.arg(reply->errorString()));
            return;
        }
        overlay.requestLogout();
    });
    Http::discardWhenFinished(reply);
}

void endServerSession(const QString& accessToken)
{
    auto* manager = new NetworkManager(qApp);
    QNetworkRequest request = accountRequest("/v1/auth/logout"_L1, accessToken);
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/json"_s);
    Http::discardWhenFinished(manager->post(request, QByteArray()));
}
