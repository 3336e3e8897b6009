#include "desktop/SessionDetector.h"

#include <QProcessEnvironment>

using namespace Qt::StringLiterals;

SessionDetector::SessionType SessionDetector::detect()
{
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QString type = environment.value(u"XDG_SESSION_TYPE"_s).toLower().trimmed();
    if (type == "x11"_L1) {
        return SessionType::X11;
    }
    if (type == "wayland"_L1) {
        return SessionType::Wayland;
    }
    // An X server inside a Wayland session sets both variables: Wayland outranks it. A variable
    // that is set to nothing counts as set.
    if (environment.contains(u"WAYLAND_DISPLAY"_s)) {
        return SessionType::Wayland;
    }
    if (environment.contains(u"DISPLAY"_s)) {
        return SessionType::X11;
    }
    return SessionType::Unknown;
}

QString SessionDetector::sessionTypeName()
{
    switch (detect()) {
    case SessionType::X11:
        return u"x11"_s;
    case SessionType::Wayland:
        return u"wayland"_s;
    case SessionType::Unknown:
        break;
    }
    return u"unknown"_s;
}

bool SessionDetector::isX11()
{
    return detect() == SessionType::X11;
}

bool SessionDetector::isWayland()
{
    return detect() == SessionType::Wayland;
}
