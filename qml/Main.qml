import QtQuick
import TarqLinux

// The bubble: a window that floats above all others, and is clicked to dictate, dragged to move, and
// right-clicked for the menu.
Window {
    id: shellWindow

    required property OverlayStateModel overlayStateModel
    required property TranscriptionPipeline transcriptionPipeline
    // What a desktop needs beyond the ordinary window flags.
    property int extraFlags: 0

    property real screenPressX: 0
    property real screenPressY: 0
    property real winPressX: 0
    property real winPressY: 0
    property bool isDrag: false
    readonly property alias contextMenuWindow: contextMenu

    // Read by Qt's X11 plugin when it shows the window: the keyboard focus stays where the user types.
    property bool _q_showWithoutActivating: true

    // Large enough for every state and the badge, so that the window itself never changes its size.
    width: 138
    height: 110
    // The same again as limits: by them a tiling compositor knows that the window has to float.
    minimumWidth: 138
    maximumWidth: 138
    minimumHeight: 110
    maximumHeight: 110
    x: shellWindow.initialX(Screen.width)
    y: shellWindow.initialY(Screen.height)
    visible: shellWindow.overlayStateModel.visible
    color: Qt.rgba(0, 0, 0, 0.004)
    title: qsTr("Tarq")
    flags: Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint | shellWindow.extraFlags

    // Only the model shows and hides the bubble, no window manager.
    onClosing: close => close.accepted = false
    onVisibleChanged: {
        if (!shellWindow.visible) {
            contextMenu.close();
        }
    }
    Component.onCompleted: {
        // The window is on the screen by now, so the bindings above have placed it. From here on it
        // stays where it is put, and the assignments end them.
        shellWindow.x = shellWindow.initialX(Screen.width);
        shellWindow.y = shellWindow.initialY(Screen.height);
    }

    ThemeTokens {
        id: theme
    }

    FloatingShell {
        id: shell

        objectName: "shell"
        anchors.centerIn: parent
        anchors.alignWhenCentered: false
        anchors.verticalCenterOffset: -12
        theme: theme
        visualState: shellWindow.overlayStateModel.visualState
        waveScales: shellWindow.overlayStateModel.waveScales
        recordingWarning: shellWindow.overlayStateModel.recordingWarning
        scale: pointer.pressed && pointer.pressedButtons === Qt.LeftButton && !shellWindow.isDrag
               ? 0.90 : 1.0

        Behavior on scale {
            NumberAnimation {
                duration: 100
                easing.type: Easing.OutCubic
            }
        }
    }

    WarningBadge {
        objectName: "warningBadge"
        anchors.horizontalCenter: shell.horizontalCenter
        anchors.alignWhenCentered: false
        anchors.top: shell.bottom
        anchors.topMargin: 4
        visible: shellWindow.overlayStateModel.recordingWarning
    }

    MouseArea {
        id: pointer

        anchors.fill: parent
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        Accessible.role: Accessible.Button
        Accessible.name: qsTr("Dictate")
        Accessible.onPressAction: shellWindow.transcriptionPipeline.toggle()

        onPressed: mouse => shellWindow.press(mouse)
        onPositionChanged: mouse => shellWindow.move(mouse)
        onReleased: mouse => shellWindow.release(mouse)
    }

    ContextMenu {
        id: contextMenu

        objectName: "contextMenu"

        ContextMenuItem {
            text: qsTr("Profile")
            onTriggered: shellWindow.overlayStateModel.requestProfile()
        }
        ContextMenuItem {
            text: qsTr("History")
            onTriggered: shellWindow.overlayStateModel.requestHistory()
        }
        ContextMenuItem {
            text: qsTr("Settings")
            onTriggered: shellWindow.overlayStateModel.requestSettings()
        }
        ContextMenuItem {
            text: qsTr("About Tarq")
            onTriggered: shellWindow.overlayStateModel.requestAbout()
        }
        ContextMenuSeparator {}
        ContextMenuItem {
            text: qsTr("Quit Tarq")
            onTriggered: Qt.quit()
        }
    }

    function initialX(screenWidth: real): real {
        return screenWidth - shellWindow.width - 6;
    }

    function initialY(screenHeight: real): real {
        return Math.max(96, Math.round(screenHeight * 0.36));
    }

    function press(mouse: MouseEvent) {
        shellWindow.overlayStateModel.pingActivity();
        if (mouse.button === Qt.RightButton) {
            return;
        }
        shellWindow.screenPressX = shellWindow.x + mouse.x;
        shellWindow.screenPressY = shellWindow.y + mouse.y;
        shellWindow.winPressX = shellWindow.x;
        shellWindow.winPressY = shellWindow.y;
        shellWindow.isDrag = false;
    }

    function move(mouse: MouseEvent) {
        if (mouse.buttons & Qt.RightButton) {
            return;
        }
        // On the screen: the window moves under the pointer during a drag.
        const dx = shellWindow.x + mouse.x - shellWindow.screenPressX;
        const dy = shellWindow.y + mouse.y - shellWindow.screenPressY;
        if (Math.abs(dx) > 8 || Math.abs(dy) > 8) {
            shellWindow.isDrag = true;
        }
        if (shellWindow.isDrag) {
            shellWindow.x = shellWindow.winPressX + dx;
            shellWindow.y = shellWindow.winPressY + dy;
        }
    }

    function release(mouse: MouseEvent) {
        if (mouse.button === Qt.RightButton) {
            contextMenu.openAt(shellWindow, mouse.x, mouse.y);
            return;
        }
        if (!shellWindow.isDrag) {
            shellWindow.transcriptionPipeline.toggle();
        }
        shellWindow.isDrag = false;
    }
}
