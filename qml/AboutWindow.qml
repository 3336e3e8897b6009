import QtQuick
import QtQuick.Layouts
import TarqLinux

// The version, the check for a newer one, and the project's web pages.
FramelessWindow {
    id: aboutWindow

    required property SettingsStore settingsStore
    property string updateStatus: ""
    property string updateDownloadUrl: ""

    width: 380
    height: 460
    minimumWidth: 380
    minimumHeight: 460
    visible: true
    title: qsTr("Tarq — About")

    WindowCard {
        anchors.fill: parent
    }

    TitleStrip {
        target: aboutWindow
    }

    CloseButton {
        onClicked: aboutWindow.close()
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.topMargin: 56
        anchors.leftMargin: 32
        anchors.rightMargin: 32
        anchors.bottomMargin: 24
        spacing: 4

        StaticText {
            Layout.alignment: Qt.AlignHCenter
            text: qsTr("Tarq")
            font.pixelSize: 36
            font.bold: true
            font.letterSpacing: 2
            color: "#F7F9FC"
        }
        StaticText {
            Layout.alignment: Qt.AlignHCenter
            text: qsTr("Voice to text, instantly")
            font.pixelSize: 12
            font.letterSpacing: 0.5
            color: "#7B8AA7"
        }
        Rectangle {
            objectName: "versionCard"
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 24
            Layout.preferredWidth: 240
            Layout.preferredHeight: 60
            radius: 12
            color: "#10FFFFFF"
            border.width: 1
            border.color: "#22FFFFFF"

            Column {
                anchors.centerIn: parent
                spacing: 4

                StaticText {
                    objectName: "versionLine"
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: qsTr("Version %1").arg(aboutWindow.settingsStore.appVersion)
                    font.pixelSize: 14
                    font.weight: Font.Medium
                    color: "#F7F9FC"
                }
                StaticText {
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: qsTr("Linux desktop")
                    font.pixelSize: 11
                    color: "#7B8AA7"
                }
            }
        }
        PushButton {
            objectName: "updateButton"
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 12
            Layout.preferredWidth: 240
            Layout.preferredHeight: 42
            radius: 10
            text: aboutWindow.updateStatus || qsTr("Check for updates")
            font.pixelSize: 13
            font.weight: Font.Medium
            onClicked: aboutWindow.checkForUpdates()
        }
        Item {
            Layout.fillHeight: true
        }
        Row {
            objectName: "links"
            Layout.alignment: Qt.AlignHCenter
            spacing: 6

            WebLink {
                text: qsTr("Changelog")
                path: "/releases/changelog"
            }
            WebLink {
                text: qsTr("Status")
                path: "/status"
            }
            WebLink {
                text: qsTr("Privacy")
                path: "/privacy"
            }
            WebLink {
                text: qsTr("Terms")
                path: "/terms"
            }
            WebLink {
                text: qsTr("Support")
                path: "/support"
            }
        }
        StaticText {
            objectName: "legalLine"
            Layout.fillWidth: true
            Layout.topMargin: 8
            text: Deployment.legalLine
            font.pixelSize: 11
            color: "#5A6580"
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }
        StaticText {
            objectName: "domainLine"
            Layout.alignment: Qt.AlignHCenter
            text: Deployment.websiteDomain
            font.pixelSize: 11
            font.letterSpacing: 0.5
            color: "#3D4560"
        }
    }

    component WebLink: TextLink {
        required property string path

        font.pixelSize: 12
        onClicked: Qt.openUrlExternally(Deployment.websiteUrl + path)
    }

    function checkForUpdates() {
        if (aboutWindow.updateDownloadUrl !== "") {
            Qt.openUrlExternally(aboutWindow.updateDownloadUrl);
            return;
        }
        aboutWindow.updateStatus = qsTr("Checking…");
        const request = new XMLHttpRequest(); // qmllint disable unqualified
        request.onreadystatechange = () => {
            if (request.readyState === XMLHttpRequest.DONE) {
                // The window may be gone by now.
                aboutWindow?.showAnswer(request.status, request.responseText);
            }
        };
        request.open("GET", Deployment.workerBaseUrl + "/v1/version");
        request.send();
    }

    function showAnswer(status: int, body: string) {
        if (status !== 200) {
            aboutWindow.updateStatus = qsTr("Network error");
            return;
        }
        try {
            const latest = JSON.parse(body).latest?.linux;
            if (!latest?.version) {
                aboutWindow.updateStatus = qsTr("No updates available");
            } else if (latest.version !== aboutWindow.settingsStore.appVersion) {
                aboutWindow.updateStatus = qsTr("Download v%1").arg(latest.version);
                aboutWindow.updateDownloadUrl = latest.download_url ?? "";
            } else {
                aboutWindow.updateStatus = qsTr("You're up to date");
            }
        } catch (error) {
            aboutWindow.updateStatus = qsTr("Failed to check");
        }
    }
}
