import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Dialogs
import QtQuick.Layouts
import Quorvel

// Takes dropped files and folders, or picks them with "Browse…". Once files are queued it
// folds to a one-line strip that still takes drops, so the queue gets the room.
Item {
    id: zone
    objectName: "dropZone"
    readonly property bool highlighted: drop.containsDrag
    readonly property bool folded: Model.items.count > 0
    implicitHeight: folded ? 52 : 176

    InsetField {
        anchors.fill: parent
        radius: zone.folded ? 14 : 18
    }
    Rectangle {
        anchors.fill: parent
        anchors.margins: 4
        radius: zone.folded ? 11 : 16
        visible: zone.highlighted
        color: Qt.rgba(Theme.amber.r, Theme.amber.g, Theme.amber.b, 0.1)
    }
    DashedOutline {
        anchors.fill: parent
        anchors.margins: 4
        radius: zone.folded ? 11 : 16
        color: zone.highlighted ? Theme.amber : Qt.rgba(Theme.amber.r, Theme.amber.g, Theme.amber.b, 0.45)
    }
    Column {
        id: column
        visible: !zone.folded
        anchors.centerIn: parent
        spacing: 9
        Symbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: zone.highlighted ? "move_to_inbox" : "graphic_eq"
            color: zone.highlighted ? Theme.amber : Theme.dim
            font.pixelSize: 32
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: zone.highlighted ? "Drop 'em — I've got it from here" : "Drop your .sd2 files on the deck"
            font.pixelSize: Theme.title3
            font.weight: Font.Medium
            color: Theme.ink
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: Model.takingIn ? "looking through the folders…" : "a whole folder works too"
            font.pixelSize: Theme.body
            color: Theme.dimText
        }
        Item {
            id: browseSlot
            width: browse.width
            height: browse.height + 2
        }
    }
    RowLayout {
        visible: zone.folded
        anchors.fill: parent
        anchors.leftMargin: 18
        anchors.rightMargin: 12
        spacing: 10
        Spinner {
            visible: Model.takingIn
            Layout.preferredWidth: 16
            Layout.preferredHeight: 16
        }
        Symbol {
            visible: !Model.takingIn
            name: zone.highlighted ? "move_to_inbox" : "graphic_eq"
            color: zone.highlighted ? Theme.amber : Theme.dim
            font.pixelSize: 20
        }
        Text {
            Layout.fillWidth: true
            text: Model.takingIn ? "Looking through the folders…"
                : zone.highlighted ? "Drop 'em — I've got it from here" : "Drop more .sd2 files or folders here"
            font.pixelSize: Theme.body
            color: Theme.ink
            elide: Text.ElideRight
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
    // One button for both sizes, so Tab finds it in the same place.
    Button {
        id: browse
        objectName: "browseButton"
        x: zone.folded ? zone.width - width - 14 : (zone.width - width) / 2
        y: zone.folded ? (zone.height - height) / 2 : column.y + browseSlot.y + 2
        text: "Browse…"
        font.pixelSize: Theme.callout
        palette.buttonText: Theme.amberText
        topPadding: 4
        bottomPadding: 4
        focusPolicy: Qt.StrongFocus
        background: Raised {
            radius: 6
            shadowRadius: 2
            shadowOffset: 1
            implicitWidth: 80
            implicitHeight: 22
            FocusRing {
                shown: browse.visualFocus
            }
        }
        // One dialog cannot take files and folders at once here, so both are offered.
        onClicked: browseMenu.popup(browse, 0, browse.height)
    }
    NeoMenu {
        id: browseMenu
        options: [{value: "files", label: "Choose files…"}, {value: "folder", label: "Choose a folder…"}]
        onPicked: value => (value === "files" ? fileDialog : folderDialog).open()
    }
    FileDialog {
        id: fileDialog
        title: "Choose .sd2 files"
        fileMode: FileDialog.OpenFiles
        onAccepted: Model.addURLs(selectedFiles)
    }
    FolderDialog {
        id: folderDialog
        objectName: "folderDialog"
        title: "Choose a folder of .sd2 files"
        onAccepted: Model.addURLs([selectedFolder])
    }
}
