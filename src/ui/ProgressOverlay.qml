import QtQuick
import Quorvel

// Covers the window while a run reports: spinner, then a seal or a warning triangle.
Item {
    id: overlay
    readonly property string mark: !Model.phaseDone ? "spinner" : Model.phaseFailed ? "warning" : "seal"

    Rectangle { // the scrim; it also swallows clicks meant for the window below
        anchors.fill: parent
        color: Qt.rgba(Theme.bg.r, Theme.bg.g, Theme.bg.b, 0.62)
        MouseArea {
            anchors.fill: parent
            hoverEnabled: true
        }
    }
    Item {
        anchors.centerIn: parent
        width: 390
        height: card.implicitHeight + 60
        Raised {
            anchors.fill: parent
            radius: 22
            shadowRadius: 14
            shadowOffset: 10
        }
        Column {
            id: card
            anchors.centerIn: parent
            width: 330
            spacing: 16

            Item {
                width: parent.width
                height: 48
                Spinner {
                    anchors.centerIn: parent
                    visible: overlay.mark === "spinner"
                    width: 28
                    height: 28
                }
                Symbol {
                    anchors.centerIn: parent
                    visible: overlay.mark !== "spinner"
                    name: Model.phaseFailed ? "warning" : "verified"
                    color: Model.phaseFailed ? Theme.hot : Theme.signal
                    font.pixelSize: 44
                    scale: visible ? 1 : 0.00001
                    opacity: visible ? 1 : 0
                    Behavior on scale {
                        NumberAnimation { duration: 200; easing.type: Easing.InOutQuad }
                    }
                    Behavior on opacity {
                        NumberAnimation { duration: 200; easing.type: Easing.InOutQuad }
                    }
                }
            }
            Column {
                width: parent.width
                spacing: 6
                Text {
                    width: parent.width
                    text: Model.phaseTitle
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                    font.family: Theme.mono
                    font.pixelSize: Theme.headline
                    font.weight: Font.DemiBold
                    color: Theme.ink
                }
                Readout {
                    width: parent.width
                    visible: Model.phaseDetail !== ""
                    text: Model.phaseDetail
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                    maximumLineCount: 2
                    elide: Text.ElideRight
                    color: Theme.amberText
                }
            }
            Item { // the progress bar keeps its place once the run is done
                objectName: "progressBar"
                anchors.horizontalCenter: parent.horizontalCenter
                width: 300
                height: 6
                opacity: Model.phaseDone ? 0 : 1
                Behavior on opacity {
                    NumberAnimation { duration: 200; easing.type: Easing.InOutQuad }
                }
                Rectangle {
                    anchors.fill: parent
                    radius: 3
                    color: Theme.shDark
                }
                Rectangle {
                    width: parent.width * Math.max(0, Math.min(1, Model.overallProgress))
                    height: parent.height
                    radius: 3
                    color: Theme.amber
                }
            }
        }
    }
}
