import QtQuick
import QtQuick.Controls.Basic
import TavikUi

// A push button of the desktop kind: a small rounded bezel with its title at size 13.
Button {
    id: button

    // The default button of a dialog is filled with the accent colour.
    property bool prominent: false

    implicitHeight: 26
    leftPadding: 14
    rightPadding: 14
    topPadding: 0
    bottomPadding: 0
    hoverEnabled: true
    Accessible.name: text

    contentItem: Text {
        text: button.text
        font.pixelSize: 13
        color: button.prominent ? "white" : Radix.primaryText
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        opacity: button.enabled ? 1 : 0.4
    }

    background: Rectangle {
        implicitWidth: 72
        radius: 6
        color: {
            if (button.prominent)
                return button.down ? Qt.darker(Radix.accent, 1.15) : Radix.accent;
            if (button.down)
                return Radix.sandA4;
            return button.hovered ? Radix.sandA2 : Radix.sand1;
        }
        border.width: button.visualFocus ? 2 : 1
        border.color: button.visualFocus ? Radix.accent : (button.prominent ? "transparent" : Radix.sandA6)

        Behavior on color {
            ColorAnimation {
                duration: 120
                easing.type: Easing.OutQuad
            }
        }
    }
}
