import QtQuick

// Says that the recording is about to end by itself.
Rectangle {
    width: label.implicitWidth + 10
    height: label.implicitHeight + 4
    radius: 6
    color: "#CC000000"
    border.width: 1
    border.color: "#FF6600"

    Text {
        id: label

        anchors.centerIn: parent
        text: "click now"
        color: "#FF6600"
        font.pixelSize: 9
        font.weight: Font.DemiBold
    }
}
