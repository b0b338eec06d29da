import QtQuick
import QtQuick.Controls
import TavikUi

// The round-cornered tick box of a row and of the done list.
AbstractButton {
    id: box

    property bool completed: false
    readonly property int side: 17

    implicitWidth: side
    implicitHeight: side
    padding: 0
    hoverEnabled: true
    focusPolicy: Qt.NoFocus

    background: Rectangle {
        radius: 5
        color: box.completed ? Radix.accent : box.hovered ? Radix.sandA4 : Radix.sandA3

        Behavior on color {
            ColorAnimation {
                duration: 120
                easing.type: Easing.OutQuad
            }
        }
    }

    contentItem: Item {
        SymbolIcon {
            anchors.centerIn: parent
            name: "checkmark"
            size: 10
            font.weight: Font.Bold
            color: "white"
            // The tick grows from 0.4 and fades in on a springy curve.
            opacity: box.completed ? 1 : 0
            scale: box.completed ? 1 : 0.4

            Behavior on opacity {
                SpringMotion {
                    response: 0.3
                    dampingFraction: 0.55
                    epsilon: 0.005
                }
            }
            Behavior on scale {
                SpringMotion {
                    response: 0.3
                    dampingFraction: 0.55
                    epsilon: 0.005
                }
            }
        }
    }
}
