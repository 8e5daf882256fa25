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

    // Text tones: text in the hues above, darkened until it reads at 4.5:1 or more (WCAG AA)
    // on the panel; the lamps, meter, fills and gradients keep the colours above. Ratios on
    // `panel`, the colour behind nearly every text.
    readonly property color dimText: Qt.rgba(0.40, 0.384, 0.35, 1)    // 4.74:1 (dim: 2.86)
    readonly property color amberText: Qt.rgba(0.54, 0.34, 0.06, 1)   // 4.76:1 (amber: 1.71)
    readonly property color signalText: Qt.rgba(0.17, 0.43, 0.2, 1)   // 4.86:1 (signal: 1.79)
    readonly property color hotText: Qt.rgba(0.72, 0.17, 0.12, 1)     // 4.82:1 (hot: 2.91)
    readonly property color lcdText: Qt.rgba(0.29, 0.40, 0.26, 1)     // 5.01:1 (lcdInk: 4.29)
    // On the flare gradient: 7.4:1 on amber, 5.1:1 on amber2 (white: 2.2 and 3.2).
    readonly property color onFlare: Qt.rgba(0.16, 0.12, 0.08, 1)

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
