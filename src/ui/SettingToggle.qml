import QtQuick
import QtQuick.Layouts

// One switch of the settings card: a title, a line under it, the switch at the trailing end.
RowLayout {
    property alias title: title.text
    property alias detail: detail.text
    property alias checked: toggle.checked
    signal toggled

    spacing: 12
    Column {
        Text {
            id: title
            font.pixelSize: Theme.callout
            font.weight: Font.DemiBold
            color: Theme.ink
        }
        Text {
            id: detail
            font.family: Theme.mono
            font.pixelSize: Theme.caption
            color: Theme.dimText
        }
    }
    Item {
        Layout.fillWidth: true
    }
    NeoToggle {
        id: toggle
        Accessible.name: title.text
        onToggled: parent.toggled()
    }
}
