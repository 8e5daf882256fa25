import QtQuick

// A Material Icons glyph by its ligature name ("folder", "play_arrow").
Text {
    property string name
    text: name
    font.family: Theme.symbols
    font.pixelSize: 16
    horizontalAlignment: Text.AlignHCenter
    verticalAlignment: Text.AlignVCenter
    textFormat: Text.PlainText
}
