#include "doctor/AccountFindings.h"

#include "Deployment.h"
#include "network/Http.h"
#include "network/NetworkManager.h"
#include "storage/JwtUtils.h"
#include "storage/PrivateDirectories.h"
#include "storage/SettingsStore.h"

#include <QDateTime>
#include <QDir>
#include <QEventLoop>
#include <QLocale>
#include <QMetaEnum>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

#include <memory>

using namespace Qt::StringLiterals;

namespace Doctor {

namespace {

constexpr int kAnswerMs = 5000;

bool isSet(const char* variable)
{
    return !qEnvironmentVariableIsEmpty(variable);
}

Finding examineRequired(const char* variable)
{
    const QString subject = QLatin1StringView(variable);
    if (isSet(variable)) {
        return {subject, Verdict::Ok, u"set"_s};
    }
    return {subject, Verdict::Problem,
        u"Write it into %1/.env. Whoever runs the server for you can tell the value."_s.arg(
            configRootPath())};
}

Finding examineOptional(const char* variable, const QString& otherwise)
{
    return {QLatin1StringView(variable), Verdict::Ok, isSet(variable) ? u"set"_s : otherwise};
}

Finding examineServer(const QString& subject, const QUrl& url)
{
    NetworkManager manager;
    QNetworkRequest request(url);
    request.setTransferTimeout(kAnswerMs);
    const std::unique_ptr<QNetworkReply> reply(manager.get(request));
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    // Any answer will do: what it says of a question without a token doesn't matter.
    if (Http::status(*reply) != 0) {
        return {subject, Verdict::Ok, u"answers"_s};
    }
    // By its name: the words for it would tell the server's address.
    const char* const error
        = QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(reply->error());
    return {subject, Verdict::Problem,
        u"Look at the network: no answer (%1)."_s.arg(QLatin1StringView(error))};
}

QString workerUrl()
{
    return isSet("WORKER_URL") ? qEnvironmentVariable("WORKER_URL") : Deployment::kWorkerBaseUrl;
}

} // namespace

QList<Finding> examineVariables()
{
    return {
        examineRequired("SUPABASE_URL"),
        examineRequired("SUPABASE_ANON_KEY"),
        examineOptional("WORKER_URL", u"not set: the worker that this Tarq was built for"_s),
        examineOptional("TARQ_ASSIST", u"not set: nothing beyond the ordinary"_s),
    };
}

QList<Finding> examineServers()
{
    QList<Finding> findings{examineServer(u"worker"_s, QUrl(workerUrl() + "/v1/version"_L1))};
    if (isSet("SUPABASE_URL")) {
        const QString auth = qEnvironmentVariable("SUPABASE_URL");
        findings += examineServer(u"auth service"_s, QUrl(auth + "/auth/v1/health"_L1));
    }
    return findings;
}

Finding examineSession(const SettingsStore& settings)
{
    const QString subject = u"signed in"_s;
    const SettingsStore::AuthTokens tokens = settings.loadAuthTokens();
    if (tokens.accessToken.isEmpty()) {
        return {subject, Verdict::Problem, u"Start Tarq and sign in."_s};
    }
    if (!JwtUtils::isExpired(tokens.accessToken, 0)) {
        const QDateTime end
            = QDateTime::fromMSecsSinceEpoch(JwtUtils::expiryMs(tokens.accessToken));
        return {
            subject, Verdict::Ok, u"until %1"_s.arg(QLocale().toString(end, QLocale::ShortFormat))};
    }
    if (!tokens.refreshToken.isEmpty()) {
        return {subject, Verdict::Ok, u"yes; the session is renewed when Tarq runs"_s};
    }
    return {subject, Verdict::Problem, u"The session has ended: sign in again."_s};
}

Finding examineRecordings()
{
    const QDir directory(cacheRootPath());
    const QStringList kept = directory.entryList({u"tarq-linux-*.wav"_s}, QDir::Files, QDir::Time);
    if (kept.isEmpty()) {
        return {u"recordings"_s, Verdict::Ok, u"none is waiting"_s};
    }
    return {u"recordings"_s, Verdict::Hint,
        u"%1 without a text, the last one is %2"_s.arg(kept.size())
            .arg(directory.filePath(kept.first()))};
}

} // namespace Doctor
