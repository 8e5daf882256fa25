import QtQuick
import QtQuick.Controls.Basic
import Quorvel

ApplicationWindow {
    width: 760
    height: 720
    minimumWidth: 700
    minimumHeight: 580
    visible: true
    title: "SD2 Quorvel"
    color: Theme.bg
    palette.highlight: Theme.amber
    palette.window: Theme.bg
    palette.windowText: Theme.ink
    palette.button: Theme.panel
    palette.buttonText: Theme.ink
    palette.base: Theme.inset
    palette.text: Theme.ink

    ContentView {
        objectName: "contentView"
        anchors.fill: parent
    }
}
