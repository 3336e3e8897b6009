import QtQuick

// A window that draws its own frame, and starts in the middle of the screen. It is moved by its DragAreas.
Window {
    id: root

    property real dragStartX: 0
    property real dragStartY: 0

    x: root.centred(Screen.width, root.width)
    y: root.centred(Screen.height, root.height)
    color: "transparent"
    flags: Qt.FramelessWindowHint | Qt.Window

    Component.onCompleted: {
        // It stays where the user puts it from here on: the assignments end the bindings.
        root.x = root.centred(Screen.width, root.width);
        root.y = root.centred(Screen.height, root.height);
    }

    function centred(available: real, size: real): real {
        return Math.max(0, (available - size) / 2);
    }
}
