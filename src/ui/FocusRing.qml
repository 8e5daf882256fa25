import QtQuick

// Keyboard focus around its parent: a control reached with Tab shows where it is.
Rectangle {
    property bool shown: parent.visualFocus !== undefined ? parent.visualFocus : parent.activeFocus
    property real gap: 3
    anchors.fill: parent
    anchors.margins: -gap
    radius: 8
    color: "transparent"
    border.width: 2
    border.color: Theme.amberText
    visible: shown
}
