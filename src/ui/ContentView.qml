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
        ScrollView {
            id: scroll
            Layout.fillWidth: true
            Layout.fillHeight: true
            contentWidth: availableWidth
            ScrollBar.vertical.policy: ScrollBar.AlwaysOn
            ColumnLayout {
                width: scroll.availableWidth
                spacing: 16
                Item { Layout.preferredHeight: 0 }
                DropZone {
                    Layout.fillWidth: true
                    Layout.leftMargin: 16
                    Layout.rightMargin: 16
                }
                SettingsCard {
                    Layout.fillWidth: true
                    Layout.leftMargin: 16
                    Layout.rightMargin: 16
                }
                FileList {
                    Layout.fillWidth: true
                    Layout.leftMargin: 16
                    Layout.rightMargin: 16
                    visible: Model.items.count > 0
                }
                Item { Layout.preferredHeight: 0 }
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

    // Return bounces; while the warning is up, its own Return takes over.
    Shortcut {
        sequences: ["Return", "Enter"]
        enabled: footer.canConvert
        onActivated: Model.convertAll()
    }
}
