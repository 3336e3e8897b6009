#include "assist/AssistFeatures.h"
#include "support/TarqTest.h"

using namespace Qt::StringLiterals;
using Assist::Feature;
using Assist::Features;

Q_DECLARE_METATYPE(Features)

class AssistFeaturesTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void names_data();
    void names();
    void everyNameIsPartOfAll();
    void unknownNamesAreOneWarning();
    void nothingIsWantedByDefault();
};

void AssistFeaturesTest::names_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<Features>("features");
    QTest::addColumn<QStringList>("unknown");
    QTest::newRow("empty") << QString() << Features() << QStringList{};
    QTest::newRow("blank") << u"  "_s << Features() << QStringList{};
    QTest::newRow("one") << u"start"_s << Features(Feature::Start) << QStringList{};
    QTest::newRow("two") << u"start,repeat"_s << (Feature::Start | Feature::Repeat)
                         << QStringList{};
    QTest::newRow("blanks and capitals")
        << u" Start , REPEAT "_s << (Feature::Start | Feature::Repeat) << QStringList{};
    QTest::newRow("empty names") << u",start,,"_s << Features(Feature::Start) << QStringList{};
    QTest::newRow("unknown") << u"stop,start,1"_s << Features(Feature::Start)
                             << QStringList{u"stop"_s, u"1"_s};
    QTest::newRow("part of a name") << u"star"_s << Features() << QStringList{u"star"_s};
}

void AssistFeaturesTest::names()
{
    QFETCH(QString, value);
    QStringList unknown;
    QTEST(Assist::parseFeatures(value, &unknown), "features");
    QTEST(unknown, "unknown");
}

void AssistFeaturesTest::everyNameIsPartOfAll()
{
    const Features all = Assist::parseFeatures(u"all"_s);
    QVERIFY(all.testFlag(Feature::Repeat));
    QVERIFY(all.testFlag(Feature::Start));
    QVERIFY(all.testFlag(Feature::Wayland));
}

void AssistFeaturesTest::unknownNamesAreOneWarning()
{
    const ScopedVariable variable("TARQ_ASSIST", "start, stop,1");
    QTest::ignoreMessage(QtWarningMsg, "TARQ_ASSIST names no feature: stop, 1");
    QCOMPARE(Assist::wantedFeatures(), Features(Feature::Start));
}

void AssistFeaturesTest::nothingIsWantedByDefault()
{
    const ScopedVariable unset("TARQ_ASSIST");
    QCOMPARE(Assist::wantedFeatures(), Features());
}

QTEST_GUILESS_MAIN(AssistFeaturesTest)
#include "AssistFeaturesTest.moc"
