import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Quorvel

// One queued file: lamp, name and status, listen hint, mono/stereo override and buttons.
Item {
    id: row
    required property var item
    readonly property bool done: item.stateName === "done"
    // A pair's layout is given by its two files, not guessed.
    readonly property bool showsHint: item.confidence === "verify by ear" && !done && !item.isPair

    implicitHeight: Math.max(content.implicitHeight, 30) + 22

    RowCard {
        anchors.fill: parent
    }
    RowLayout {
        id: content
        anchors.fill: parent
        anchors.leftMargin: 13
        anchors.rightMargin: 13
        spacing: 11

        Item {
            Layout.preferredWidth: 24
            Layout.preferredHeight: 22
            Rectangle {
                anchors.centerIn: parent
                visible: row.item.stateName === "ready"
                width: 16
                height: 16
                radius: 8
                color: "transparent"
                border.width: 2
                border.color: Qt.rgba(Theme.dim.r, Theme.dim.g, Theme.dim.b, 0.55)
            }
            Spinner {
                anchors.centerIn: parent
                visible: row.item.stateName === "working"
                width: 12
                height: 12
            }
            Raised {
                anchors.centerIn: parent
                visible: row.done || row.item.stateName === "failed"
                width: 22
                height: 22
                radius: 11
                color: row.done ? Theme.signal : Theme.hot
                shadowRadius: 2
                shadowOffset: 1
                lightShade: "transparent"
                Symbol {
                    anchors.centerIn: parent
                    name: row.done ? "check" : "close"
                    color: "white"
                    font.pixelSize: 15
                    font.bold: true
                }
            }
        }
        Column {
            Layout.fillWidth: true
            spacing: 3
            Text {
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
                ToolTip.visible: row.item.isPair && nameHover.hovered
                ToolTip.text: row.item.halves
            }
            Readout {
                width: parent.width
                text: row.item.status
                elide: Text.ElideRight
                color: row.done ? Theme.signal : row.item.stateName === "failed" ? Theme.hot : Theme.dim
            }
            Readout {
                objectName: "folderLine"
                width: parent.width
                visible: text !== ""
                text: row.item.folder
                elide: Text.ElideMiddle
                color: Theme.dim
                opacity: 0.7
                HoverHandler {
                    id: folderHover
                }
                ToolTip.visible: folderHover.hovered
                ToolTip.text: row.item.path
            }
        }
        Symbol {
            objectName: "listenHint"
            visible: row.showsHint
            name: "hearing"
            color: Theme.amber2
            HoverHandler {
                id: hintHover
            }
            ToolTip.visible: hintHover.hovered
            ToolTip.text: "Mono or stereo? Too close to call — give it a listen."
        }
        Item {
            objectName: "overrideMenu"
            visible: !row.done
            enabled: !Model.isConverting
            implicitWidth: 134
            implicitHeight: overrideFace.implicitHeight + 14
            opacity: enabled ? 1 : 0.5
            InsetField {
                anchors.fill: parent
                radius: 9
            }
            Row {
                id: overrideFace
                anchors.centerIn: parent
                spacing: 6
                Text {
                    objectName: "overrideText"
                    text: row.item.isPair ? "Stereo (L + R)"
                                          : row.item.overrideLabels[["Auto", "Mono", "Stereo"].indexOf(row.item.overrideChoice)]
                    font.pixelSize: 12
                    font.weight: Font.DemiBold
                    color: Theme.ink
                }
                Symbol {
                    name: "expand_more"
                    color: Theme.amber
                    font.pixelSize: 13
                }
            }
            TapHandler {
                onTapped: overrideMenu.popup(parent, 0, parent.height)
            }
            NeoMenu {
                id: overrideMenu
                objectName: "overrideChoices"
                // A pair's layout is fixed by its two files; it can only be taken apart.
                options: row.item.isPair ? [{value: "Split", label: "Split into L and R"}]
                                         : [{value: "Auto", label: row.item.overrideLabels[0]},
                                            {value: "Mono", label: "Mono"}, {value: "Stereo", label: "Stereo"}]
                onPicked: value => {
                    if (value === "Split")
                        Model.splitPair(row.item)
                    else
                        row.item.overrideChoice = value
                }
            }
        }
        CircleIconButton {
            symbol: "play_arrow"
            tint: Theme.amber
            onClicked: Model.preview(row.item)
        }
        CircleIconButton {
            objectName: "requeueButton"
            visible: row.done || row.item.stateName === "failed"
            symbol: "undo"
            onClicked: Model.requeue(row.item)
        }
        CircleIconButton {
            symbol: "close"
            onClicked: Model.remove(row.item)
        }
    }
}
