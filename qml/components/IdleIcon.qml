import QtQuick

// The mark of the program: a disc and a signal arc, drawn in a space of 108 by 108.
Canvas {
    id: root

    property color tint: "#F7F9FC"
    property real iconAlpha: 0.94

    implicitWidth: 36
    implicitHeight: 36

    onTintChanged: root.requestPaint()
    onWidthChanged: root.requestPaint()
    onHeightChanged: root.requestPaint()
    onPaint: {
        const context = root.getContext("2d");
        context.reset();
        context.scale(root.width / 108, root.height / 108);
        context.fillStyle = Qt.rgba(root.tint.r, root.tint.g, root.tint.b, root.iconAlpha);

        context.beginPath();
        context.moveTo(32, 54);
        context.bezierCurveTo(32, 41.85, 41.85, 32, 54, 32);
        context.bezierCurveTo(66.15, 32, 76, 41.85, 76, 54);
        context.bezierCurveTo(76, 66.15, 66.15, 76, 54, 76);
        context.bezierCurveTo(41.85, 76, 32, 66.15, 32, 54);
        context.closePath();
        context.fill();

        context.beginPath();
        context.moveTo(78, 35);
        context.bezierCurveTo(84.76, 38.86, 89, 46.09, 89, 54);
        context.bezierCurveTo(89, 61.91, 84.76, 69.14, 78, 73);
        context.lineTo(74.6, 67.1);
        context.bezierCurveTo(79.15, 64.51, 82, 59.56, 82, 54);
        context.bezierCurveTo(82, 48.44, 79.15, 43.49, 74.6, 40.9);
        context.closePath();
        context.fill();
    }
}
