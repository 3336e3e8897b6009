import QtQuick
import QtQuick.Layouts
import TarqLinux

// Who is signed in, and what can be done with the account. The window only asks for it.
FramelessWindow {
    id: profileWindow

    required property OverlayStateModel overlayStateModel
    property string userEmail: ""
    property string userId: ""

    width: 400
    height: 420
    minimumWidth: 400
    minimumHeight: 420
    visible: true
    title: qsTr("Tarq — Profile")

    WindowCard {
        anchors.fill: parent
    }

    TitleStrip {
        target: profileWindow
    }

    CloseButton {
        onClicked: profileWindow.close()
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.topMargin: 48
        anchors.leftMargin: 36
        anchors.rightMargin: 36
        anchors.bottomMargin: 24
        spacing: 12

        StaticText {
            Layout.alignment: Qt.AlignHCenter
            text: qsTr("Tarq")
            font.pixelSize: 26
            font.bold: true
            font.letterSpacing: 2
            color: "#F7F9FC"
        }
        Avatar {
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredWidth: 72
            Layout.preferredHeight: 72
            email: profileWindow.userEmail
            letterSize: 30
        }
        StaticText {
            objectName: "emailLine"
            Layout.fillWidth: true
            text: profileWindow.userEmail || qsTr("Not signed in")
            font.pixelSize: 15
            color: "#E8ECF4"
            horizontalAlignment: Text.AlignHCenter
            elide: Text.ElideMiddle
        }
        Item {
            Layout.fillHeight: true
        }
        PushButton {
            objectName: "exportButton"
            Layout.fillWidth: true
            Layout.preferredHeight: 38
            radius: 10
            text: qsTr("Download my data")
            font.pixelSize: 12
            font.weight: Font.Medium
            onClicked: profileWindow.overlayStateModel.requestExportData()
        }
        PushButton {
            objectName: "signOutButton"
            Layout.fillWidth: true
            Layout.preferredHeight: 46
            text: qsTr("Sign out")
            font.pixelSize: 14
            font.bold: true
            fill: "transparent"
            fillHovered: "#26FF6B6B"
            fillPressed: "#FF6B6B"
            stroke: "#33FF6B6B"
            strokeHovered: "#FF6B6B"
            ink: "#FF8888"
            inkHovered: "#FFFFFF"
            pressedScale: 0.98
            onClicked: {
                profileWindow.overlayStateModel.requestLogout();
                profileWindow.close();
            }
        }
        TextLink {
            id: deleteRow

            property bool armed: false

            objectName: "deleteRow"
            Layout.fillWidth: true
            Layout.preferredHeight: 32
            text: deleteRow.armed ? qsTr("Click again to permanently delete") : qsTr("Delete account")
            font.pixelSize: 11
            font.weight: Font.Medium
            ink: deleteRow.armed ? "#FF6B6B" : "#5A6580"
            inkHovered: deleteRow.armed ? "#FF6B6B" : "#FF8888"
            fadeMs: 120
            Accessible.role: Accessible.Button
            onClicked: {
                if (deleteRow.armed) {
                    profileWindow.overlayStateModel.requestDeleteAccount();
                    profileWindow.close();
                } else {
                    deleteRow.armed = true;
                    disarmTimer.restart();
                }
            }

            Timer {
                id: disarmTimer

                interval: 4000
                onTriggered: deleteRow.armed = false
            }
        }
        StaticText {
            objectName: "domainLine"
            Layout.alignment: Qt.AlignHCenter
            text: Deployment.websiteDomain
            font.pixelSize: 11
            font.letterSpacing: 0.5
            color: "#5A6580"
        }
    }
}
