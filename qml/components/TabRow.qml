pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts

// A row of tabs of one width; the current one is underlined.
RowLayout {
    id: root

    required property list<string> tabs
    property int currentIndex: 0

    spacing: 0
    Accessible.role: Accessible.PageTabList

    Repeater {
        model: root.tabs

        BaseButton {
            id: tab

            required property string modelData
            required property int index
            readonly property bool current: root.currentIndex === tab.index

            Layout.fillWidth: true
            Layout.preferredWidth: 1
            padding: 10
            radius: 6
            text: tab.modelData
            font.pixelSize: 13
            font.weight: Font.Medium
            // A click leaves the keyboard with the page.
            focusPolicy: Qt.TabFocus
            Accessible.role: Accessible.PageTab
            Accessible.selectable: true
            Accessible.selected: tab.current
            onClicked: root.currentIndex = tab.index

            contentItem: Text {
                text: tab.text
                font: tab.font
                color: tab.current ? "#F7F9FC" : "#7B8AA7"
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
            }

            Rectangle {
                objectName: "underline"
                anchors.horizontalCenter: parent.horizontalCenter
                anchors.bottom: parent.bottom
                width: tab.current ? tab.width * 0.6 : 0
                height: 2
                color: "#8FE9FF"

                Behavior on width {
                    NumberAnimation {
                        duration: 150
                    }
                }
            }
        }
    }
}
