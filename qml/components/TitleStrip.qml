import QtQuick

// The top of a window, by which it is dragged, up to the button that closes it. It lies beneath whatever
// else is there.
DragArea {
    width: (parent?.width ?? 0) - 40
    height: 48
}
