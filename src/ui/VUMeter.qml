import QtQuick

// A row of bars; bar i lights when i / segments ≤ level, green, then yellow, then red.
Item {
    property real level
    property int segments: 16
    readonly property alias bars: bars

    implicitWidth: row.implicitWidth + 18
    implicitHeight: 13 + 14

    InsetField {
        anchors.fill: parent
        radius: 8
    }
    Row {
        id: row
        anchors.centerIn: parent
        spacing: 2
        Repeater {
            id: bars
            model: segments
            Rectangle {
                readonly property bool lit: index / segments <= level
                readonly property real position: index / (segments - 1)
                width: 4
                height: 13
                radius: 1
                color: !lit ? Qt.rgba(Theme.shDark.r, Theme.shDark.g, Theme.shDark.b, 0.55)
                     : position > 0.86 ? Theme.hot : position > 0.6 ? Theme.meterYel : Theme.signal
            }
        }
    }
}
