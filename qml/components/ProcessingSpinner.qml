import QtQuick
import TarqLinux

// An arc that goes round and round while `running`.
Canvas {
    id: root

    required property ThemeTokens theme
    property bool running: root.opacity > 0.0
    property real angle: 0 // degrees

    implicitWidth: root.theme.processingSpinnerSize
    implicitHeight: root.theme.processingSpinnerSize

    onAngleChanged: root.requestPaint()
    onPaint: {
        const context = root.getContext("2d");
        const cx = root.width / 2;
        const cy = root.height / 2;
        const start = root.angle * Math.PI / 180;
        context.reset();
        context.beginPath();
        context.arc(cx, cy, Math.min(cx, cy) - 1.5, start, start + 1.8, false);
        context.strokeStyle = root.theme.textPrimary;
        context.lineWidth = 2.0;
        context.lineCap = "round";
        context.stroke();
    }

    NumberAnimation {
        target: root
        property: "angle"
        running: root.running && root.Window.visibility !== Window.Hidden
        from: 0
        to: 360
        duration: 900
        loops: Animation.Infinite
    }
}
