import QtQuick

// A 48 × 26 switch; the knob slides to the trailing end when on. Space flips it.
Item {
    id: toggle
    property bool checked
    signal toggled

    implicitWidth: 48
    implicitHeight: 26
    activeFocusOnTab: true
    Keys.onSpacePressed: toggled()

    InsetField {
        anchors.fill: parent
        radius: 13
    }
    Raised {
        id: knob
        width: 20
        height: 20
        y: 3
        x: toggle.checked ? toggle.width - width - 3 : 3
        radius: 10
        color: toggle.checked ? Theme.amber : Theme.knobOff
        shadowRadius: 2
        shadowOffset: 1
        lightShade: "transparent"
        Behavior on x {
            NumberAnimation {
                duration: 150
                easing.type: Easing.InOutQuad
            }
        }
    }
    FocusRing {
        radius: 16
    }
    TapHandler {
        onTapped: toggle.toggled()
    }
}
