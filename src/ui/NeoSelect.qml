import QtQuick
import QtQuick.Layouts

// A pop-up picker whose closed face is a pressed-in field showing the current choice; Space
// or the down arrow opens it.
Item {
    id: control
    property var options: []
    property var value
    property real faceWidth: 200
    signal picked(var value)
    readonly property string currentLabel: options.find(option => option.value === value)?.label ?? ""

    width: faceWidth
    implicitHeight: face.implicitHeight + 16
    activeFocusOnTab: true
    Keys.onSpacePressed: open()
    Keys.onDownPressed: open()
    function open() { menu.popup(control, 0, control.height) }

    InsetField {
        anchors.fill: parent
        radius: 12
    }
    FocusRing {
        radius: 14
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
        onTapped: control.open()
    }
    NeoMenu {
        id: menu
        options: control.options
        current: control.value
        minimumWidth: control.width
        onPicked: value => control.picked(value)
    }
}
