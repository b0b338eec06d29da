import QtQuick
import QtQuick.Controls.Basic
import TavikUi

// One tab of the settings toolbar: the symbol above its label, like a preferences toolbar.
AbstractButton {
    id: button

    required property string label
    required property string symbol
    property bool selected: false

    implicitWidth: Math.max(56, implicitContentWidth + 20)
    implicitHeight: 46
    focusPolicy: Qt.TabFocus
    hoverEnabled: true
    Accessible.role: Accessible.PageTab
    Accessible.name: label
    Accessible.checked: selected

    background: Rectangle {
        radius: 7
        color: button.selected ? Radix.sandA3 : (button.hovered ? Radix.sandA2 : "transparent")
        border.width: button.visualFocus ? 2 : 0
        border.color: Radix.accent

        Behavior on color {
            ColorAnimation {
                duration: 120
                easing.type: Easing.OutQuad
            }
        }
    }

    contentItem: Column {
        spacing: 2
        topPadding: 4

        SymbolIcon {
            anchors.horizontalCenter: parent.horizontalCenter
            name: button.symbol
            size: 22
            color: button.selected ? Radix.accent : Radix.secondaryText
        }

        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: button.label
            font.pixelSize: 11
            color: button.selected ? Radix.accent : Radix.primaryText
        }
    }
}
