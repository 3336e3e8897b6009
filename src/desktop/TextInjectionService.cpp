#include "desktop/TextInjectionService.h"

#include "desktop/InputFocusMonitor.h"
#include "desktop/SessionDetector.h"
#include "desktop/TextDelivery.h"
#include "desktop/ToolProcess.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

// The clipboard's new owner has to be known to the target before the keys arrive.
constexpr int kClipboardDelayMs = 100;
// A window that was just raised isn't ready for keys at once.
constexpr int kRaisedDelayMs = 300;

} // namespace

TextInjectionService::TextInjectionService(InputFocusMonitor* focusMonitor, QObject* parent)
    : QObject(parent)
    , m_focusMonitor(focusMonitor)
    , m_xdotoolPath(QStandardPaths::findExecutable(u"xdotool"_s))
    , m_wtypePath(QStandardPaths::findExecutable(u"wtype"_s))
{
}

TextInjectionService::~TextInjectionService()
{
    for (QProcess* process : findChildren<QProcess*>(Qt::FindDirectChildrenOnly)) {
        process->disconnect(this);
        endTool(*process);
    }
}

void TextInjectionService::inject(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        emit injectionFailed(u"Empty transcript"_s);
        return;
    }
    if (m_delivery != nullptr) {
        m_delivery->deliver(trimmed, [this](const QString& error) {
            if (error.isEmpty()) {
                emit injectionFinished();
            } else {
                emit injectionFailed(error);
            }
        });
        return;
    }
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (clipboard == nullptr) {
        emit injectionFailed(u"Clipboard unavailable"_s);
        return;
    }
    clipboard->setText(trimmed, QClipboard::Clipboard);
    QTimer::singleShot(kClipboardDelayMs, this, &TextInjectionService::performPaste);
}

void TextInjectionService::performPaste()
{
    if (SessionDetector::isWayland()) {
        pasteOnWayland();
    } else {
        pasteOnX11();
    }
}

void TextInjectionService::pasteOnWayland()
{
    if (m_wtypePath.isEmpty()) {
        emit injectionFailed(u"wtype not found"_s);
        return;
    }
    QProcess* paste = createPasteProcess(u"wtype failed"_s, u"Failed to launch wtype"_s);
    paste->start(m_wtypePath, {u"-M"_s, u"ctrl"_s, u"v"_s, u"-m"_s, u"ctrl"_s});
}

void TextInjectionService::pasteOnX11()
{
    if (m_xdotoolPath.isEmpty()) {
        emit injectionFailed(u"xdotool not found"_s);
        return;
    }
    QString windowId;
    bool isTerminal = false;
    if (m_focusMonitor != nullptr) {
        windowId = m_focusMonitor->lastTextWindowId();
        isTerminal = m_focusMonitor->lastTextWindowIsTerminal();
    }
    const QString keys = isTerminal ? u"ctrl+shift+v"_s : u"ctrl+v"_s;
    QProcess* paste = createPasteProcess(u"xdotool paste failed"_s, u"Failed to launch xdotool"_s);
    if (windowId.isEmpty()) {
        paste->start(m_xdotoolPath, {u"key"_s, u"--clearmodifiers"_s, keys});
        return;
    }

    auto* raise = new QProcess(this);
    connect(raise, &QProcess::finished, this, [this, raise, paste, keys](int exitCode) {
        raise->deleteLater();
        if (exitCode != 0) {
            // Without the window the keys would reach whatever is in front instead.
            paste->deleteLater();
            emit injectionFailed(u"xdotool windowactivate failed"_s);
            return;
        }
        QTimer::singleShot(kRaisedDelayMs, this, [this, paste, keys]() {
            paste->start(
                m_xdotoolPath, {u"key"_s, u"--delay"_s, u"12"_s, u"--clearmodifiers"_s, keys});
        });
    });
    raise->start(m_xdotoolPath, {u"windowactivate"_s, u"--sync"_s, windowId});
}

QProcess* TextInjectionService::createPasteProcess(
    const QString& failedMessage, const QString& notStartedMessage)
{
    auto* paste = new QProcess(this);
    connect(paste, &QProcess::finished, this, [this, paste, failedMessage](int exitCode) {
        paste->deleteLater();
        if (exitCode != 0) {
            emit injectionFailed(failedMessage);
        } else {
            emit injectionFinished();
        }
    });
    connect(paste, &QProcess::errorOccurred, this, [this, paste, notStartedMessage]() {
        paste->deleteLater();
        emit injectionFailed(notStartedMessage);
    });
    return paste;
}
