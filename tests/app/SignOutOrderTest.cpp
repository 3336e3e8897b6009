#include "app/Services.h"
#include "support/TarqTest.h"

#include <QEvent>
#include <QQmlExtensionPlugin>

Q_IMPORT_QML_PLUGIN(TarqLinuxPlugin)

using namespace Qt::StringLiterals;

namespace {

// Which windows show and hide, by their titles, in the order in which they do.
class Shows final : public QObject
{
public:
    Shows() { qApp->installEventFilter(this); }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        const bool shows = event->type() == QEvent::Show;
        const auto* window = qobject_cast<QWindow*>(watched);
        if (window != nullptr && (shows || event->type() == QEvent::Hide)) {
            seen.append((shows ? "shown: "_L1 : "hidden: "_L1) + window->title());
        }
        return false;
    }

    QStringList seen;
};

} // namespace

class SignOutOrderTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void whatWasSignedInIsHiddenBeforeTheLoginShows();
    void expiredSessionLeavesTheProfileOpen();
};

void SignOutOrderTest::whatWasSignedInIsHiddenBeforeTheLoginShows()
{
    {
        Services services;
        services.windows.loadHistory();
        services.windows.showHistory();
        services.windows.showProfile();
        const Shows shows;
        services.overlay.requestLogout();
        const QStringList expected{
            u"hidden: Tarq"_s, u"hidden: Tarq — Profile"_s, u"shown: Tarq — Sign In"_s};
        QCOMPARE(shows.seen, expected);
    }
    Services::removeRemains();
}

void SignOutOrderTest::expiredSessionLeavesTheProfileOpen()
{
    {
        Services services;
        services.windows.showProfile();
        const Shows shows;
        emit services.pipeline.authRequired();
        QCOMPARE(shows.seen, QStringList{u"shown: Tarq — Sign In"_s});
    }
    Services::removeRemains();
}

QTEST_MAIN(SignOutOrderTest)
#include "SignOutOrderTest.moc"
