import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Quorvel

// The window's content: header, the scrolling deck, the footer, the warning and the overlay.
Item {
    id: view
    readonly property alias footer: footer
    readonly property alias header: header
    readonly property alias warning: warning
    readonly property alias stopSheet: stopSheet
    property bool dontShowWarning: false

    Rectangle {
        anchors.fill: parent
        color: Theme.bg
    }
    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Header {
            id: header
            Layout.fillWidth: true
            meterLevel: Model.isConverting ? Model.overallProgress : footer.canConvert ? 0.14 : 0
        }
        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.hair
        }
        FileList {
            id: list
            objectName: "fileList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            header: Column {
                width: list.width
                topPadding: 16
                spacing: 16
                DropZone {
                    x: 16
                    width: parent.width - 32
                }
                SettingsCard {
                    x: 16
                    width: parent.width - 32
                }
            }
        }
        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.hair
        }
        Footer {
            id: footer
            Layout.fillWidth: true
        }
    }
    ProgressOverlay {
        objectName: "progressOverlay"
        anchors.fill: parent
        visible: opacity > 0
        opacity: Model.showOverlay ? 1 : 0
        Behavior on opacity {
            NumberAnimation { duration: 200; easing.type: Easing.InOutQuad }
        }
    }
    VolumeWarningSheet {
        id: warning
        dontShow: view.dontShowWarning
        onDontShowChanged: view.dontShowWarning = dontShow
        onDismissed: {
            if (view.dontShowWarning)
                Settings.hideVolumeWarning = true
            close()
        }
    }
    Component.onCompleted: if (!Settings.hideVolumeWarning) warning.open()

    // Closing the window while files are being written asks first. Quitting closes the
    // window again, which must not ask again.
    property bool stopped: false
    StopSheet {
        id: stopSheet
        onStop: {
            Model.stopBouncing()
            view.stopped = true
            Qt.quit()
        }
    }
    function askToStop() { stopSheet.open() }

    // Return bounces; while the warning is up, its own Return takes over.
    Shortcut {
        sequences: ["Return", "Enter"]
        enabled: footer.canConvert
        onActivated: Model.convertAll()
    }
}
