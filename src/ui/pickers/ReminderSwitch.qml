import QtQuick
import QtQuick.Templates as T
import TavikUi

// A labelled on/off switch: the label on the left, a small capsule knob on the right.
T.Switch {
    id: control

    focusPolicy: Qt.NoFocus
    padding: 0
    spacing: 12
    implicitWidth: implicitContentWidth + implicitIndicatorWidth + spacing
    implicitHeight: Math.max(implicitContentHeight, implicitIndicatorHeight)
    Accessible.name: text

    indicator: Rectangle {
        x: control.width - width
        y: (control.height - height) / 2
        implicitWidth: 32
        implicitHeight: 18
        radius: height / 2
        color: control.checked ? Radix.accent : Radix.sandA4

        Rectangle {
            x: control.checked ? parent.width - width - 2 : 2
            y: 2
            width: parent.height - 4
            height: width
            radius: width / 2
            color: "white"
            Behavior on x {
                NumberAnimation {
                    duration: 120
                    easing.type: Easing.OutQuad
                }
            }
        }
    }

    contentItem: Text {
        text: control.text
        font.pixelSize: 14
        color: Radix.primaryText
        verticalAlignment: Text.AlignVCenter
        rightPadding: control.indicator.width + control.spacing
    }
}
