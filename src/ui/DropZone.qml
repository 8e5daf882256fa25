import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Dialogs
import Quorvel

// Takes dropped files and folders, or picks them with "Browse…".
Item {
    readonly property bool highlighted: drop.containsDrag
    implicitHeight: 176

    InsetField {
        anchors.fill: parent
        radius: 18
    }
    Rectangle {
        anchors.fill: parent
        anchors.margins: 4
        radius: 16
        visible: parent.highlighted
        color: Qt.rgba(Theme.amber.r, Theme.amber.g, Theme.amber.b, 0.1)
    }
    DashedOutline {
        anchors.fill: parent
        anchors.margins: 4
        radius: 16
        color: highlighted ? Theme.amber : Qt.rgba(Theme.amber.r, Theme.amber.g, Theme.amber.b, 0.45)
    }
    Column {
        anchors.centerIn: parent
        spacing: 9
        Symbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: highlighted ? "move_to_inbox" : "graphic_eq"
            color: highlighted ? Theme.amber : Theme.dim
            font.pixelSize: 32
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: highlighted ? "Drop 'em — I've got it from here" : "Drop your .sd2 files on the deck"
            font.pixelSize: Theme.title3
            font.weight: Font.Medium
            color: Theme.ink
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "a whole folder works too"
            font.pixelSize: Theme.body
            color: Theme.dim
        }
        Button {
            id: browse
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Browse…"
            font.pixelSize: Theme.callout
            palette.buttonText: Theme.amber
            topPadding: 4
            bottomPadding: 4
            background: Raised {
                radius: 6
                shadowRadius: 2
                shadowOffset: 1
                implicitWidth: 80
                implicitHeight: 22
            }
            // One dialog cannot take files and folders at once here, so both are offered.
            onClicked: browseMenu.popup(browse, 0, browse.height)
        }
    }
    DropArea {
        id: drop
        anchors.fill: parent
        keys: ["text/uri-list"]
        onDropped: dropped => {
            Model.addURLs(dropped.urls)
            dropped.accept()
        }
    }
    NeoMenu {
        id: browseMenu
        options: [{value: "files", label: "Choose files…"}, {value: "folder", label: "Choose a folder…"}]
        onPicked: value => (value === "files" ? fileDialog : folderDialog).open()
    }
    FileDialog {
        id: fileDialog
        title: "Choose .sd2 files or a folder"
        fileMode: FileDialog.OpenFiles
        onAccepted: Model.addURLs(selectedFiles)
    }
    FolderDialog {
        id: folderDialog
        title: "Choose .sd2 files or a folder"
        onAccepted: Model.addURLs([selectedFolder])
    }
}
