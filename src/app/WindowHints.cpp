#include "app/WindowHints.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTimer>
#include <QWindow>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMappedDelayMs = 150;

void setAtoms(const QString& xpropPath, const QString& windowId, const QString& property,
    const QString& atoms)
{
    QProcess xprop;
    xprop.setProgram(xpropPath);
    xprop.setArguments(
        {u"-id"_s, windowId, u"-f"_s, property, u"32a"_s, u"-set"_s, property, atoms});
    // On Wayland it complains that there is no such window; that isn't for our log.
    xprop.setStandardOutputFile(QProcess::nullDevice());
    xprop.setStandardErrorFile(QProcess::nullDevice());
    xprop.startDetached();
}

} // namespace

void applyX11WindowHints(QWindow* window)
{
    if (window == nullptr) {
        return;
    }
    const QString xpropPath = QStandardPaths::findExecutable(u"xprop"_s);
    if (xpropPath.isEmpty()) {
        return;
    }
    const QString windowId = QString::number(window->winId(), 10);
    QTimer::singleShot(kMappedDelayMs, window, [xpropPath, windowId]() {
        setAtoms(xpropPath, windowId, u"_NET_WM_WINDOW_TYPE"_s, u"_NET_WM_WINDOW_TYPE_UTILITY"_s);
        setAtoms(xpropPath, windowId, u"_NET_WM_STATE"_s,
            u"_NET_WM_STATE_ABOVE,_NET_WM_STATE_SKIP_TASKBAR,_NET_WM_STATE_SKIP_PAGER"_s);
    });
}
