#include "assist/MenuBackdrop.h"

#include <QEvent>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>
#include <QWindow>

namespace Assist {

namespace {

class TransparentWindow final : public QRasterWindow
{
public:
    TransparentWindow()
    {
        QSurfaceFormat format = requestedFormat();
        format.setAlphaBufferSize(8);
        setFormat(format);
        // Compositors give the keyboard to unmanaged windows, but not to tools.
        setFlags(Qt::Tool | Qt::BypassWindowManagerHint | Qt::FramelessWindowHint
            | Qt::WindowDoesNotAcceptFocus);
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override
    {
        QPainter painter(this);
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
        painter.fillRect(QRect(QPoint(), size()), Qt::black);
    }
};

} // namespace

MenuBackdrop::MenuBackdrop(QWindow* menu)
    : QObject(menu)
    , m_menu(menu)
    , m_window(std::make_unique<TransparentWindow>())
{
    m_window->installEventFilter(this);
    connect(menu, &QWindow::visibleChanged, this, &MenuBackdrop::follow);
}

MenuBackdrop::~MenuBackdrop() = default;

bool MenuBackdrop::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress) {
        m_menu->close();
    }
    return QObject::eventFilter(watched, event);
}

void MenuBackdrop::follow(bool menuIsVisible)
{
    if (menuIsVisible) {
        m_window->setGeometry(m_menu->screen()->geometry());
        m_window->show();
        m_menu->raise();
    } else {
        m_window->hide();
    }
}

} // namespace Assist
