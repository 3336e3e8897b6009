#include "assist/AssistFeatures.h"

#include <QDebug>

#include <array>

using namespace Qt::StringLiterals;

namespace Assist {

namespace {

struct Name {
    QLatin1StringView word;
    Feature feature = Feature::Repeat;
};

constexpr std::array kNames{
    Name{"repeat"_L1, Feature::Repeat},
    Name{"start"_L1, Feature::Start},
    Name{"wayland"_L1, Feature::Wayland},
    Name{"hold"_L1, Feature::Hold},
};

} // namespace

Features parseFeatures(const QString& value, QStringList* unknown)
{
    Features features;
    const QStringList words = value.toLower().split(u',', Qt::SkipEmptyParts);
    for (const QString& padded : words) {
        const QString word = padded.trimmed();
        bool known = word.isEmpty();
        for (const Name& name : kNames) {
            if (word == name.word || word == "all"_L1) {
                features |= name.feature;
                known = true;
            }
        }
        if (!known && unknown != nullptr) {
            unknown->append(word);
        }
    }
    return features;
}

Features wantedFeatures()
{
    QStringList unknown;
    const Features features = parseFeatures(qEnvironmentVariable("TARQ_ASSIST"), &unknown);
    if (!unknown.isEmpty()) {
        qWarning().noquote() << "TARQ_ASSIST names no feature:" << unknown.join(", "_L1);
    }
    return features;
}

} // namespace Assist
