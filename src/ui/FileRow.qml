import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Quorvel

// One queued file: lamp, name and status, the picture of its reading, listen hint,
// mono/stereo override and buttons. The name column takes further lines as they come.
FocusScope {
    id: row
    objectName: "fileRow"
    required property var item
    required property int index
    property bool flashing: false
    readonly property bool done: item.stateName === "done"
    readonly property bool failed: item.stateName === "failed"
    // A pair's layout is given by its two files, not guessed.
    readonly property bool showsHint: item.confidence === "verify by ear" && !done && !item.isPair

    implicitHeight: Math.max(content.implicitHeight, 30) + 22
    // A control reached with Tab brings its row into view.
    onActiveFocusChanged: if (activeFocus && ListView.view) ListView.view.positionViewAtIndex(index, ListView.Contain)

    RowCard {
        anchors.fill: parent
    }
    Rectangle { // marks the row the list has just brought into view
        objectName: "flash"
        anchors.fill: parent
        radius: 14
        color: "transparent"
        border.width: 2
        border.color: Theme.hot
        opacity: 0
        SequentialAnimation on opacity {
            running: row.flashing
            loops: 3
            NumberAnimation { to: 1; duration: 250 }
            NumberAnimation { to: 0; duration: 350 }
        }
    }
    RowLayout {
        id: content
        anchors.fill: parent
        anchors.leftMargin: 13
        anchors.rightMargin: 13
        anchors.topMargin: 11
        anchors.bottomMargin: 11
        spacing: 11

        StatusLamp {
            stateName: row.item.stateName
        }
        Column {
            id: lines
            Layout.fillWidth: true
            spacing: 3
            Text {
                objectName: "fileName"
                width: parent.width
                text: row.item.fileName
                font.pixelSize: 14
                font.weight: Font.DemiBold
                color: Theme.ink
                elide: Text.ElideMiddle
                maximumLineCount: 1
                HoverHandler {
                    id: nameHover
                }
                ToolTip.visible: (row.item.isPair || truncated) && nameHover.hovered
                ToolTip.text: row.item.isPair ? row.item.halves : text
            }
            Readout {
                objectName: "status"
                width: parent.width
                text: row.item.status
                elide: Text.ElideRight
                maximumLineCount: 1
                color: row.done ? Theme.signalText : row.failed ? Theme.hotText : Theme.dimText
                HoverHandler {
                    id: statusHover
                }
                ToolTip.visible: truncated && statusHover.hovered
                ToolTip.text: text
            }
            Readout {
                objectName: "folderLine"
                width: parent.width
                visible: text !== ""
                text: row.item.folder
                elide: Text.ElideMiddle
                maximumLineCount: 1
                color: Theme.dimText
                HoverHandler {
                    id: folderHover
                }
                ToolTip.visible: folderHover.hovered
                ToolTip.text: row.item.path
            }
        }
        Item {
            Layout.preferredWidth: 120
            Layout.fillHeight: true
            InsetField {
                anchors.fill: parent
                radius: 6
            }
            Waveform {
                objectName: "waveform"
                anchors.fill: parent
                anchors.margins: 3
                item: row.item
                choice: Model.sourceFormatChoice
                peakColor: Qt.rgba(Theme.dim.r, Theme.dim.g, Theme.dim.b, 0.45)
                rmsColor: Theme.ink
            }
        }
        // The controls keep their columns when one is absent, so the rows line up as a table.
        Item {
            Layout.preferredWidth: 18
            Layout.preferredHeight: 18
            Symbol {
                objectName: "listenHint"
                anchors.centerIn: parent
                visible: row.showsHint
                name: "hearing"
                color: Theme.amber2
                HoverHandler {
                    id: hintHover
                }
                ToolTip.visible: hintHover.hovered
                ToolTip.text: "Mono or stereo? Too close to call — give it a listen."
            }
        }
        Item {
            Layout.preferredWidth: 134
            Layout.preferredHeight: 30
            OverrideMenu {
                anchors.fill: parent
                visible: !row.done
                item: row.item
            }
        }
        CircleIconButton {
            objectName: "play"
            symbol: "play_arrow"
            tint: Theme.amber
            tip: "Audition the first four seconds"
            onClicked: Model.preview(row.item)
        }
        Item {
            implicitWidth: 30
            implicitHeight: 30
            CircleIconButton {
                objectName: "requeueButton"
                visible: row.done || row.failed
                symbol: "undo"
                tip: "Back in the queue"
                onClicked: Model.requeue(row.item)
            }
        }
        CircleIconButton {
            objectName: "remove"
            symbol: "close"
            tip: "Remove from the list"
            onClicked: Model.remove(row.item)
        }
    }
}
