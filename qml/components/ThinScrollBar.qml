import QtQuick.Controls.Basic

// A scroll bar for dark backgrounds, seen while it is needed.
ScrollBar {
    palette.mid: "#7B8AA7"
    palette.dark: "#B3C0D6"
}
