#pragma once

#include <QPointF>
#include <QQuickWindow>

// A window that goes when the user presses a button outside of it, as menus do. While it is on the
// screen it holds pointer and keyboard, so that the window that the user types in keeps its focus.
// QML builds menus from it: Qt's own are drawn inside the window that they belong to before Qt 6.8.
class PopupWindow : public QQuickWindow
{
    Q_OBJECT
    QML_ELEMENT

public:
    explicit PopupWindow(QWindow* parent = nullptr);

    /// Shows the window with its corner at `position` in the owner's coordinates; where the screen
    /// ends before the window does, the window lies on the other side of that point.
    Q_INVOKABLE void popup(QWindow* owner, const QPointF& position);

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void exposeEvent(QExposeEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
};
