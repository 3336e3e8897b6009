import QtQuick

// A line between two groups of a ContextMenu.
Rectangle {
    width: parent?.width ?? 0
    height: 1
    color: "#14FFFFFF"
    Accessible.role: Accessible.Separator
}
