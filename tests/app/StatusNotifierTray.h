#pragma once

#include <QProcess>

// A tray of the status notifier kind on the session bus, which takes icons by the desktops'
// protocol. Qt looks for one when it is first asked, and never again.
class StatusNotifierTray final
{
public:
    StatusNotifierTray();
    ~StatusNotifierTray();
    Q_DISABLE_COPY_MOVE(StatusNotifierTray)

    /// Returns once icons can come.
    [[nodiscard]] bool start();
    /// How many icons this process has put there so far.
    [[nodiscard]] qsizetype icons() const;

private:
    QProcess m_watcher;
    QByteArray m_printed;
};
