import QtQuick
import QtQuick.Layouts
import TarqLinux

// The left panel of the history window: who is signed in, and the ways out.
ColumnLayout {
    id: root

    required property string userEmail

    signal signOutRequested()

    spacing: 8

    RowLayout {
        Layout.alignment: Qt.AlignHCenter
        spacing: 10

        BrandIcon {
            Layout.preferredWidth: 36
            Layout.preferredHeight: 36
        }
        StaticText {
            text: qsTr("Tarq")
            font.pixelSize: 22
            font.letterSpacing: 2
            font.weight: Font.Light
            color: "#F7F9FC"
        }
    }
    Separator {
        Layout.topMargin: 8
        Layout.bottomMargin: 8
    }
    Avatar {
        Layout.alignment: Qt.AlignHCenter
        Layout.preferredWidth: 52
        Layout.preferredHeight: 52
        email: root.userEmail
        letterSize: 22
    }
    StaticText {
        objectName: "emailLine"
        Layout.fillWidth: true
        text: root.userEmail || qsTr("Not signed in")
        font.pixelSize: 12
        color: "#B3C0D6"
        horizontalAlignment: Text.AlignHCenter
        elide: Text.ElideMiddle
    }
    Item {
        Layout.fillHeight: true
    }
    WebLink {
        objectName: "websiteLink"
        glyph: "\u2197"
        text: qsTr("Website")
        path: "/releases/tarq"
    }
    WebLink {
        objectName: "helpLink"
        glyph: "?"
        text: qsTr("Help")
        path: "/releases/tarq/help"
    }
    Separator {}
    SideButton {
        objectName: "signOutButton"
        text: qsTr("Sign Out")
        fillHovered: "#14FF6B6B"
        fillPressed: "#26FF6B6B"
        ink: "#FF6B6B"
        inkHovered: "#FF8A8A"
        onClicked: root.signOutRequested()
    }
    SideButton {
        objectName: "quitButton"
        text: qsTr("Quit Tarq")
        ink: "#5A6580"
        inkHovered: "#B3C0D6"
        onClicked: Qt.quit()
    }
    StaticText {
        objectName: "domainLine"
        Layout.alignment: Qt.AlignHCenter
        Layout.topMargin: 4
        text: Deployment.websiteDomain
        font.pixelSize: 10
        color: "#2D3550"
    }

    component Separator: Rectangle {
        Layout.fillWidth: true
        Layout.preferredHeight: 1
        color: "#10FFFFFF"
    }

    component SideButton: PushButton {
        Layout.fillWidth: true
        implicitHeight: 36
        radius: 10
        font.pixelSize: 13
        fill: "transparent"
        fillHovered: "#10FFFFFF"
        fillPressed: "#1AFFFFFF"
        stroke: "transparent"
    }

    component WebLink: SideButton {
        id: link

        required property string glyph
        required property string path

        ink: "#7B8AA7"
        inkHovered: "#8FE9FF"
        mark: Text {
            text: link.glyph
            font.pixelSize: 13
            color: link.lit ? "#8FE9FF" : "#5A6580"
        }
        Accessible.role: Accessible.Link
        onClicked: Qt.openUrlExternally(Deployment.websiteUrl + link.path)
    }
}
