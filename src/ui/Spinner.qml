import QtQuick

// An indeterminate spinner of plain rectangles, so it turns under any renderer.
Item {
    id: spinner
    property color color: Theme.amber
    implicitWidth: 20
    implicitHeight: 20

    Repeater {
        model: 8
        Rectangle {
            x: parent.width / 2 - width / 2
            y: 0
            width: parent.width * 0.12
            height: parent.height * 0.3
            radius: width / 2
            color: spinner.color
            opacity: 0.25 + 0.75 * index / 7
            transform: Rotation {
                origin.x: width / 2
                origin.y: parent.height / 2
                angle: index * 45
            }
        }
    }
    RotationAnimator on rotation {
        from: 0
        to: 360
        duration: 900
        loops: Animation.Infinite
        running: spinner.visible
    }
}
