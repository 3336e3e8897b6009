import QtQuick

Image {
    source: "qrc:/assets/tarq-linux.svg"
    // Drawn at the size it is shown at, and not scaled from its own.
    sourceSize.width: width
    sourceSize.height: height
}
