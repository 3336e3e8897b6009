#pragma once

#include "desktop/GlobalHotkeyManager.h"
#include "support/TarqTest.h"

#include <QList>
#include <QStringList>

#include <cstdint>
#include <memory>

struct xcb_connection_t;

// The modifiers that Super+Space is grabbed with.
namespace Grabs {

inline constexpr uint16_t kSuper = 0x40;
inline constexpr uint16_t kNumLock = 0x10;
inline constexpr uint16_t kCapsLock = 0x02;
inline const QList<uint16_t> kAll{
    kSuper, kSuper | kNumLock, kSuper | kCapsLock, kSuper | kNumLock | kCapsLock};

} // namespace Grabs

// Another program that holds Super+Space under some modifiers.
class OtherGrabber final
{
public:
    explicit OtherGrabber(const QList<uint16_t>& modifiers);
    ~OtherGrabber();
    Q_DISABLE_COPY_MOVE(OtherGrabber)

    [[nodiscard]] bool hasAll() const { return m_complete; }

private:
    xcb_connection_t* m_connection;
    bool m_complete = true;
};

// Base of the tests of the hotkey: real keys, pressed by xdotool on a real X server.
class HotkeyTest : public TarqTest
{
    Q_OBJECT

protected:
    static bool run(const QString& program, const QStringList& arguments);
    /// A keysym's name, or a keycode of two digits or more.
    static void down(const QString& key);
    static void up(const QString& key);
    static void setRepeat(bool on);

    /// Makes a manager whose holds take `holdMs`, so that a test needn't last.
    void start(int holdMs = 200);
    void stop();
    [[nodiscard]] bool isRegistered() const;

    std::unique_ptr<GlobalHotkeyManager> m_manager;
    std::unique_ptr<QSignalSpy> m_starts;
    std::unique_ptr<QSignalSpy> m_stops;

protected slots:
    void init();
    void cleanup();
};
