import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Dialogs
import QtQuick.Layouts
import Quorvel

// Destination, status display and the BOUNCE button.
Item {
    readonly property bool canConvert: Model.pendingCount >= 1 && !Model.isConverting
    readonly property alias bounceButton: bounce
    readonly property bool hasFolder: Model.outputFolderName !== ""

    implicitHeight: layout.implicitHeight + 28

    Rectangle {
        anchors.fill: parent
        color: Theme.bg
    }
    RowLayout {
        id: layout
        anchors.fill: parent
        anchors.leftMargin: 18
        anchors.rightMargin: 18
        anchors.topMargin: 14
        anchors.bottomMargin: 14

        Column {
            Layout.alignment: Qt.AlignBottom
            Layout.maximumWidth: 260
            spacing: 2
            Row {
                spacing: 6
                Symbol {
                    name: "folder"
                    color: Theme.amber
                    font.pixelSize: 13
                }
                AbstractButton {
                    id: destination
                    objectName: "destinationButton"
                    width: Math.min(implicitWidth, 220)
                    contentItem: Text {
                        text: hasFolder ? Model.outputFolderName : "Pick a destination…"
                        font.family: Theme.mono
                        font.pixelSize: Theme.caption
                        color: hasFolder ? Theme.ink : Theme.amberText
                        elide: Text.ElideMiddle
                        maximumLineCount: 1
                    }
                    focusPolicy: Qt.StrongFocus
                    ToolTip.visible: hovered || visualFocus
                    ToolTip.text: hasFolder ? Model.outputFolderPath : "Click to choose where the WAV files land"
                    onClicked: outputDialog.open()
                    FocusRing {
                        radius: 4
                    }
                }
                AbstractButton {
                    id: reset
                    visible: hasFolder
                    focusPolicy: Qt.StrongFocus
                    contentItem: Symbol {
                        name: "cancel"
                        color: Theme.dim
                        font.pixelSize: 12
                    }
                    ToolTip.visible: hovered || visualFocus
                    ToolTip.text: "Use the default folder instead"
                    onClicked: Model.outputFolder = ""
                    FocusRing {
                        radius: 8
                    }
                }
            }
            Text {
                text: hasFolder ? "your chosen destination" : "otherwise I'll drop them in an _sd2_outputs folder next to your files"
                font.pixelSize: 10
                color: Theme.dimText
                width: 260
                wrapMode: Text.WordWrap
            }
        }
        Item {
            Layout.fillWidth: true
        }
        LCD {
            objectName: "statusDisplay"
            visible: Model.statusLine !== ""
            text: Model.statusLine
            Layout.maximumWidth: 260
            Layout.fillWidth: true
            Layout.alignment: Qt.AlignBottom
        }
        AbstractButton {
            id: bounce
            objectName: "bounceButton"
            Layout.alignment: Qt.AlignBottom
            enabled: canConvert
            text: Model.isConverting ? "BOUNCING…" : "BOUNCE " + Model.pendingCount + " →"
            implicitWidth: Math.max(150, label.implicitWidth + 44)
            implicitHeight: label.implicitHeight + 24
            focusPolicy: Qt.StrongFocus
            onClicked: Model.convertAll()
            background: Item {
                Raised {
                    anchors.fill: parent
                    radius: 13
                    shadowRadius: 5
                    shadowOffset: 4
                }
                Rectangle {
                    anchors.fill: parent
                    visible: canConvert
                    radius: 13
                    gradient: Gradient {
                        orientation: Gradient.Horizontal
                        GradientStop { position: 0; color: Theme.flare[0] }
                        GradientStop { position: 1; color: Theme.flare[1] }
                    }
                    opacity: bounce.pressed ? 0.85 : 1
                }
                FocusRing {
                    shown: bounce.visualFocus
                    radius: 15
                }
            }
            contentItem: Text {
                id: label
                text: bounce.text
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
                font.family: Theme.mono
                font.pixelSize: Theme.body
                font.bold: true
                font.letterSpacing: 1
                color: canConvert ? Theme.onFlare : Theme.dimText
            }
        }
    }
    FolderDialog {
        id: outputDialog
        title: "Choose an output folder for the WAV files"
        onAccepted: Model.outputFolder = selectedFolder
    }
}
