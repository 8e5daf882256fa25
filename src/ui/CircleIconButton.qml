import QtQuick
import QtQuick.Controls.Basic

AbstractButton {
    id: button
    property string symbol
    property color tint: Theme.dim

    implicitWidth: 30
    implicitHeight: 30
    opacity: pressed ? 0.6 : 1
    background: Raised {
        radius: 15
        shadowRadius: 3
        shadowOffset: 2
    }
    contentItem: Symbol {
        name: button.symbol
        color: button.tint
        font.pixelSize: 16
    }
}
