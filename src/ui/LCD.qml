import QtQuick
import QtQuick.Controls.Basic

// The status display; a text cut in the middle shows whole in its tooltip.
Item {
    property alias text: label.text
    implicitWidth: label.implicitWidth + 26
    implicitHeight: label.implicitHeight + 16

    InsetField {
        anchors.fill: parent
        radius: 9
    }
    Text {
        id: label
        anchors.fill: parent
        anchors.leftMargin: 13
        anchors.rightMargin: 13
        verticalAlignment: Text.AlignVCenter
        font.family: Theme.mono
        font.pixelSize: Theme.caption
        color: Theme.lcdText
        elide: Text.ElideMiddle
        maximumLineCount: 1
    }
    HoverHandler {
        id: hover
    }
    ToolTip.visible: label.truncated && hover.hovered
    ToolTip.text: label.text
}
