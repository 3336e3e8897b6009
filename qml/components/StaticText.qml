import QtQuick

// A text to be read, by people and by their assistive technology, exactly as it is written.
Text {
    textFormat: Text.PlainText
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
