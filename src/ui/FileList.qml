import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Quorvel

// The queue in two sections: still on the bench, and bounced.
ColumnLayout {
    spacing: 16

    component SectionHeader: RowLayout {
        property alias title: heading.text
        default property alias buttons: trailing.data
        Layout.leftMargin: 2
        Layout.rightMargin: 2
        Stencil {
            id: heading
        }
        Item {
            Layout.fillWidth: true
        }
        Row {
            id: trailing
            spacing: 14
        }
    }
    component TextButton: AbstractButton {
        id: textButton
        property color colour: Theme.amber
        opacity: enabled ? (pressed ? 0.6 : 1) : 0.4
        contentItem: Text {
            text: textButton.text
            font.pixelSize: Theme.callout
            font.weight: Font.Medium
            color: textButton.colour
        }
    }

    ColumnLayout {
        objectName: "benchSection"
        visible: Model.items.benchCount > 0
        spacing: 10
        SectionHeader {
            title: "QUEUE · " + Model.items.benchCount
            TextButton {
                text: "Clear"
                enabled: !Model.isConverting
                onClicked: Model.clear()
            }
        }
        Repeater {
            model: Model.items
            FileRow {
                Layout.fillWidth: true
                visible: !done
            }
        }
    }
    ColumnLayout {
        objectName: "completedSection"
        visible: Model.items.completedCount > 0
        spacing: 10
        SectionHeader {
            title: "COMPLETED · " + Model.items.completedCount
            TextButton {
                text: "Reveal folder"
                onClicked: Model.revealOutput()
            }
            TextButton {
                text: "Clear list"
                colour: Theme.dim
                enabled: !Model.isConverting
                onClicked: Model.clearCompleted()
            }
        }
        Repeater {
            model: Model.items
            FileRow {
                Layout.fillWidth: true
                visible: done
            }
        }
    }
}
