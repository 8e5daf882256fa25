import QtQuick

Rectangle {
    color: Theme.bg
}
