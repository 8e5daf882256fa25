import QtQuick
import Quorvel

// A field pressed into the panel: dark shade along the top and left, light along the bottom and right.
Surface {
    inset: true
    radius: 12
    color: Theme.inset
    darkShade: Theme.shDark
    lightShade: Theme.shLight
}
