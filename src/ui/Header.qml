import QtQuick
import QtQuick.Layouts
import Quorvel

// Logo, word mark, level meter and power lamp.
Item {
    property real meterLevel
    readonly property alias meter: meter

    implicitHeight: 54 + 28

    WoodStrip {
        anchors.fill: parent
    }
    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 22
        anchors.rightMargin: 20
        anchors.topMargin: 14
        anchors.bottomMargin: 14
        spacing: 14

        Item {
            Layout.preferredWidth: 66
            Layout.preferredHeight: 54
            Image {
                anchors.fill: parent
                visible: Settings.logo.toString() !== ""
                source: Settings.logo
                fillMode: Image.PreserveAspectFit
            }
            Rectangle {
                anchors.fill: parent
                visible: Settings.logo.toString() === ""
                radius: 9
                color: Theme.inset
                Symbol {
                    anchors.centerIn: parent
                    name: "voicemail"
                    color: Theme.amber
                    font.pixelSize: 26
                }
            }
        }
        Row {
            Layout.preferredHeight: 38
            Repeater {
                model: [["SD2", Theme.ink], ["·", Theme.amberText], ["QUORVEL", Theme.ink]]
                Text {
                    text: modelData[0]
                    color: modelData[1]
                    font.pixelSize: 27
                    font.weight: Font.Black
                    font.letterSpacing: 2
                }
            }
        }
        Item {
            Layout.fillWidth: true
        }
        VUMeter {
            id: meter
            level: meterLevel
        }
        Item {
            id: powerLED
            readonly property color lamp: Model.isConverting ? Theme.red : Theme.signal
            Layout.preferredWidth: 8
            Layout.preferredHeight: 8
            Rectangle { // the glow
                anchors.centerIn: parent
                width: 16
                height: 16
                radius: 8
                color: Qt.rgba(powerLED.lamp.r, powerLED.lamp.g, powerLED.lamp.b, 0.35)
            }
            Rectangle {
                anchors.fill: parent
                radius: 4
                color: powerLED.lamp
            }
            Rectangle {
                x: 4 - 1.25 - 1
                y: 4 - 1.25 - 1
                width: 2.5
                height: 2.5
                radius: 1.25
                color: Qt.rgba(1, 1, 1, 0.5)
            }
        }
    }
    Rectangle {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: 1
        color: Theme.hair
    }
}
