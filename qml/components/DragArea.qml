import QtQuick

// Moves its window with the pointer.
MouseArea {
    id: root

    required property FramelessWindow target

    onPressed: mouse => {
        root.target.dragStartX = mouse.x;
        root.target.dragStartY = mouse.y;
    }
    // The window moves under the pointer, which is why the press point stays the same.
    onPositionChanged: mouse => {
        root.target.x += mouse.x - root.target.dragStartX;
        root.target.y += mouse.y - root.target.dragStartY;
    }
}
