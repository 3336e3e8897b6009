#include "app/Services.h"
#include "app/Tray.h"
#include "support/TarqTest.h"

#include <QApplication>
#include <QQmlExtensionPlugin>
#include <QSystemTrayIcon>

Q_IMPORT_QML_PLUGIN(TarqLinuxPlugin)

using namespace Qt::StringLiterals;

// A desktop without a tray.
class NoTrayTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void missingTrayIsToldWhetherAnIconIsWanted_data();
    void missingTrayIsToldWhetherAnIconIsWanted();
};

void NoTrayTest::missingTrayIsToldWhetherAnIconIsWanted_data()
{
    QTest::addColumn<bool>("wanted");
    QTest::newRow("wanted") << true;
    QTest::newRow("not wanted") << false;
}

void NoTrayTest::missingTrayIsToldWhetherAnIconIsWanted()
{
    QFETCH(bool, wanted);
    Services services;
    services.settings.setShowInTray(wanted);
    QTest::ignoreMessage(QtInfoMsg, "System tray not available — skipping tray icon");
    buildTray(services.settings, services.overlay, services.windows);
    QVERIFY(!qApp->findChild<QSystemTrayIcon*>());
}

QTEST_MAIN(NoTrayTest)
#include "NoTrayTest.moc"
