import QtQuick
import TavikUi

// The surface of the strip's popovers: a raised rounded card with a soft edge and shadow.
Item {
    id: surface

    property real radius: 12

    // A few widening, fading rings stand in for a blurred shadow.
    Repeater {
        model: 4
        delegate: Rectangle {
            id: ring
            required property int index
            x: -ring.index
            y: 3 - ring.index
            width: surface.width + 2 * ring.index
            height: surface.height + 2 * ring.index
            radius: surface.radius + ring.index
            color: "transparent"
            border.width: 1
            border.color: Qt.rgba(0, 0, 0, (Radix.dark ? 0.16 : 0.05) * (4 - ring.index) / 4)
        }
    }
    Rectangle {
        anchors.fill: parent
        radius: surface.radius
        // Dark popovers sit a step above the board so their edge reads.
        color: Radix.dark ? "#232321" : Radix.sand1
        border.width: 1
        border.color: Radix.sandA4
    }
}
