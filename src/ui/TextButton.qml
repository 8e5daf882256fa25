import QtQuick
import QtQuick.Controls.Basic

// A plain text button: "Clear", "Reveal folder".
AbstractButton {
    id: button
    property color colour: Theme.amberText

    focusPolicy: Qt.StrongFocus
    opacity: enabled ? (pressed ? 0.6 : 1) : 0.4
    contentItem: Text {
        text: button.text
        font.pixelSize: Theme.callout
        font.weight: Font.Medium
        color: button.colour
    }
    FocusRing {
        radius: 4
    }
}
