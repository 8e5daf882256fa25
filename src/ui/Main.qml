import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Window
import Quorvel

ApplicationWindow {
    id: window
    // Sized to the screen, so a queue shows below the deck: 880 × 1000 on a 1920 × 1080
    // screen, never below the minimum.
    function defaultSize(available) {
        return Qt.size(Math.max(minimumWidth, Math.min(880, available.width * 0.55)),
                       Math.max(minimumHeight, Math.min(1000, available.height - 80)))
    }
    readonly property size startSize: defaultSize(Qt.size(Screen.desktopAvailableWidth, Screen.desktopAvailableHeight))
    width: startSize.width
    height: startSize.height
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
    palette.toolTipBase: Theme.ink
    palette.toolTipText: Theme.bg

    // While files are being written, closing asks first.
    onClosing: close => {
        if (Model.isConverting && !Model.phaseDone && !content.stopped) {
            close.accepted = false
            content.askToStop()
        }
    }

    ContentView {
        id: content
        objectName: "contentView"
        anchors.fill: parent
    }
}
