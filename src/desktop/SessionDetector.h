#pragma once

#include <QString>

// Tells whether this desktop session is X11 or Wayland. Each call reads the environment anew.
class SessionDetector final
{
public:
    enum class SessionType { X11, Wayland, Unknown };

    SessionDetector() = delete;

    [[nodiscard]] static SessionType detect();
    /// "x11", "wayland" or "unknown".
    [[nodiscard]] static QString sessionTypeName();
    [[nodiscard]] static bool isX11();
    [[nodiscard]] static bool isWayland();
};
