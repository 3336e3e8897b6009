#pragma once

#include <QByteArray>
#include <QString>

// The fixed paths and texts that the settings store starts from. The texts are written byte for
// byte.

QByteArray defaultSettingsJson();
QByteArray defaultKeysJson();
QByteArray defaultHistoryJson();

/// Where desktops look for programs to start at login (XDG Desktop Application Autostart).
QString autostartDesktopPath();
QByteArray autostartDesktopContent();
