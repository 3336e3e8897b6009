import QtQuick

// Says what went wrong or, if nothing did, what the user should know.
Rectangle {
    id: root

    property string errorMessage: ""
    property string infoMessage: ""

    readonly property bool failed: root.errorMessage !== ""

    height: label.contentHeight + 22
    visible: root.failed || root.infoMessage !== ""
    radius: 12
    color: root.failed ? "#1AFF6B6B" : "#1A8FE9FF"
    border.width: 1
    border.color: root.failed ? "#33FF6B6B" : "#338FE9FF"
    Accessible.role: Accessible.AlertMessage
    Accessible.name: label.text

    Text {
        id: label

        anchors.centerIn: parent
        width: parent.width - 24
        text: root.failed ? root.errorMessage : root.infoMessage
        textFormat: Text.PlainText
        font.pixelSize: 13
        color: root.failed ? "#FFA8A8" : "#A5F0FF"
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
    }
}
