#include "app/Tray.h"

#include "app/Windows.h"
#include "dictation/OverlayStateModel.h"
#include "storage/SettingsStore.h"

#include <QCoreApplication>
#include <QDebug>
#include <QIcon>
#include <QMenu>
#include <QSystemTrayIcon>

using namespace Qt::StringLiterals;

namespace {

QString toolTip(const QString& visualState)
{
    QString word = u"Idle"_s;
    if (visualState == "recording"_L1) {
        word = u"Recording…"_s;
    } else if (visualState == "processing"_L1) {
        word = u"Processing…"_s;
    }
    return u"Tarq — %1"_s.arg(word);
}

QMenu* createMenu(OverlayStateModel& overlay, Windows& windows)
{
    // An icon doesn't own its menu, and a widget can't belong to the application.
    static auto* const menu = new QMenu;
    const auto add = [](const QString& text, auto action) {
        QObject::connect(menu->addAction(text), &QAction::triggered, qApp, action);
    };
    add(QObject::tr("Show / Hide bubble"), [&overlay]() { overlay.pingActivity(); });
    menu->addSeparator();
    add(QObject::tr("Open history"), [&windows]() { windows.showHistory(); });
    add(QObject::tr("Settings…"), [&windows]() { windows.showSettings(); });
    add(QObject::tr("About Tarq"), [&windows]() { windows.showAbout(); });
    menu->addSeparator();
    add(QObject::tr("Sign out"), [&overlay]() { overlay.requestLogout(); });
    add(QObject::tr("Quit"), &QCoreApplication::quit);
    return menu;
}

} // namespace

void buildTray(const SettingsStore& settings, OverlayStateModel& overlay, Windows& windows)
{
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        qInfo().noquote() << "System tray not available — skipping tray icon";
        return;
    }
    if (!settings.showInTray()) {
        return;
    }
    auto* icon = new QSystemTrayIcon(QIcon(u":/assets/tarq-linux.svg"_s), qApp);
    icon->setToolTip(toolTip({}));
    icon->setContextMenu(createMenu(overlay, windows));
    icon->show();
    QObject::connect(icon, &QSystemTrayIcon::activated, qApp,
        [&overlay](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger) {
                overlay.pingActivity();
            }
        });
    QObject::connect(&overlay, &OverlayStateModel::visualStateChanged, qApp,
        [&overlay, icon]() { icon->setToolTip(toolTip(overlay.visualState())); });
}
