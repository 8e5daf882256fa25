import QtQuick
import QtQuick.Controls.Basic

// A sheet's main button: its label on the flare gradient ("Got it", "Keep bouncing").
AbstractButton {
    id: button
    implicitWidth: Math.max(120, label.implicitWidth + 32)
    implicitHeight: label.implicitHeight + 14
    focusPolicy: Qt.StrongFocus
    background: Rectangle {
        radius: 8
        gradient: Gradient {
            orientation: Gradient.Horizontal
            GradientStop { position: 0; color: Theme.flare[0] }
            GradientStop { position: 1; color: Theme.flare[1] }
        }
        opacity: button.pressed ? 0.85 : 1
        FocusRing {
            shown: button.visualFocus
            radius: 10
        }
    }
    contentItem: Text {
        id: label
        text: button.text
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        font.family: Theme.mono
        font.pixelSize: Theme.body
        font.weight: Font.DemiBold
        color: Theme.onFlare
    }
}
