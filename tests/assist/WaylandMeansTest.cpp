#include "assist/WaylandMeans.h"
#include "support/TarqTest.h"

using namespace Qt::StringLiterals;
using Assist::WaylandFacts;
using Assist::WaylandMeans;

Q_DECLARE_METATYPE(WaylandFacts)

namespace {

const QString kInstallWtype = u"Install wtype, so that Tarq can press the paste keys."_s;
const QString kInstallPortal
    = u"Install this desktop's xdg-desktop-portal, so that Tarq can press the paste keys."_s;
const QString kInstallWlClipboard
    = u"Install wl-clipboard, so that the text reaches the clipboard."_s;
const QString kInstallXwayland
    = u"Install XWayland, so that the bubble leaves the keyboard alone."_s;

constexpr WaylandFacts kSway{.xwayland = true,
    .remoteDesktopPortal = false,
    .virtualKeyboard = true,
    .dataControl = true,
    .wtype = true,
    .wlClipboard = true};
constexpr WaylandFacts kKwin{.xwayland = true,
    .remoteDesktopPortal = true,
    .virtualKeyboard = false,
    .dataControl = true,
    .wtype = true,
    .wlClipboard = true};
constexpr WaylandFacts kGnome{.xwayland = true,
    .remoteDesktopPortal = true,
    .virtualKeyboard = false,
    .dataControl = false,
    .wtype = true,
    .wlClipboard = true};

WaylandFacts without(WaylandFacts facts, bool WaylandFacts::*fact)
{
    facts.*fact = false;
    return facts;
}

} // namespace

class WaylandMeansTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void factsDecide_data();
    void factsDecide();
    void noCompositorAnnouncesNothing();
};

void WaylandMeansTest::factsDecide_data()
{
    QTest::addColumn<WaylandFacts>("facts");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QStringList>("advice");

    QTest::newRow("wlroots") << kSway << u"Wayland: clipboard by wl-copy, keys by wtype"_s
                             << QStringList();
    QTest::newRow("wlroots without wl-clipboard")
        << without(kSway, &WaylandFacts::wlClipboard)
        << u"Wayland: clipboard by nothing, keys by wtype"_s << QStringList{kInstallWlClipboard};
    QTest::newRow("wlroots without wtype")
        << without(kSway, &WaylandFacts::wtype)
        << u"Wayland: clipboard by wl-copy, keys by nothing"_s << QStringList{kInstallWtype};
    QTest::newRow("wlroots without XWayland")
        << without(kSway, &WaylandFacts::xwayland)
        << u"Wayland: clipboard by wl-copy, keys by wtype"_s << QStringList{kInstallXwayland};
    QTest::newRow("KWin") << kKwin << u"Wayland: clipboard by wl-copy, keys by the desktop portal"_s
                          << QStringList();
    QTest::newRow("KWin without wl-clipboard")
        << without(kKwin, &WaylandFacts::wlClipboard)
        << u"Wayland: clipboard by Qt, keys by the desktop portal"_s
        << QStringList{kInstallWlClipboard};
    QTest::newRow("GNOME") << kGnome << u"Wayland: clipboard by Qt, keys by the desktop portal"_s
                           << QStringList();
    QTest::newRow("GNOME without a portal")
        << without(kGnome, &WaylandFacts::remoteDesktopPortal)
        << u"Wayland: clipboard by Qt, keys by nothing"_s << QStringList{kInstallPortal};
    QTest::newRow("GNOME without XWayland")
        << without(kGnome, &WaylandFacts::xwayland)
        << u"Wayland: clipboard by nothing, keys by the desktop portal"_s
        << QStringList{kInstallXwayland};
    QTest::newRow("nothing at all")
        << WaylandFacts() << u"Wayland: clipboard by nothing, keys by nothing"_s
        << QStringList{kInstallPortal, kInstallXwayland};
}

void WaylandMeansTest::factsDecide()
{
    QFETCH(WaylandFacts, facts);
    const WaylandMeans means = Assist::chooseWaylandMeans(facts);
    QTEST(means.description(), "description");
    QTEST(means.advice, "advice");
}

void WaylandMeansTest::noCompositorAnnouncesNothing()
{
    const ScopedVariable display("WAYLAND_DISPLAY", "nobody-listens-here");
    QVERIFY(Assist::waylandInterfaces().isEmpty());
}

QTEST_GUILESS_MAIN(WaylandMeansTest)
#include "WaylandMeansTest.moc"
