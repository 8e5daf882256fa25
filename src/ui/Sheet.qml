import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Templates as T
import Quorvel

// A modal sheet raised over the middle of the window; Return (or Enter) answers it.
Popup {
    id: sheet
    signal returnPressed

    modal: true
    anchors.centerIn: T.Overlay.overlay
    background: Raised {
        radius: 14
        shadowRadius: 14
        shadowOffset: 6
        color: Theme.bg
    }
    T.Overlay.modal: Rectangle {
        color: Qt.rgba(0, 0, 0, 0.12)
    }

    Shortcut {
        sequences: ["Return", "Enter"]
        enabled: sheet.opened
        onActivated: sheet.returnPressed()
    }
}
