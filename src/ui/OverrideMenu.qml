import QtQuick
import Quorvel

// A row's mono/stereo override: Auto (…), Mono, Stereo, and "Join L and R" for a split half
// whose other half is queued too; a pair offers "Split into L and R" instead.
Item {
    id: override
    required property var item
    // Asked as the menu opens: it depends on the rest of the queue.
    property bool joinable: false
    // Made when first opened: a list of thousands only ever opens a few.
    readonly property alias menu: menuLoader.item

    objectName: "overrideMenu"
    enabled: !Model.isConverting
    opacity: enabled ? 1 : 0.5
    activeFocusOnTab: true
    Keys.onSpacePressed: open()
    Keys.onDownPressed: open()
    function open() {
        joinable = Model.canJoin(item)
        menuLoader.active = true
        menuLoader.item.popup(override, 0, override.height)
    }

    InsetField {
        anchors.fill: parent
        radius: 9
    }
    FocusRing {
        radius: 11
    }
    Row {
        anchors.centerIn: parent
        spacing: 6
        Text {
            objectName: "overrideText"
            text: !override.item ? "" : override.item.isPair ? "Stereo (L + R)"
                : override.item.overrideLabels[["Auto", "Mono", "Stereo"].indexOf(override.item.overrideChoice)]
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
        onTapped: override.open()
    }
    Loader {
        id: menuLoader
        active: false
        sourceComponent: NeoMenu {
            id: overrideMenu
            objectName: "overrideChoices"
            // A pair's layout is fixed by its two files; it can only be taken apart.
            // (The row's item is gone for a moment while the list takes the row away.)
            options: !override.item ? [] : override.item.isPair ? [{value: "Split", label: "Split into L and R"}]
                : [{value: "Auto", label: override.item.overrideLabels[0]}, {value: "Mono", label: "Mono"},
                   {value: "Stereo", label: "Stereo"}].concat(override.joinable ? [{value: "Join", label: "Join L and R"}] : [])
            current: override.item?.isPair ? undefined : override.item?.overrideChoice
            minimumWidth: override.width
            onPicked: value => {
                if (value === "Split")
                    Model.splitPair(override.item)
                else if (value === "Join")
                    Model.joinPair(override.item)
                else
                    override.item.overrideChoice = value
            }
        }
    }
}
