import QtQuick
import QtQuick.Controls.Basic

// A drop-down of {value, label} options in the deck's colours.
Menu {
    id: menu
    property var options: []
    signal picked(var value)

    background: Rectangle {
        implicitWidth: 160
        color: Theme.panel
        border.color: Theme.hair
        radius: 8
    }
    Instantiator {
        model: menu.options
        delegate: MenuItem {
            text: modelData.label
            onTriggered: menu.picked(modelData.value)
        }
        onObjectAdded: (index, object) => menu.insertItem(index, object)
        onObjectRemoved: (index, object) => menu.removeItem(object)
    }
}
