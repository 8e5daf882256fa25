import QtQuick

// Equal segments in a pressed-in field; the selected one is raised. `options` are {value, label}.
Item {
    id: control
    property var options: []
    property var value
    signal picked(var value)

    implicitWidth: options.length * 54 + 8
    implicitHeight: 12 + 14 + 8 + 4

    InsetField {
        anchors.fill: parent
        radius: 11
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
                readonly property bool selected: modelData.value === control.value
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
                    color: parent.selected ? Theme.ink : Theme.dim
                }
                TapHandler {
                    onTapped: control.picked(modelData.value)
                }
            }
        }
    }
}
