import QtQuick
import QtQuick.Controls.Basic
import Quorvel

// "Ears first": shown at launch until the user ticks "Don't show this again".
Sheet {
    id: sheet
    property bool dontShow
    signal dismissed

    closePolicy: Popup.NoAutoClose
    width: 410
    padding: 30
    onReturnPressed: sheet.dismissed()

    contentItem: Column {
        spacing: 14
        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 62
            height: 62
            radius: 31
            gradient: Gradient {
                GradientStop { position: 0; color: Theme.flare[0] }
                GradientStop { position: 1; color: Theme.flare[1] }
            }
            Symbol {
                anchors.centerIn: parent
                name: "volume_up"
                color: "white"
                font.pixelSize: 30
            }
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Ears first"
            font.family: Theme.mono
            font.pixelSize: Theme.title3
            font.bold: true
            color: Theme.ink
        }
        Text {
            width: parent.width
            text: "My auto-detection is usually pretty sharp, but turn your volume down before you audition or bounce, just in case. A wrong read can come back as a wall of white noise."
            wrapMode: Text.WordWrap
            horizontalAlignment: Text.AlignHCenter
            font.pixelSize: Theme.callout
            color: Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.85)
        }
        Text {
            width: parent.width
            text: "(no fun at concert volume)"
            horizontalAlignment: Text.AlignHCenter
            font.pixelSize: Theme.callout
            font.italic: true
            color: Theme.dimText
        }
        Text {
            width: parent.width
            topPadding: 4
            text: "Hear static? Pop open **Advanced** and try another source format, or flip the file between **Mono** and **Stereo**, then hit ▶ to check by ear."
            textFormat: Text.MarkdownText
            wrapMode: Text.WordWrap
            horizontalAlignment: Text.AlignHCenter
            font.pixelSize: Theme.caption
            color: Theme.dimText
        }
        CheckBox {
            id: box
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Don't show this again"
            checked: sheet.dontShow
            onToggled: sheet.dontShow = checked
            font.pixelSize: Theme.callout
            indicator: Rectangle {
                x: box.leftPadding
                anchors.verticalCenter: parent.verticalCenter
                width: 14
                height: 14
                radius: 3
                color: box.checked ? Theme.amber : "white"
                border.color: box.checked ? Theme.amber : Theme.dim
                FocusRing {
                    shown: box.visualFocus
                    radius: 5
                }
                Symbol {
                    anchors.centerIn: parent
                    visible: box.checked
                    name: "check"
                    color: "white"
                    font.pixelSize: 12
                }
            }
        }
        FlareButton {
            objectName: "gotItButton"
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Got it"
            onClicked: sheet.dismissed()
        }
    }
}
