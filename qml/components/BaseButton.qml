import QtQuick
import QtQuick.Templates as T

// What all buttons share: their size by their content, and Return and Enter beside Space.
T.AbstractButton {
    id: root

    property real radius: 0
    property real ringGap: 3 // to the ring of the focus

    // Whole pixels, since a layout would cut off the fraction and, with it, the text.
    implicitWidth: Math.ceil(implicitContentWidth) + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    hoverEnabled: true
    // By itself a button has its text for a name only as long as nobody gives it a role.
    Accessible.name: root.text

    Keys.onReturnPressed: root.activate()
    Keys.onEnterPressed: root.activate()

    FocusRing {
        control: root
        anchors.margins: -root.ringGap
        radius: root.radius + root.ringGap
    }

    // While a button of the pointer or Space is down here, the click is that one's.
    function activate() {
        if (!root.pressed) {
            root.clicked();
        }
    }
}
