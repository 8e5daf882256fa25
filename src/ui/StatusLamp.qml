import QtQuick
import QtQuick.Layouts

// A row's lamp: an empty ring while ready, a spinner while bouncing, a green tick once
// bounced, a red cross when it failed. `stateName` is the item's.
Item {
    id: lamp
    property string stateName
    Layout.preferredWidth: 24
    Layout.preferredHeight: 22

    Rectangle {
        anchors.centerIn: parent
        visible: lamp.stateName === "ready"
        width: 16
        height: 16
        radius: 8
        color: "transparent"
        border.width: 2
        border.color: Qt.rgba(Theme.dim.r, Theme.dim.g, Theme.dim.b, 0.55)
    }
    Spinner {
        anchors.centerIn: parent
        visible: lamp.stateName === "working"
        width: 12
        height: 12
    }
    Raised {
        anchors.centerIn: parent
        visible: lamp.stateName === "done" || lamp.stateName === "failed"
        width: 22
        height: 22
        radius: 11
        color: lamp.stateName === "done" ? Theme.signal : Theme.hot
        shadowRadius: 2
        shadowOffset: 1
        lightShade: "transparent"
        Symbol {
            anchors.centerIn: parent
            name: lamp.stateName === "done" ? "check" : "close"
            color: "white"
            font.pixelSize: 15
            font.bold: true
        }
    }
}
