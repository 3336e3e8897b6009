#pragma once

#include <QObject>

#include <memory>

class QRasterWindow;
class QWindow;

namespace Assist {

// Lies unseen below an open menu, over the whole screen, and closes the menu when it is pressed. A
// menu that goes through XWayland is told of no press in a Wayland window. Belongs to the menu.
class MenuBackdrop final : public QObject
{
    Q_OBJECT

public:
    explicit MenuBackdrop(QWindow* menu);
    ~MenuBackdrop() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void follow(bool menuIsVisible);

    QWindow* const m_menu;
    const std::unique_ptr<QRasterWindow> m_window;
};

} // namespace Assist
