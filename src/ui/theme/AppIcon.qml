import QtQuick
import TavikUi

// The application icon (resources/icons/dev.orlen.tavik.svg), drawn at any size: a dark
// rounded square with a light tick, on a 128-unit grid.
Item {
    id: icon

    implicitWidth: 56
    implicitHeight: 56

    readonly property real unit: Math.min(width, height) / 128

    Rectangle {
        x: 8 * icon.unit
        y: 8 * icon.unit
        width: 112 * icon.unit
        height: 112 * icon.unit
        radius: 30 * icon.unit
        color: "#21201C"
        // Keeps the dark square apart from a dark window.
        border.width: Radix.dark ? 1 : 0
        border.color: Radix.sandA6
        antialiasing: true
    }

    Canvas {
        id: tick
        anchors.fill: parent
        onWidthChanged: requestPaint()
        onHeightChanged: requestPaint()
        onPaint: {
            const ctx = getContext("2d");
            ctx.reset();
            ctx.scale(icon.unit, icon.unit);
            ctx.strokeStyle = "#F6F4F0";
            ctx.lineWidth = 14;
            ctx.lineCap = "round";
            ctx.lineJoin = "round";
            ctx.beginPath();
            ctx.moveTo(36, 66);
            ctx.lineTo(56, 86);
            ctx.lineTo(94, 44);
            ctx.stroke();
        }
    }
}
