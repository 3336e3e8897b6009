pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

// A choice from a list, with its label above the box. The list drops down or up, where it has room.
T.ComboBox {
    id: root

    required property string label

    readonly property int rowHeight: 32

    implicitHeight: root.topInset + 40
    topInset: labelText.height + 8
    topPadding: root.topInset
    leftPadding: 14
    rightPadding: 36
    hoverEnabled: true
    enabled: root.count > 0
    opacity: root.enabled ? 1.0 : 0.5
    font.pixelSize: 13
    Accessible.name: root.label
    Accessible.description: root.displayText

    background: Rectangle {
        radius: 10
        color: root.pressed ? "#22FFFFFF" : root.hovered ? "#1AFFFFFF" : "#10FFFFFF"
        border.width: 1
        border.color: root.popup.visible ? "#8FE9FF" : "#22FFFFFF"

        Behavior on color {
            ColorAnimation {
                duration: 120
            }
        }
        Behavior on border.color {
            ColorAnimation {
                duration: 120
            }
        }
    }
    contentItem: RowText {
        text: root.displayText
    }
    indicator: Text {
        x: root.width - width - 14
        y: root.topInset + (root.availableHeight - height) / 2
        text: "\u25BE"
        font.pixelSize: 12
        color: "#7B8AA7"
    }
    delegate: T.ItemDelegate {
        id: row

        required property int index

        width: ListView.view.width
        height: root.rowHeight
        leftPadding: 10
        rightPadding: 10
        hoverEnabled: true
        highlighted: root.highlightedIndex === row.index
        text: root.textAt(row.index)
        font: root.font

        background: Rectangle {
            radius: 6
            color: row.highlighted ? "#26FFFFFF" : "transparent"
        }
        contentItem: RowText {
            text: row.text
            font.bold: root.currentIndex === row.index
        }
    }
    popup: T.Popup {
        y: root.height + 4
        width: root.width
        height: Math.min(contentItem.implicitHeight, 6.5 * root.rowHeight) + topPadding + bottomPadding
        padding: 4
        margins: 8

        background: Rectangle {
            radius: 10
            color: "#1A1E2E"
            border.width: 1
            border.color: "#20FFFFFF"
        }
        contentItem: ListView {
            implicitHeight: contentHeight
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            model: root.delegateModel
            currentIndex: root.highlightedIndex
            highlightMoveDuration: 0
            T.ScrollBar.vertical: ThinScrollBar {}
        }
    }

    Text {
        id: labelText

        text: root.label
        font.pixelSize: 13
        font.weight: Font.Medium
        color: "#F7F9FC"
    }
    FocusRing {
        anchors.topMargin: root.topInset - 3
        control: root
        radius: 13
    }

    component RowText: Text {
        textFormat: Text.PlainText
        font: root.font
        color: "#F7F9FC"
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
    }

    // What isn't in the list leaves the choice as it is.
    function select(index: int) {
        if (index >= 0) {
            root.currentIndex = index;
        }
    }
}
