import QtQuick
import QtQuick.Templates as T

// One row of a ContextMenu.
T.AbstractButton {
    id: root

    signal triggered()

    // One row at a time: the one that the pointer or the keyboard reached last.
    readonly property bool highlighted: root.activeFocus

    width: parent?.width ?? implicitWidth
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: 36
    leftPadding: 12
    rightPadding: 12
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    Accessible.role: Accessible.MenuItem
    Accessible.name: root.text

    onHoveredChanged: {
        if (root.hovered) {
            root.forceActiveFocus(Qt.MouseFocusReason);
        }
    }
    onClicked: root.choose()
    Keys.onReturnPressed: root.choose()
    Keys.onEnterPressed: root.choose()

    background: Rectangle {
        radius: 8
        color: root.highlighted ? "#26FFFFFF" : "transparent"
    }
    contentItem: Text {
        leftPadding: 4
        text: root.text
        color: root.highlighted ? "#F7F9FC" : "#B3C0D6"
        font.pixelSize: 13
        font.weight: Font.Medium
        verticalAlignment: Text.AlignVCenter
    }

    // The menu is gone before the choice is carried out, which may open another window.
    function choose() {
        root.Window.window.close();
        root.triggered();
    }
}
