import QtQuick
import QtQuick.Layouts

// A pop-up picker whose closed face is a pressed-in field showing the current choice.
Item {
    id: control
    property var options: []
    property var value
    property real faceWidth: 200
    signal picked(var value)
    readonly property string currentLabel: {
        for (const option of options)
            if (option.value === value)
                return option.label
        return ""
    }

    width: faceWidth
    implicitHeight: face.implicitHeight + 16

    InsetField {
        anchors.fill: parent
        radius: 12
    }
    RowLayout {
        id: face
        anchors.fill: parent
        anchors.leftMargin: 12
        anchors.rightMargin: 12
        Text {
            Layout.fillWidth: true
            text: control.currentLabel
            color: Theme.ink
            font.pixelSize: Theme.body
            elide: Text.ElideRight
        }
        Symbol {
            name: "expand_more"
            color: Theme.amber
            font.pixelSize: 14
        }
    }
    TapHandler {
        onTapped: menu.popup(control, 0, control.height)
    }
    NeoMenu {
        id: menu
        options: control.options
        onPicked: value => control.picked(value)
    }
}
