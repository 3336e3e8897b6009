#include "storage/SettingsDefaults.h"

#include <QDir>

using namespace Qt::StringLiterals;

QByteArray defaultSettingsJson()
{
    return "{\n"
           "  \"microphoneDeviceId\": \"\",\n"
           "  \"recordingHotkey\": \"Super+Space\",\n"
           "  \"pushToTalkMode\": true,\n"
           "  \"autoStart\": false,\n"
           "  \"showInTray\": true,\n"
           "  \"firstRunComplete\": false,\n"
           "  \"telemetryOptIn\": false,\n"
           "  \"transcriptionLanguage\": \"auto\",\n"
           "  \"autoPunctuation\": true\n"
           "}\n"_ba;
}

QByteArray defaultKeysJson()
{
    return "{\n  \"model\": \"whisper-large-v3-turbo\"\n}\n"_ba;
}

QByteArray defaultHistoryJson()
{
    return "{\n  \"entries\": []\n}\n"_ba;
}

QString autostartDesktopPath()
{
    return QDir::home().filePath(u".config/autostart/tarq-linux.desktop"_s);
}

QByteArray autostartDesktopContent()
{
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Tarq\n"
           "Comment=Floating voice-to-text assistant\n"
           "Exec=tarq-linux\n"
           "Icon=tarq-linux\n"
           "Terminal=false\n"
           "Categories=Utility;Accessibility;Audio;\n"
           "X-GNOME-Autostart-enabled=true\n"
           "StartupNotify=false\n"_ba;
}
