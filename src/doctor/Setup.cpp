#include "doctor/Setup.h"

#include "desktop/SessionDetector.h"
#include "doctor/DesktopFindings.h"
#include "storage/JsonFile.h"
#include "storage/PrivateDirectories.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSaveFile>

#include <array>
#include <optional>

using namespace Qt::StringLiterals;

namespace Doctor {

namespace {

constexpr QByteArrayView kLine = "TARQ_ASSIST=all";

const QString kCommand = u"tarq-linux --toggle"_s;

// Of GNOME's settings.
const QString kKeys = u"org.gnome.settings-daemon.plugins.media-keys"_s;
const QString kKeyList = u"custom-keybindings"_s;
const QString kKeyPath
    = u"/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/tarq-toggle/"_s;
// Of Xfce's.
const QString kXfceKey = u"/commands/custom/<Super><Alt>space"_s;

QString environmentFile()
{
    return QDir(configRootPath()).filePath(u".env"_s);
}

// All lines but those that set the variable; nothing if there is a file that can't be read, which
// must not be replaced.
std::optional<QList<QByteArray>> otherLines()
{
    QFile file(environmentFile());
    if (!file.exists()) {
        return QList<QByteArray>();
    }
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QList<QByteArray> lines = file.readAll().split('\n');
    if (file.error() != QFile::NoError) {
        return {};
    }
    if (lines.last().isEmpty()) {
        lines.removeLast();
    }
    lines.removeIf(
        [](const QByteArray& line) { return line.trimmed().startsWith("TARQ_ASSIST="); });
    return lines;
}

// The other lines stay, and these follow.
bool rewriteEnvironmentFile(const QList<QByteArray>& added)
{
    const std::optional<QList<QByteArray>> kept = otherLines();
    if (!kept) {
        return false;
    }
    QDir().mkpath(configRootPath());
    QSaveFile file(environmentFile());
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    file.setPermissions(kPrivateFilePermissions);
    for (const QByteArray& line : *kept + added) {
        file.write(line + '\n');
    }
    return commitWhole(file);
}

// What the tool says; nothing if it isn't there or fails.
std::optional<QString> run(const QString& tool, const QStringList& arguments)
{
    QProcess process;
    process.start(tool, arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() != 0) {
        return {};
    }
    return QString::fromUtf8(process.readAllStandardOutput());
}

bool desktopIs(QLatin1StringView name)
{
    const QString desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP");
    return desktops.split(u':').contains(name, Qt::CaseInsensitive);
}

// A list of strings as GVariant writes it: ['a', 'b'], or @as [] for an empty one.
QStringList parsed(const QString& list)
{
    static const QRegularExpression kString(u"'([^']*)'"_s);
    QStringList strings;
    for (const QRegularExpressionMatch& match : kString.globalMatch(list)) {
        strings += match.captured(1);
    }
    return strings;
}

QString written(const QStringList& strings)
{
    return strings.isEmpty() ? u"@as []"_s : u"['"_s + strings.join(u"', '"_s) + u"']"_s;
}

bool setGnomeKeys(bool bound)
{
    const std::optional<QString> list = run(u"gsettings"_s, {u"get"_s, kKeys, kKeyList});
    if (!list) {
        return false;
    }
    QStringList paths = parsed(*list);
    paths.removeAll(kKeyPath);
    const QString schema = kKeys + u".custom-keybinding:"_s + kKeyPath;
    if (bound) {
        paths += kKeyPath;
        const std::array<QStringList, 3> values{{
            {u"name"_s, u"Tarq"_s},
            {u"command"_s, kCommand},
            {u"binding"_s, u"<Super><Alt>space"_s},
        }};
        for (const QStringList& value : values) {
            if (!run(u"gsettings"_s, QStringList{u"set"_s, schema} + value)) {
                return false;
            }
        }
    } else {
        static_cast<void>(run(u"gsettings"_s, {u"reset-recursively"_s, schema}));
    }
    return run(u"gsettings"_s, {u"set"_s, kKeys, kKeyList, written(paths)}).has_value();
}

bool setXfceKey(bool bound)
{
    const QStringList channel{u"-c"_s, u"xfce4-keyboard-shortcuts"_s, u"-p"_s, kXfceKey};
    const QStringList value = bound ? QStringList{u"-n"_s, u"-t"_s, u"string"_s, u"-s"_s, kCommand}
                                    : QStringList{u"-r"_s};
    return run(u"xfconf-query"_s, channel + value).has_value();
}

// Where the desktop has to be told in a file of its user's own.
QString lineForConfiguration()
{
    if (desktopIs("sway"_L1)) {
        return u"bindsym Mod4+Mod1+space exec tarq-linux --toggle"_s;
    }
    if (desktopIs("Hyprland"_L1)) {
        return u"bind = SUPER ALT, space, exec, tarq-linux --toggle"_s;
    }
    if (desktopIs("labwc"_L1) || desktopIs("wlroots"_L1)) {
        return u"<keybind key=\"W-A-space\"><action name=\"Execute\" command=\"tarq-linux "
               "--toggle\"/></keybind>"_s;
    }
    return {};
}

using SetKey = bool (*)(bool bound);

SetKey keySetter()
{
    if (desktopIs("GNOME"_L1)) {
        return setGnomeKeys;
    }
    return desktopIs("XFCE"_L1) ? setXfceKey : nullptr;
}

// The desktop watches for the hotkey itself, or the X server does.
bool keyNeedsNothing()
{
    return !SessionDetector::isWayland() || portalWatchesForHotkeys();
}

} // namespace

bool setUp(const std::function<bool(const QString& question)>& confirm,
    const std::function<void(const QString& line)>& tell)
{
    bool worked = true;
    if (confirm(u"Write TARQ_ASSIST=all into %1?"_s.arg(environmentFile()))) {
        worked = rewriteEnvironmentFile({kLine.toByteArray()});
        tell(worked ? u"Written. Tarq reads it at its next start."_s
                    : u"%1 can't be written."_s.arg(environmentFile()));
    }
    if (const SetKey setKey = keySetter(); setKey != nullptr) {
        if (confirm(u"Bind Super+Alt+Space to \"%1\"?"_s.arg(kCommand))) {
            const bool bound = setKey(true);
            tell(bound ? u"Bound."_s : u"The desktop's settings can't be changed."_s);
            worked = worked && bound;
        }
    } else if (const QString line = lineForConfiguration(); !line.isEmpty()) {
        tell(u"To bind Super+Alt+Space, add this to the desktop's configuration:"_s);
        tell(line);
    } else if (keyNeedsNothing()) {
        tell(u"No key has to be bound: hold Super+Space."_s);
    } else {
        tell(u"Bind \"%1\" to a key in the settings of the desktop."_s.arg(kCommand));
    }
    return worked;
}

bool undoSetUp(const std::function<void(const QString& line)>& tell)
{
    bool worked = !QFile::exists(environmentFile()) || rewriteEnvironmentFile({});
    tell(worked ? u"TARQ_ASSIST isn't in %1 any more."_s.arg(environmentFile())
                : u"%1 can't be written."_s.arg(environmentFile()));
    if (const SetKey setKey = keySetter(); setKey != nullptr) {
        const bool unbound = setKey(false);
        tell(unbound ? u"Super+Alt+Space isn't Tarq's any more."_s
                     : u"The desktop's settings can't be changed."_s);
        worked = worked && unbound;
    }
    return worked;
}

} // namespace Doctor
