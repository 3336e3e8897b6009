import QtQuick

// A text in the middle, with a mark before it if there is one.
Item {
    id: root

    property Item mark: null
    property alias text: label.text
    property alias font: label.font
    property alias color: label.color

    readonly property real markWidth: root.mark === null ? 0 : root.mark.width + content.spacing

    implicitWidth: root.markWidth + label.implicitWidth
    implicitHeight: content.implicitHeight

    Row {
        id: content

        anchors.centerIn: parent
        spacing: 10

        Item {
            anchors.verticalCenter: parent.verticalCenter
            width: childrenRect.width
            height: childrenRect.height
            children: root.mark === null ? [] : [root.mark]
        }
        Text {
            id: label

            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, root.width - root.markWidth)
            textFormat: Text.PlainText
            elide: Text.ElideRight
        }
    }
}
