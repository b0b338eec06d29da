import QtQuick
import QtQuick.Shapes
import TavikUi

// The dashed separator: a straight line across the vertical middle of its rectangle.
Shape {
    id: rule

    property color color: Radix.sandA6
    property real lineWidth: 1.5

    implicitHeight: 2

    ShapePath {
        strokeColor: rule.color
        strokeWidth: rule.lineWidth
        fillColor: "transparent"
        strokeStyle: ShapePath.DashLine
        // Dash lengths are counted in line widths: 3 on, 7 off.
        dashPattern: [3 / rule.lineWidth, 7 / rule.lineWidth]
        dashOffset: 0
        capStyle: ShapePath.FlatCap
        joinStyle: ShapePath.MiterJoin
        miterLimit: 10
        startX: 0
        startY: rule.height / 2

        PathLine {
            x: rule.width
            y: rule.height / 2
        }
    }
}
