import QtQuick
import QtQuick.Controls
import TavikUi

// The toolbar button that switches the row density.
AbstractButton {
    id: button

    property bool compact: false

    implicitWidth: 32
    implicitHeight: 32
    hoverEnabled: true
    focusPolicy: Qt.NoFocus

    ToolTip.visible: hovered
    ToolTip.delay: 600
    ToolTip.text: compact ? "切换为默认视图" : "切换为精简视图"

    background: Rectangle {
        radius: 12
        color: button.hovered ? Radix.sandA3 : "transparent"

        Behavior on color {
            ColorAnimation {
                duration: 120
                easing.type: Easing.OutQuad
            }
        }
    }

    contentItem: Item {
        // The two symbols lie on each other and cross-fade.
        SymbolIcon {
            anchors.centerIn: parent
            name: "list.bullet"
            size: 13
            semibold: true
            opacity: button.compact ? 0 : 1

            Behavior on opacity {
                NumberAnimation {
                    duration: 150
                    easing.type: Easing.InOutQuad
                }
            }
        }
        SymbolIcon {
            anchors.centerIn: parent
            name: "rectangle.grid.1x2"
            size: 13
            semibold: true
            opacity: button.compact ? 1 : 0

            Behavior on opacity {
                NumberAnimation {
                    duration: 150
                    easing.type: Easing.InOutQuad
                }
            }
        }
    }
}
