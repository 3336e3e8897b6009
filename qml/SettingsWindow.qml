import QtQuick
import QtQuick.Layouts
import TarqLinux

// The user's settings on four tabs. Each control writes into the store at the moment it changes.
FramelessWindow {
    id: settingsWindow

    required property SettingsStore settingsStore
    required property OverlayStateModel overlayStateModel

    width: 540
    height: 540
    minimumWidth: 540
    minimumHeight: 540
    visible: true
    title: qsTr("Tarq — Settings")

    WindowCard {
        anchors.fill: parent
    }

    TitleStrip {
        target: settingsWindow
    }

    CloseButton {
        onClicked: settingsWindow.close()
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.topMargin: 28
        anchors.leftMargin: 32
        anchors.rightMargin: 32
        anchors.bottomMargin: 24
        spacing: 0

        Text {
            text: qsTr("Settings")
            font.pixelSize: 24
            font.bold: true
            font.letterSpacing: 0.5
            color: "#F7F9FC"
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        TabRow {
            id: tabBar

            objectName: "tabBar"
            Layout.fillHeight: false
            Layout.topMargin: 12
            tabs: [qsTr("General"), qsTr("Recording"), qsTr("Hotkey"), qsTr("Advanced")]
        }
        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: "#22FFFFFF"
        }
        StackLayout {
            objectName: "pages"
            Layout.topMargin: 24
            currentIndex: tabBar.currentIndex

            Column {
                spacing: 20

                SwitchRow {
                    objectName: "autoStart"
                    title: qsTr("Launch Tarq on startup")
                    subtitle: qsTr("Start automatically when you sign in")
                    checked: settingsWindow.settingsStore.autoStart
                    onToggled: settingsWindow.settingsStore.autoStart = checked
                }
                SwitchRow {
                    objectName: "showInTray"
                    title: qsTr("Show in system tray")
                    subtitle: qsTr("Keep Tarq running in the system tray when closed")
                    checked: settingsWindow.settingsStore.showInTray
                    onToggled: settingsWindow.settingsStore.showInTray = checked
                }
                SwitchRow {
                    objectName: "telemetryOptIn"
                    title: qsTr("Anonymous telemetry")
                    subtitle: qsTr("Help us improve Tarq by sharing crash reports")
                    checked: settingsWindow.settingsStore.telemetryOptIn
                    onToggled: settingsWindow.settingsStore.telemetryOptIn = checked
                }
            }

            Column {
                spacing: 20

                ChoiceBox {
                    objectName: "microphone"
                    width: parent.width
                    label: qsTr("Microphone")
                    textRole: "name"
                    valueRole: "id"
                    model: settingsWindow.settingsStore.audioInputDevices()
                    onActivated: settingsWindow.settingsStore.microphoneDeviceId = currentValue ?? ""
                    Component.onCompleted: {
                        const stored = settingsWindow.settingsStore.microphoneDeviceId;
                        select(stored === "" ? -1 : indexOfValue(stored));
                    }
                }
                SwitchRow {
                    objectName: "pushToTalkMode"
                    title: qsTr("Push-to-talk mode")
                    subtitle: qsTr("Hold the hotkey to record, release to transcribe")
                    checked: settingsWindow.settingsStore.pushToTalkMode
                    onToggled: settingsWindow.settingsStore.pushToTalkMode = checked
                }
                SwitchRow {
                    objectName: "autoPunctuation"
                    title: qsTr("Auto-punctuation")
                    subtitle: qsTr("Add commas, periods, and question marks automatically")
                    checked: settingsWindow.settingsStore.autoPunctuation
                    onToggled: settingsWindow.settingsStore.autoPunctuation = checked
                }
                ChoiceBox {
                    objectName: "language"
                    width: parent.width
                    label: qsTr("Transcription language")
                    model: ["auto", "en", "es", "fr", "de", "hi", "zh", "ja", "ko", "pt", "ru", "ar"]
                    onActivated: settingsWindow.settingsStore.transcriptionLanguage = currentText
                    Component.onCompleted: select(find(settingsWindow.settingsStore.transcriptionLanguage))
                }
            }

            HotkeySettings {
                objectName: "hotkey"
                settingsStore: settingsWindow.settingsStore
            }

            Item {
                Column {
                    width: parent.width
                    spacing: 12

                    SettingsRow {
                        title: qsTr("Configuration directory")
                        subtitle: settingsWindow.settingsStore.configDirectory()
                    }
                    SettingsButton {
                        objectName: "clearCacheButton"
                        text: qsTr("Clear cached audio files")
                        onClicked: {} // Still to come. Until then each start deletes the old ones.
                    }
                    SettingsButton {
                        objectName: "resetButton"
                        text: qsTr("Reset all settings to defaults")
                        fill: "transparent"
                        fillHovered: "#1AFF6B6B"
                        fillPressed: "#22FF6B6B"
                        stroke: "#33FF6B6B"
                        strokeHovered: "#FF6B6B"
                        ink: "#FF6B6B"
                        inkHovered: "#FF8888"
                        onClicked: settingsWindow.settingsStore.resetToDefaults()
                    }
                }
                Text {
                    objectName: "footer"
                    anchors.horizontalCenter: parent.horizontalCenter
                    anchors.bottom: parent.bottom
                    text: qsTr("Tarq v%1 · %2").arg(settingsWindow.settingsStore.appVersion)
                                               .arg(Deployment.websiteDomain)
                    font.pixelSize: 11
                    color: "#5A6580"
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }
        }
    }

    // Words, and at their right the control that is given as the row's child.
    component SettingsRow: Item {
        id: row

        required property string title
        property string subtitle: ""
        default property alias controls: slot.data

        width: parent?.width ?? 0
        height: Math.max(words.height, slot.height)
        Accessible.role: Accessible.StaticText
        Accessible.name: row.title
        Accessible.description: row.subtitle

        Column {
            id: words

            anchors.left: parent.left
            anchors.right: slot.left
            anchors.rightMargin: 16
            anchors.verticalCenter: parent.verticalCenter
            spacing: 4

            Text {
                width: parent.width
                text: row.title
                font.pixelSize: 13
                font.weight: Font.Medium
                color: "#F7F9FC"
                wrapMode: Text.Wrap
            }
            Text {
                width: parent.width
                visible: row.subtitle !== ""
                text: row.subtitle
                textFormat: Text.PlainText
                font.pixelSize: 11
                color: "#7B8AA7"
                wrapMode: Text.Wrap
            }
        }
        Item {
            id: slot

            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            width: childrenRect.width
            height: childrenRect.height
        }
    }

    component SwitchRow: SettingsRow {
        id: switchRow

        property alias checked: toggle.checked

        signal toggled()

        ToggleSwitch {
            id: toggle

            objectName: "toggle"
            Accessible.name: switchRow.title
            Accessible.description: switchRow.subtitle
            onToggled: switchRow.toggled()
        }
    }
}
