import QtQuick
import QtQuick.Layouts

// One transcript of the history. A click on the card copies it, as its button does. Of all cards, Tab reaches
// the current one, and the arrow keys move on from there.
BaseButton {
    id: root

    required property var modelData
    required property int index

    // More than four lines hold, of a text that may be a hundred thousand characters long: all of it is
    // laid out to show its beginning, which takes seconds.
    readonly property int shownCharacters: 2000
    readonly property ItemView view: ListView.view
    readonly property bool current: ListView.isCurrentItem

    signal copyRequested()
    signal deleteRequested()

    width: root.view?.width ?? 0
    padding: 14
    radius: 12
    focusPolicy: root.tabPolicy(root.activeFocus)
    ringGap: 0 // the list cuts off what is beyond the card
    Accessible.name: root.modelData.text
    Accessible.description: qsTr("Copies the transcript")

    onClicked: root.copyRequested()
    onActiveFocusChanged: {
        if (root.activeFocus) {
            root.view.currentIndex = root.index;
            if (root.focusReason === Qt.OtherFocusReason) {
                root.focusReason = Qt.TabFocusReason; // an arrow key, which the view has handled
            }
        }
    }
    onVisualFocusChanged: {
        if (root.visualFocus) {
            root.view.positionViewAtIndex(root.index, ListView.Contain);
        }
    }

    background: Rectangle {
        radius: root.radius
        color: root.hovered ? "#12FFFFFF" : "#08FFFFFF"
        border.width: 1
        border.color: root.hovered ? "#1AFFFFFF" : "#0CFFFFFF"

        Behavior on color {
            HoverFade {}
        }
        Behavior on border.color {
            HoverFade {}
        }
    }
    contentItem: ColumnLayout {
        spacing: 8

        RowLayout {
            spacing: 6

            Text {
                objectName: "dateLine"
                Layout.fillWidth: true
                text: root.dateLine(root.modelData.createdAt)
                font.pixelSize: 11
                font.weight: Font.Medium
                color: "#5A6580"
                elide: Text.ElideRight
            }
            CardButton {
                focusPolicy: root.tabPolicy(activeFocus)
                objectName: "copyButton"
                text: qsTr("Copy")
                fillHovered: "#1A8FE9FF"
                fillPressed: "#308FE9FF"
                strokeHovered: "#408FE9FF"
                inkHovered: "#8FE9FF"
                onClicked: root.copyRequested()
            }
            CardButton {
                focusPolicy: root.tabPolicy(activeFocus)
                objectName: "deleteButton"
                text: qsTr("Delete")
                fillHovered: "#1AFF6B6B"
                fillPressed: "#30FF6B6B"
                strokeHovered: "#40FF6B6B"
                inkHovered: "#FF8888"
                onClicked: root.deleteRequested()
            }
        }
        Text {
            objectName: "transcript"
            Layout.fillWidth: true
            text: root.modelData.text.slice(0, root.shownCharacters)
            textFormat: Text.PlainText
            font.pixelSize: 14
            lineHeight: 1.4
            color: "#E8ECF4"
            wrapMode: Text.Wrap
            maximumLineCount: 4
            elide: Text.ElideRight
        }
    }

    component CardButton: PushButton {
        implicitHeight: 28
        topPadding: 0
        bottomPadding: 0
        radius: 8
        font.pixelSize: 11
        font.weight: Font.Medium
        fill: "#0EFFFFFF"
        stroke: "transparent"
        ink: "#B3C0D6"
        pressedScale: 0.96
    }

    component HoverFade: ColorAnimation {
        duration: 150
    }

    function dateLine(createdAt: real): string {
        const when = new Date(createdAt);
        return when.toLocaleDateString(Qt.locale(), "MMM d, yyyy") + "  "
                + when.toLocaleTimeString(Qt.locale(), "h:mm AP");
    }

    // What has the focus can't be taken from the tab order.
    function tabPolicy(focused: bool): int {
        return root.current || focused ? Qt.StrongFocus : Qt.ClickFocus;
    }
}
