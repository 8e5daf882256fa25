import QtQuick
import QtQuick.Layouts
import Quorvel

// Output settings, and the source assumptions under "Advanced". Every control writes the model.
Item {
    implicitHeight: column.implicitHeight + 30

    ConsolePanel {
        anchors.fill: parent
    }
    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.leftMargin: 26
        anchors.rightMargin: 26
        anchors.topMargin: 15
        anchors.bottomMargin: 15
        spacing: 13

        Stencil {
            text: "OUTPUT SETTINGS"
        }
        RowLayout {
            spacing: 18
            Labeled {
                title: "Sample rate"
                Segmented {
                    objectName: "rateSegments"
                    options: Model.targetRateOptions
                    value: Model.targetRate
                    onPicked: value => Model.targetRate = value
                }
            }
            Labeled {
                title: "Bit depth"
                Segmented {
                    objectName: "depthSegments"
                    options: Model.targetDepthOptions
                    value: Model.targetDepth
                    onPicked: value => Model.targetDepth = value
                }
            }
            Item {
                Layout.fillWidth: true
            }
        }
        Labeled {
            title: "Channels"
            NeoSelect {
                faceWidth: 200
                options: Model.targetChannelsOptions
                value: Model.targetChannels
                onPicked: value => Model.targetChannels = value
            }
        }
        RowLayout {
            Layout.topMargin: 2
            spacing: 12
            Column {
                Text {
                    text: "Normalize loudness"
                    font.pixelSize: Theme.callout
                    font.weight: Font.DemiBold
                    color: Theme.ink
                }
                Text {
                    text: "→ −14 LUFS, true-peak ≤ −1 dBTP"
                    font.family: Theme.mono
                    font.pixelSize: Theme.caption
                    color: Theme.dim
                }
            }
            Item {
                Layout.fillWidth: true
            }
            NeoToggle {
                checked: Model.normalizeLoudness
                onToggled: Model.normalizeLoudness = !Model.normalizeLoudness
            }
        }
        Row {
            spacing: 6
            Symbol {
                name: "chevron_right"
                color: Theme.dim
                rotation: Model.showAdvanced ? 90 : 0
                Behavior on rotation {
                    NumberAnimation {
                        duration: 150
                    }
                }
            }
            Stencil {
                anchors.verticalCenter: parent.verticalCenter
                text: "ADVANCED INPUT SETTINGS"
            }
            TapHandler {
                onTapped: Model.showAdvanced = !Model.showAdvanced
            }
        }
        ColumnLayout {
            visible: Model.showAdvanced
            Layout.topMargin: 6
            Layout.fillWidth: true
            spacing: 13
            Flow {
                Layout.fillWidth: true
                spacing: 18
                Labeled {
                    title: "Source format"
                    NeoSelect {
                        faceWidth: 300
                        options: Model.sourceFormatOptions
                        value: Model.sourceFormatChoice
                        // Picking even the current choice re-reads every file.
                        onPicked: value => {
                            Model.sourceFormatChoice = value
                            Model.redetectAll()
                        }
                    }
                }
                Labeled {
                    title: "Source rate"
                    NeoSelect {
                        faceWidth: 190
                        options: Model.sourceRateOptions
                        value: Model.sourceRate
                        onPicked: value => Model.sourceRate = value
                    }
                }
            }
            Text {
                Layout.fillWidth: true
                text: "The app sniffs each file's byte format and picks the reading that comes out as music instead of a fax machine. Only reach in here if it guesses wrong. Source rate stays 44.1 kHz — the standard SD2 rate."
                wrapMode: Text.WordWrap
                font.pixelSize: Theme.caption
                color: Theme.dim
            }
            RowLayout {
                Layout.fillWidth: true
                spacing: 12
                Column {
                    Text {
                        text: "Keep folder structure"
                        font.pixelSize: Theme.callout
                        font.weight: Font.DemiBold
                        color: Theme.ink
                    }
                    Text {
                        text: "→ _sd2_outputs/Session/Audio Files/…, as dropped"
                        font.family: Theme.mono
                        font.pixelSize: Theme.caption
                        color: Theme.dim
                    }
                }
                Item {
                    Layout.fillWidth: true
                }
                NeoToggle {
                    objectName: "keepTreeToggle"
                    checked: Model.keepFolderStructure
                    onToggled: Model.keepFolderStructure = !Model.keepFolderStructure
                }
            }
        }
    }
}
