import QtQuick
import QtQuick.Layouts
import TarqLinux

// The user's home: the transcripts, with search, copy, delete and export. It lives as long as the program,
// and closing it only hides it.
FramelessWindow {
    id: historyWindow

    required property HistoryRepository historyRepository
    required property OverlayStateModel overlayStateModel
    property string searchText: ""
    property string exportStatus: ""
    property bool showClearConfirm: false

    // Under a filter this depends on the words alone: what is deleted stays until they change.
    readonly property var shownEntries: historyWindow.searchText === ""
            ? historyWindow.historyRepository.entries
            : historyWindow.historyRepository.searchEntries(historyWindow.searchText)
    readonly property int count: historyWindow.historyRepository.count

    width: 760
    height: 500
    minimumWidth: 760
    minimumHeight: 500
    visible: false
    title: qsTr("Tarq")

    onClosing: close => {
        close.accepted = false;
        historyWindow.visible = false;
    }

    Timer {
        id: exportStatusTimer

        interval: 5000
        onTriggered: historyWindow.exportStatus = ""
    }

    TwoPanelFrame {
        target: historyWindow
        leftShare: 0.3
        onCloseRequested: historyWindow.visible = false

        leftItems: HistorySide {
            anchors.fill: parent
            anchors.margins: 20
            anchors.topMargin: 32
            userEmail: historyWindow.overlayStateModel.userEmail
            onSignOutRequested: {
                historyWindow.visible = false;
                historyWindow.overlayStateModel.requestLogout();
            }
        }
        rightItems: ColumnLayout {
            anchors.fill: parent
            anchors.topMargin: 48
            anchors.leftMargin: 28
            anchors.rightMargin: 28
            anchors.bottomMargin: 20
            spacing: 8

            HistoryHeader {
                Layout.preferredHeight: 36
                count: historyWindow.count
                showClearConfirm: historyWindow.showClearConfirm
                onClearRequested: historyWindow.showClearConfirm = true
                onClearConfirmed: {
                    historyWindow.historyRepository.clearAll();
                    historyWindow.showClearConfirm = false;
                }
                onClearCancelled: historyWindow.showClearConfirm = false
            }
            StaticText {
                objectName: "subtitle"
                text: historyWindow.subtitle(historyWindow.count)
                font.pixelSize: 13
                color: "#5A6580"
            }
            Rectangle {
                Layout.fillWidth: true
                Layout.preferredHeight: 1
                color: "#10FFFFFF"
            }
            RowLayout {
                objectName: "searchBar"
                visible: historyWindow.count > 0
                spacing: 8

                FormField {
                    objectName: "searchField"
                    Layout.fillWidth: true
                    Layout.preferredHeight: 36
                    radius: 10
                    placeholderText: qsTr("Search transcripts…")
                    placeholderTextColor: "#4A5470"
                    font.pixelSize: 13
                    fillFocused: "#10FFFFFF"
                    stroke: "#1AFFFFFF"
                    strokeFocused: "#22FFFFFF"
                    fadeMs: 150
                    onTextChanged: historyWindow.searchText = text
                }
                ExportButton {
                    objectName: "jsonButton"
                    text: qsTr("JSON")
                    Accessible.name: qsTr("Export as JSON")
                    onClicked: historyWindow.exportAs("json")
                }
                ExportButton {
                    objectName: "txtButton"
                    text: qsTr("TXT")
                    Accessible.name: qsTr("Export as text")
                    onClicked: historyWindow.exportAs("txt")
                }
            }
            StaticText {
                objectName: "statusLine"
                Layout.fillWidth: true
                visible: text !== ""
                text: historyWindow.exportStatus
                font.pixelSize: 11
                color: "#7B8AA7"
                elide: Text.ElideMiddle
            }
            HistoryList {
                Layout.fillWidth: true
                Layout.fillHeight: true
                count: historyWindow.count
                entries: historyWindow.shownEntries
                searchText: historyWindow.searchText
                onCopyRequested: text => historyWindow.historyRepository.copyToClipboard(text)
                onDeleteRequested: id => historyWindow.historyRepository.removeEntry(id)
            }
        }
    }

    component ExportButton: PushButton {
        implicitHeight: 36
        radius: 10
        font.pixelSize: 12
    }

    // Also for whoever opened the window, who calls this instead of the window's own operation.
    function show() {
        historyWindow.visible = true;
        historyWindow.raise();
        historyWindow.requestActivate();
    }

    function subtitle(count: int): string {
        if (count === 0) {
            return "";
        }
        return count === 1 ? qsTr("1 transcript") : qsTr("%1 transcripts").arg(count);
    }

    function exportAs(format: string) {
        const path = historyWindow.historyRepository.exportToFile(format);
        historyWindow.exportStatus = path === "" ? qsTr("Export failed") : qsTr("Saved to %1").arg(path);
        exportStatusTimer.restart();
    }
}
