import QtQuick

// Equal segments in a pressed-in field; the selected one is raised. `options` are {value, label}.
// The arrow keys move the selection.
Item {
    id: control
    property var options: []
    property var value
    signal picked(var value)
    readonly property int selectedIndex: options.findIndex(option => option.value === value)

    implicitWidth: options.length * 48 + 8
    implicitHeight: 12 + 14 + 8 + 4
    activeFocusOnTab: true
    Keys.onLeftPressed: if (selectedIndex > 0) picked(options[selectedIndex - 1].value)
    Keys.onRightPressed: if (selectedIndex < options.length - 1) picked(options[selectedIndex + 1].value)

    InsetField {
        anchors.fill: parent
        radius: 11
    }
    FocusRing {
        radius: 13
    }
    Row {
        id: row
        anchors.fill: parent
        anchors.margins: 4
        spacing: 3
        Repeater {
            id: segments
            model: control.options
            Item {
                readonly property bool selected: index === control.selectedIndex
                readonly property alias label: label
                width: (row.width - row.spacing * (control.options.length - 1)) / control.options.length
                height: row.height

                Raised {
                    anchors.fill: parent
                    visible: parent.selected
                    radius: 8
                    shadowRadius: 3
                    shadowOffset: 2
                }
                Text {
                    id: label
                    anchors.centerIn: parent
                    text: modelData.label
                    font.pixelSize: 12
                    font.weight: Font.DemiBold
                    color: parent.selected ? Theme.ink : Theme.dimText
                }
                TapHandler {
                    onTapped: control.picked(modelData.value)
                }
            }
        }
    }
}
