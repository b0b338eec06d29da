import QtQuick
import TavikUi

// A list's small square: a 2-point border in the list's colour, filled when chosen. The
// corner radius stays 4 at every size.
Rectangle {
    id: swatch
    property color swatchColor: Radix.sand11
    property bool filled: false
    property real size: 10

    implicitWidth: size
    implicitHeight: size
    width: size
    height: size
    radius: 4
    color: filled ? swatchColor : "transparent"
    border.width: 2
    border.color: swatchColor
}
