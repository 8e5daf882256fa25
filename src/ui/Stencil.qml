import QtQuick

// Section headings: "OUTPUT SETTINGS", "QUEUE · 3".
Text {
    font.family: Theme.mono
    font.pixelSize: Theme.caption2
    font.bold: true
    font.letterSpacing: 1.6
    color: Theme.amberText
}
