import QtQuick
import QtQuick.Controls.Basic
import Quorvel

// "Stop bouncing?": asked when the window is closed while files are being written.
// Return keeps bouncing.
Sheet {
    id: sheet
    signal stop

    closePolicy: Popup.CloseOnEscape
    width: 380
    padding: 26
    onOpened: keep.forceActiveFocus()
    onReturnPressed: sheet.close()

    contentItem: Column {
        spacing: 14
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Stop bouncing?"
            font.family: Theme.mono
            font.pixelSize: Theme.title3
            font.bold: true
            color: Theme.ink
        }
        Text {
            width: parent.width
            text: "Stopping drops the file being written and quits. The files already bounced stay where they are."
            wrapMode: Text.WordWrap
            horizontalAlignment: Text.AlignHCenter
            font.pixelSize: Theme.callout
            color: Theme.ink
        }
        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: 12
            AbstractButton {
                id: stopButton
                objectName: "stopButton"
                implicitWidth: 120
                implicitHeight: keep.implicitHeight
                text: "Stop"
                focusPolicy: Qt.StrongFocus
                onClicked: {
                    sheet.close()
                    sheet.stop()
                }
                background: Raised {
                    radius: 8
                    shadowRadius: 3
                    shadowOffset: 2
                    FocusRing {
                        shown: stopButton.visualFocus
                        radius: 10
                    }
                }
                contentItem: Text {
                    text: stopButton.text
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                    font.family: Theme.mono
                    font.pixelSize: Theme.body
                    font.weight: Font.DemiBold
                    color: Theme.hotText
                }
            }
            FlareButton {
                id: keep
                objectName: "keepBouncingButton"
                text: "Keep bouncing"
                onClicked: sheet.close()
            }
        }
    }
}
