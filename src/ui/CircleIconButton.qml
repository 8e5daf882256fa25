import QtQuick
import QtQuick.Controls.Basic

// A round raised button with a symbol; `tip` says what it does, on hover and on focus.
AbstractButton {
    id: button
    property string symbol
    property color tint: Theme.dim
    property alias tip: button.text

    implicitWidth: 30
    implicitHeight: 30
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    opacity: pressed ? 0.6 : 1
    Accessible.name: tip
    ToolTip.text: tip
    ToolTip.visible: tip !== "" && (hovered || visualFocus)
    ToolTip.delay: hovered ? 500 : 0
    background: Raised {
        radius: 15
        shadowRadius: 3
        shadowOffset: 2
        FocusRing {
            shown: button.visualFocus
            radius: 18
        }
    }
    contentItem: Symbol {
        name: button.symbol
        color: button.tint
        font.pixelSize: 16
    }
}
