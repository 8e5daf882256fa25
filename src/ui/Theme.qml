pragma Singleton
import QtQuick

// The tape-deck palette and text sizes. Several names share a value on purpose; they stay
// separate names.
QtObject {
    readonly property color bg: Qt.rgba(0.906, 0.89, 0.847, 1)
    readonly property color panel: Qt.rgba(0.906, 0.89, 0.847, 1)
    readonly property color inset: Qt.rgba(0.906, 0.89, 0.847, 1)
    readonly property color ink: Qt.rgba(0.227, 0.227, 0.247, 1)
    readonly property color dim: Qt.rgba(0.541, 0.522, 0.478, 1)
    readonly property color amber: Qt.rgba(0.91, 0.631, 0.235, 1)
    readonly property color amber2: Qt.rgba(0.878, 0.451, 0.196, 1)
    readonly property color amberDeep: Qt.rgba(0.78, 0.533, 0.161, 1)
    readonly property color amberDim: Qt.rgba(0.91, 0.631, 0.235, 0.6)
    readonly property color red: Qt.rgba(0.878, 0.341, 0.29, 1)
    readonly property color lcdInk: Qt.rgba(0.322, 0.443, 0.29, 1)
    readonly property color signal: Qt.rgba(0.373, 0.749, 0.416, 1)
    readonly property color hot: Qt.rgba(0.878, 0.341, 0.29, 1)
    readonly property color meterYel: Qt.rgba(0.91, 0.631, 0.235, 1)
    readonly property color shDark: Qt.rgba(0.788, 0.769, 0.714, 1)
    readonly property color shLight: Qt.rgba(0.984, 0.969, 0.925, 1)
    readonly property color hair: Qt.rgba(0.855, 0.835, 0.788, 1)
    readonly property color knobOff: Qt.rgba(0.729, 0.702, 0.635, 1)
    readonly property var flare: [amber, amber2]

    readonly property string mono: "monospace"
    readonly property string symbols: "Material Icons"

    // Text styles, in pixels.
    readonly property int title3: 15
    readonly property int headline: 13
    readonly property int body: 13
    readonly property int callout: 12
    readonly property int caption: 10
    readonly property int caption2: 10
}
