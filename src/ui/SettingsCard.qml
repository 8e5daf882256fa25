import QtQuick
import QtQuick.Layouts
import Quorvel

// Output settings, and the source assumptions under "Advanced". Every control writes the
// model. Switches are SettingToggle rows; the advanced section takes more of them as they come.
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
        Flow {
            Layout.fillWidth: true
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
            Labeled {
                title: "Channels"
                NeoSelect {
                    objectName: "channelsSelect"
                    faceWidth: 200
                    options: Model.targetChannelsOptions
                    value: Model.targetChannels
                    onPicked: value => Model.targetChannels = value
                }
            }
        }
        SettingToggle {
            objectName: "normalizeLoudness"
            Layout.topMargin: 2
            title: "Normalize loudness"
            detail: "→ −14 LUFS, true-peak ≤ −1 dBTP"
            checked: Model.normalizeLoudness
            onToggled: Model.normalizeLoudness = !Model.normalizeLoudness
        }
        Row {
            id: disclosure
            objectName: "advancedDisclosure"
            spacing: 6
            activeFocusOnTab: true
            Keys.onSpacePressed: Model.showAdvanced = !Model.showAdvanced
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
            FocusRing {
                radius: 4
            }
            TapHandler {
                onTapped: Model.showAdvanced = !Model.showAdvanced
            }
        }
        ColumnLayout {
            objectName: "advancedSection"
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
                        objectName: "sourceFormatSelect"
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
                color: Theme.dimText
            }
            SettingToggle {
                objectName: "keepFolderStructure"
                title: "Keep folder structure"
                detail: "→ _sd2_outputs/Session/Audio Files/…, as dropped"
                checked: Model.keepFolderStructure
                onToggled: Model.keepFolderStructure = !Model.keepFolderStructure
            }
            SettingToggle {
                objectName: "plainWav"
                title: "Plain WAV"
                detail: "→ no bext or MD5 chunk: no origin, coding history or checksum inside"
                checked: Model.plainWav
                onToggled: Model.plainWav = !Model.plainWav
            }
        }
    }
}
