#include "desktop/SessionDetector.h"
#include "support/TarqTest.h"

using namespace Qt::StringLiterals;
using SessionType = SessionDetector::SessionType;

Q_DECLARE_METATYPE(SessionDetector::SessionType)

namespace {

// A null value leaves the variable unset; an empty one sets it to nothing.
void assign(const char* name, const QByteArray& value)
{
    if (!value.isNull()) {
        qputenv(name, value);
    }
}

} // namespace

class SessionDetectorTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void environmentTellsTheSession_data();
    void environmentTellsTheSession();
    void environmentIsReadAnewAtEachCall();
    void typesHaveTheirNumbers();

private:
    std::unique_ptr<ScopedVariable> m_sessionType;
    std::unique_ptr<ScopedVariable> m_waylandDisplay;
    std::unique_ptr<ScopedVariable> m_display;
};

void SessionDetectorTest::init()
{
    TarqTest::init();
    m_sessionType = std::make_unique<ScopedVariable>("XDG_SESSION_TYPE");
    m_waylandDisplay = std::make_unique<ScopedVariable>("WAYLAND_DISPLAY");
    m_display = std::make_unique<ScopedVariable>("DISPLAY");
}

void SessionDetectorTest::cleanup()
{
    m_display.reset();
    m_waylandDisplay.reset();
    m_sessionType.reset();
    TarqTest::cleanup();
}

void SessionDetectorTest::environmentTellsTheSession_data()
{
    QTest::addColumn<QByteArray>("sessionType");
    QTest::addColumn<QByteArray>("waylandDisplay");
    QTest::addColumn<QByteArray>("display");
    QTest::addColumn<SessionType>("type");

    const QByteArray unset;
    const QByteArray wayland = "wayland-0"_ba;
    const QByteArray x11 = ":0"_ba;
    QTest::newRow("x11") << "x11"_ba << unset << unset << SessionType::X11;
    QTest::newRow("x11 in capitals with a blank")
        << "X11 "_ba << unset << unset << SessionType::X11;
    QTest::newRow("x11 between white space") << "\t x11\n"_ba << unset << unset << SessionType::X11;
    QTest::newRow("x11 outranks the display") << "x11"_ba << wayland << unset << SessionType::X11;
    QTest::newRow("wayland") << "wayland"_ba << unset << unset << SessionType::Wayland;
    QTest::newRow("wayland in mixed case")
        << " WayLand"_ba << unset << unset << SessionType::Wayland;
    QTest::newRow("wayland outranks the display")
        << "wayland"_ba << unset << x11 << SessionType::Wayland;
    QTest::newRow("tty with an X display") << "tty"_ba << unset << x11 << SessionType::X11;
    QTest::newRow("tty with a Wayland display")
        << "tty"_ba << wayland << unset << SessionType::Wayland;
    QTest::newRow("tty alone") << "tty"_ba << unset << unset << SessionType::Unknown;
    QTest::newRow("x11 with more behind it")
        << "x11 x"_ba << unset << unset << SessionType::Unknown;
    QTest::newRow("empty type with an X display") << ""_ba << unset << x11 << SessionType::X11;
    QTest::newRow("both displays") << unset << wayland << x11 << SessionType::Wayland;
    QTest::newRow("Wayland display") << unset << wayland << unset << SessionType::Wayland;
    QTest::newRow("empty Wayland display") << unset << ""_ba << x11 << SessionType::Wayland;
    QTest::newRow("X display") << unset << unset << x11 << SessionType::X11;
    QTest::newRow("empty X display") << unset << unset << ""_ba << SessionType::X11;
    QTest::newRow("nothing") << unset << unset << unset << SessionType::Unknown;
}

void SessionDetectorTest::environmentTellsTheSession()
{
    QFETCH(const QByteArray, sessionType);
    QFETCH(const QByteArray, waylandDisplay);
    QFETCH(const QByteArray, display);
    QFETCH(const SessionType, type);
    assign("XDG_SESSION_TYPE", sessionType);
    assign("WAYLAND_DISPLAY", waylandDisplay);
    assign("DISPLAY", display);

    QCOMPARE(SessionDetector::detect(), type);
    const QStringList names{u"x11"_s, u"wayland"_s, u"unknown"_s};
    QCOMPARE(SessionDetector::sessionTypeName(), names.at(static_cast<int>(type)));
    QCOMPARE(SessionDetector::isX11(), type == SessionType::X11);
    QCOMPARE(SessionDetector::isWayland(), type == SessionType::Wayland);
}

void SessionDetectorTest::environmentIsReadAnewAtEachCall()
{
    qputenv("XDG_SESSION_TYPE", "x11");
    QVERIFY(SessionDetector::isX11());
    qputenv("XDG_SESSION_TYPE", "wayland");
    QVERIFY(SessionDetector::isWayland());
    qunsetenv("XDG_SESSION_TYPE");
    QCOMPARE(SessionDetector::detect(), SessionType::Unknown);
}

void SessionDetectorTest::typesHaveTheirNumbers()
{
    QCOMPARE(static_cast<int>(SessionType::X11), 0);
    QCOMPARE(static_cast<int>(SessionType::Wayland), 1);
    QCOMPARE(static_cast<int>(SessionType::Unknown), 2);
}

QTEST_GUILESS_MAIN(SessionDetectorTest)
#include "SessionDetectorTest.moc"
