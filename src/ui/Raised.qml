import QtQuick
import Quorvel

// A surface raised out of the panel; place it behind content with anchors.fill.
Item {
    property alias radius: surface.radius
    property alias color: surface.color
    property alias shadowRadius: surface.shadowRadius
    property alias shadowOffset: surface.shadowOffset
    property alias lightShade: surface.lightShade

    Surface {
        id: surface
        anchors.fill: parent
        anchors.margins: -spill
        color: Theme.panel
        darkShade: Theme.shDark
        lightShade: Theme.shLight
    }
}
