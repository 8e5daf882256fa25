import QtQuick
import QtQuick.Controls.Basic

// A drop-down of {value, label} options in the deck's colours, as wide as its longest entry
// (and at least `minimumWidth`), with a tick on the `current` value.
Menu {
    id: neoMenu
    property var options: []
    property var current
    property real minimumWidth: 0
    signal picked(var value)

    width: Math.max(minimumWidth, widest + leftPadding + rightPadding)
    readonly property real widest: {
        let most = 0
        for (let i = 0; i < count; ++i)
            most = Math.max(most, itemAt(i) ? itemAt(i).implicitWidth : 0)
        return most
    }
    padding: 4
    background: Rectangle {
        color: Theme.panel
        border.color: Theme.shDark
        radius: 8
    }
    Instantiator {
        model: neoMenu.options
        delegate: MenuItem {
            id: entry
            text: modelData.label
            checkable: neoMenu.current !== undefined
            checked: modelData.value === neoMenu.current
            leftPadding: 28
            rightPadding: 14
            onTriggered: neoMenu.picked(modelData.value)
            indicator: Symbol {
                x: 7
                anchors.verticalCenter: parent.verticalCenter
                visible: entry.checked
                name: "check"
                color: Theme.amberText
                font.pixelSize: 15
            }
            contentItem: Text {
                text: entry.text
                font.pixelSize: Theme.body
                color: Theme.ink
                verticalAlignment: Text.AlignVCenter
            }
            background: Rectangle {
                implicitHeight: 30
                radius: 5
                color: entry.highlighted ? Qt.rgba(Theme.amber.r, Theme.amber.g, Theme.amber.b, 0.3) : "transparent"
            }
        }
        onObjectAdded: (index, object) => neoMenu.insertItem(index, object)
        onObjectRemoved: (index, object) => neoMenu.removeItem(object)
    }
}
