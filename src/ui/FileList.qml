import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Quorvel

// The window's body: the deck (its `header`) above the queue in two sections, still on the
// bench and bounced. Rows are made only for what is on screen, so the queue can be long.
ListView {
    id: list
    // The row the list brought into view after a run with failures, marked for a moment.
    property int flashRow: -1

    clip: true
    spacing: 10
    reuseItems: true
    boundsBehavior: Flickable.StopAtBounds
    ScrollBar.vertical: ScrollBar {
        policy: ScrollBar.AlwaysOn
    }
    model: Model.rows
    // Tab follows the order of the rows under contentItem, which the list makes as they scroll in.
    function readingOrder() { ReadingOrder.restack(contentItem) }
    onCountChanged: Qt.callLater(readingOrder)
    onContentYChanged: Qt.callLater(readingOrder)
    onContentHeightChanged: Qt.callLater(readingOrder)
    footer: Item {
        height: 16
    }
    delegate: FileRow {
        x: 16
        width: list.width - 32
        flashing: index === list.flashRow
    }
    section.property: "section"
    section.delegate: Item {
        // `section` is a context property here: the list reuses its headings, and sets only that.
        readonly property bool bench: section === "bench"
        objectName: bench ? "benchHeader" : "completedHeader"
        // The list keeps a spare heading after its section empties; it must not show.
        visible: (bench ? Model.items.benchCount : Model.items.completedCount) > 0
        width: list.width
        height: heading.implicitHeight + 26
        RowLayout {
            id: heading
            x: 18
            y: 16
            width: parent.width - 36
            spacing: 14
            Stencil {
                text: bench ? "QUEUE · " + Model.items.benchCount : "COMPLETED · " + Model.items.completedCount
            }
            Item {
                Layout.fillWidth: true
            }
            TextButton {
                objectName: "clearButton"
                visible: bench
                text: "Clear"
                enabled: !Model.isConverting
                onClicked: Model.clear()
            }
            TextButton {
                visible: !bench
                text: "Reveal folder"
                onClicked: Model.revealOutput()
            }
            TextButton {
                visible: !bench
                text: "Clear list"
                colour: Theme.dimText
                enabled: !Model.isConverting
                onClicked: Model.clearCompleted()
            }
        }
    }

    // After a run with failures, the first failed file comes into view and is marked.
    Connections {
        target: Model
        function onIsConvertingChanged() {
            const row = Model.isConverting || !Model.phaseFailed ? -1 : Model.rows.firstFailedRow()
            if (row < 0)
                return
            list.positionViewAtIndex(row, ListView.Contain)
            list.flashRow = row
            unflash.restart()
        }
    }
    Timer {
        id: unflash
        interval: 1800
        onTriggered: list.flashRow = -1
    }
}
