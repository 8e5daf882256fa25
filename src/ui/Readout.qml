import QtQuick

Text {
    font.family: Theme.mono
    font.pixelSize: Theme.caption
}
