import QtQuick
import TarqLinux

// A menu in a window of its own, so that it may be larger than the window it belongs to. Its entries are
// ContextMenuItem and ContextMenuSeparator; a choice closes it, and so do Escape and a press elsewhere.
PopupWindow {
    id: root

    default property alias entries: column.data

    // The rows' corners (8) then run beside the background's (12).
    readonly property int inset: 4

    width: background.width
    height: background.height
    color: "transparent"

    // Opens with a corner at this point of the owner's window.
    function openAt(owner: Window, x: real, y: real) {
        column.forceActiveFocus();
        root.popup(owner, Qt.point(x, y));
    }

    Rectangle {
        id: background

        width: Math.max(180, column.implicitWidth + 2 * root.inset)
        height: column.implicitHeight + 2 * root.inset
        radius: 12
        color: "#1A1E2E"
        border.width: 1
        border.color: "#20FFFFFF"
    }

    Column {
        id: column

        x: root.inset
        y: root.inset
        width: background.width - 2 * root.inset
        focus: true
        Accessible.role: Accessible.PopupMenu

        Keys.onEscapePressed: root.close()
        Keys.onDownPressed: column.moveFocus(true)
        Keys.onUpPressed: column.moveFocus(false)

        function moveFocus(forward: bool) {
            const current = root.activeFocusItem ?? column;
            current.nextItemInFocusChain(forward).forceActiveFocus(Qt.TabFocusReason);
        }
    }
}
