#include "desktop/InputFocusMonitor.h"
#include "support/TarqTest.h"

using namespace Qt::StringLiterals;

class WindowClassTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void classTellsWhatTheWindowIs_data();
    void classTellsWhatTheWindowIs();
    void everyEntryIsKnownInAnyCase_data();
    void everyEntryIsKnownInAnyCase();
};

void WindowClassTest::classTellsWhatTheWindowIs_data()
{
    QTest::addColumn<QString>("windowClass");
    QTest::addColumn<bool>("takesText");
    QTest::addColumn<bool>("isTerminal");

    QTest::newRow("none") << QString() << false << false;
    QTest::newRow("blank") << u" "_s << true << false;
    QTest::newRow("browser") << u"\"Navigator\", \"firefox\""_s << true << false;
    QTest::newRow("unknown program") << u"\"a\", \"B\""_s << true << false;
    QTest::newRow("terminal") << u"\"gnome-terminal-server\", \"Gnome-terminal\""_s << true << true;
    QTest::newRow("terminal by its second name") << u"\"main\", \"XTerm\""_s << true << true;
    QTest::newRow("terminal by a part of its name") << u"\"footclient\", \"x\""_s << true << true;
    QTest::newRow("terminal in capitals") << u"\"KONSOLE\", \"KONSOLE\""_s << true << true;
    QTest::newRow("file manager") << u"\"org.gnome.Nautilus\", \"x\""_s << false << false;
    QTest::newRow("file manager by its second name") << u"\"x\", \"Thunar\""_s << false << false;
    QTest::newRow("daemon of a family") << u"\"gsd-media-keys\", \"x\""_s << false << false;
    QTest::newRow("input method") << u"\"ibus-ui-gtk3\", \"x\""_s << false << false;
    QTest::newRow("word that contains a viewer") << u"\"geometry\", \"x\""_s << false << false;
    QTest::newRow("word that contains a player") << u"\"xmpvx\", \"x\""_s << false << false;
    QTest::newRow("terminal within a file manager")
        << u"\"dolphin\", \"konsole\""_s << false << true;
    QTest::newRow("almost an entry") << u"\"gsd\", \"Tot em\""_s << true << false;
}

void WindowClassTest::classTellsWhatTheWindowIs()
{
    QFETCH(const QString, windowClass);
    QTEST(InputFocusMonitor::isTextInputWindow(windowClass), "takesText");
    QTEST(InputFocusMonitor::isTerminalWindow(windowClass), "isTerminal");
}

void WindowClassTest::everyEntryIsKnownInAnyCase_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<bool>("isTerminal");

    for (const char* entry : {"nautilus", "nemo", "thunar", "dolphin", "pcmanfm", "gnome-shell",
             "mutter", "mutter-x11-frames", "gsd-", "ibus-", "totem", "vlc", "mpv", "eog", "eom",
             "shotwell", "gnome-calculator", "gnome-system-monitor", "gnome-control-center",
             "gnome-calendar", "update-manager", "update-notifier", "evolution-alarm-notify"}) {
        QTest::newRow(entry) << QString::fromLatin1(entry) << false;
    }
    for (const char* entry :
        {"gnome-terminal-server", "gnome-terminal", "xterm", "konsole", "kitty", "alacritty",
            "tilix", "terminator", "xfce4-terminal", "foot", "wezterm", "urxvt"}) {
        QTest::newRow(entry) << QString::fromLatin1(entry) << true;
    }
}

void WindowClassTest::everyEntryIsKnownInAnyCase()
{
    QFETCH(const QString, entry);
    QFETCH(const bool, isTerminal);
    for (const QString& name : {entry, entry.toUpper(), QString(u'x' + entry + u'x')}) {
        const QString windowClass = u"\"a\", \"%1\""_s.arg(name);
        // No entry stands in both tables.
        QCOMPARE(InputFocusMonitor::isTerminalWindow(windowClass), isTerminal);
        QCOMPARE(InputFocusMonitor::isTextInputWindow(windowClass), isTerminal);
    }
}

QTEST_GUILESS_MAIN(WindowClassTest)
#include "WindowClassTest.moc"
