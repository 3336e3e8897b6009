#include "desktop/InputFocusMonitor.h"

#include "desktop/ToolProcess.h"

#include <QProcess>
#include <QStandardPaths>
#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kPollIntervalMs = 250;
constexpr int kToolTimeoutMs = 200;

// Matched as substrings and in any case, so that "gsd-" stands for a family of daemons.
const QStringList kNonTextClasses{u"nautilus"_s, u"Nautilus"_s, u"nemo"_s, u"Nemo"_s, u"thunar"_s,
    u"Thunar"_s, u"dolphin"_s, u"Dolphin"_s, u"pcmanfm"_s, u"Pcmanfm"_s, u"gnome-shell"_s,
    u"Gnome-shell"_s, u"mutter"_s, u"Mutter"_s, u"mutter-x11-frames"_s, u"gsd-"_s, u"ibus-"_s,
    u"totem"_s, u"Totem"_s, u"vlc"_s, u"Vlc"_s, u"mpv"_s, u"eog"_s, u"Eog"_s, u"eom"_s, u"Eom"_s,
    u"shotwell"_s, u"Shotwell"_s, u"gnome-calculator"_s, u"gnome-system-monitor"_s,
    u"gnome-control-center"_s, u"gnome-calendar"_s, u"update-manager"_s, u"Update-manager"_s,
    u"update-notifier"_s, u"evolution-alarm-notify"_s};

const QStringList kTerminalClasses{u"gnome-terminal-server"_s, u"Gnome-terminal"_s, u"xterm"_s,
    u"XTerm"_s, u"konsole"_s, u"Konsole"_s, u"kitty"_s, u"Kitty"_s, u"alacritty"_s, u"Alacritty"_s,
    u"tilix"_s, u"Tilix"_s, u"terminator"_s, u"Terminator"_s, u"xfce4-terminal"_s,
    u"Xfce4-terminal"_s, u"foot"_s, u"Foot"_s, u"wezterm"_s, u"Wezterm"_s, u"urxvt"_s, u"URxvt"_s};

bool containsAnyOf(const QString& windowClass, const QStringList& entries)
{
    return std::any_of(entries.begin(), entries.end(),
        [&](const QString& entry) { return windowClass.contains(entry, Qt::CaseInsensitive); });
}

// What the tool printed, trimmed; empty if it failed or took too long.
QString outputOf(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments, QIODevice::ReadWrite);
    if (!process.waitForFinished(kToolTimeoutMs)) {
        endTool(process);
        return {};
    }
    if (process.exitCode() != 0) {
        return {};
    }
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

} // namespace

InputFocusMonitor::InputFocusMonitor(QObject* parent)
    : QObject(parent)
    , m_xdotoolPath(QStandardPaths::findExecutable(u"xdotool"_s))
    , m_xpropPath(QStandardPaths::findExecutable(u"xprop"_s))
{
    m_pollTimer.setObjectName(u"pollTimer"_s);
    m_pollTimer.setInterval(kPollIntervalMs);
    connect(&m_pollTimer, &QTimer::timeout, this, &InputFocusMonitor::poll);
}

void InputFocusMonitor::start()
{
    if (m_xdotoolPath.isEmpty()) {
        return;
    }
    poll();
    m_pollTimer.start();
}

void InputFocusMonitor::stop()
{
    m_pollTimer.stop();
}

bool InputFocusMonitor::lastTextWindowIsTerminal() const
{
    return isTerminalWindow(m_lastTextWindowClass);
}

bool InputFocusMonitor::isTextInputWindow(const QString& windowClass)
{
    return !windowClass.isEmpty() && !containsAnyOf(windowClass, kNonTextClasses);
}

bool InputFocusMonitor::isTerminalWindow(const QString& windowClass)
{
    return containsAnyOf(windowClass, kTerminalClasses);
}

void InputFocusMonitor::poll()
{
    const QString id = queryActiveWindowId();
    if (id.isEmpty()) {
        if (m_hasInputFocus) {
            m_hasInputFocus = false;
            m_currentWindowId.clear();
            emit inputFocusChanged(false);
        }
        return;
    }
    if (id == m_currentWindowId) {
        return;
    }
    m_currentWindowId = id;
    const QString windowClass = queryWindowClass(id);
    // A click on one of our own windows must not make the program forget where the user types.
    if (windowClass.contains("tarq-linux"_L1, Qt::CaseInsensitive)) {
        return;
    }
    const bool isText = isTextInputWindow(windowClass);
    if (isText) {
        m_lastTextWindowId = id;
        m_lastTextWindowClass = windowClass;
    }
    if (isText != m_hasInputFocus) {
        m_hasInputFocus = isText;
        emit inputFocusChanged(m_hasInputFocus);
    }
}

QString InputFocusMonitor::queryActiveWindowId() const
{
    return outputOf(m_xdotoolPath, {u"getactivewindow"_s});
}

QString InputFocusMonitor::queryWindowClass(const QString& windowId) const
{
    if (m_xpropPath.isEmpty() || windowId.isEmpty()) {
        return {};
    }
    // The line reads: WM_CLASS(STRING) = "instance", "Class"
    const QString line = outputOf(m_xpropPath, {u"-id"_s, windowId, u"WM_CLASS"_s});
    const qsizetype equals = line.indexOf(u'=');
    return equals < 0 ? QString() : line.mid(equals + 1).trimmed();
}
