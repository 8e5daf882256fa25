import QtQuick

// A caption in upper case over a control.
Column {
    property string title
    spacing: 4

    Text {
        text: title.toUpperCase()
        font.family: Theme.mono
        font.pixelSize: Theme.caption2
        font.letterSpacing: 0.8
        color: Theme.dimText
    }
}
