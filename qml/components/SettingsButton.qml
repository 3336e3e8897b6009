import QtQuick

// A button as wide as its page.
PushButton {
    width: parent?.width ?? 0
    height: 38
    radius: 10
    font.pixelSize: 12
    font.weight: Font.Medium
}
