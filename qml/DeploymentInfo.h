#pragma once

#include "Deployment.h"

#include <QtQml>

// The values of this deployment that the windows show or open.
class DeploymentInfo : public QObject
{
    Q_OBJECT
    QML_NAMED_ELEMENT(Deployment)
    QML_SINGLETON
    Q_PROPERTY(QString workerBaseUrl READ workerBaseUrl CONSTANT)
    Q_PROPERTY(QString websiteUrl READ websiteUrl CONSTANT)
    Q_PROPERTY(QString websiteDomain READ websiteDomain CONSTANT)
    Q_PROPERTY(QString legalLine READ legalLine CONSTANT)

public:
    [[nodiscard]] QString workerBaseUrl() const { return Deployment::kWorkerBaseUrl; }
    [[nodiscard]] QString websiteUrl() const { return Deployment::kWebsiteUrl; }
    [[nodiscard]] QString websiteDomain() const { return Deployment::kWebsiteDomain; }
    [[nodiscard]] QString legalLine() const { return Deployment::kLegalLine; }
};
