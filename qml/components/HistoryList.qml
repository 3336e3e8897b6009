pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic

// The transcripts or, where there are none to show, why.
Item {
    id: root

    required property int count // of the whole history
    required property var entries
    required property string searchText

    signal copyRequested(text: string)
    signal deleteRequested(id: real)

    onEntriesChanged: root.showEntries()
    onSearchTextChanged: list.positionViewAtBeginning()
    Component.onCompleted: root.showEntries()

    ListView {
        id: list

        objectName: "list"
        anchors.fill: parent
        visible: root.count > 0 && (count > 0 || root.searchText === "")
        spacing: 8
        clip: true
        reuseItems: true
        highlightFollowsCurrentItem: false
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ThinScrollBar {}
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Transcripts")

        delegate: HistoryCard {
            onCopyRequested: root.copyRequested(modelData.text)
            onDeleteRequested: root.deleteRequested(modelData.id)
        }
    }

    Column {
        objectName: "emptyState"
        anchors.centerIn: parent
        visible: root.count === 0
        spacing: 8

        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 64
            height: 64
            radius: 32
            color: "#08FFFFFF"

            StaticText {
                anchors.centerIn: parent
                text: "\u{1F399}"
                font.pixelSize: 28
                color: "#F7F9FC"
                opacity: 0.5
            }
        }
        StaticText {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("No transcripts yet")
            font.pixelSize: 16
            font.weight: Font.Medium
            color: "#7B8AA7"
        }
        StaticText {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Click the floating bubble and speak")
            font.pixelSize: 13
            color: "#4A5470"
        }
    }

    Column {
        objectName: "noMatches"
        anchors.centerIn: parent
        width: parent.width
        visible: root.count > 0 && list.count === 0 && root.searchText !== ""
        spacing: 4

        StaticText {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("No matches")
            font.pixelSize: 14
            font.weight: Font.Medium
            color: "#7B8AA7"
        }
        StaticText {
            width: parent.width
            text: qsTr("for \"%1\"").arg(root.searchText)
            font.pixelSize: 12
            color: "#4A5470"
            horizontalAlignment: Text.AlignHCenter
            elide: Text.ElideRight
        }
    }

    // A new model starts at its beginning, and the keyboard's focus goes with the old cards.
    function showEntries() {
        const top = list.indexAt(0, list.contentY);
        const offset = top < 0 ? 0 : list.contentY - list.itemAtIndex(top).y;
        const focused = root.Window.activeFocusItem;
        const keyboard = list.activeFocus && focused instanceof BaseButton && focused.visualFocus;
        const current = list.currentIndex;

        list.model = root.entries;
        if (top >= 0) {
            list.positionViewAtIndex(Math.min(top, list.count - 1), ListView.Beginning);
            list.contentY += offset;
            list.returnToBounds();
        }
        list.currentIndex = Math.max(0, Math.min(current, list.count - 1));
        if (keyboard) {
            list.currentItem?.forceActiveFocus(Qt.TabFocusReason);
        }
    }
}
