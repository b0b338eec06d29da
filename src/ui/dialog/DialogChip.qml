import QtQuick
import QtQuick.Templates as T
import TavikUi

// A day chip: its text on a capsule, white on the accent colour when selected, primary text
// on a faint tint otherwise.
T.AbstractButton {
    id: chip

    property bool selected: false

    horizontalPadding: 10
    verticalPadding: 5
    focusPolicy: Qt.NoFocus
    hoverEnabled: true
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    Accessible.name: text

    contentItem: Text {
        text: chip.text
        font.pixelSize: 14
        color: chip.selected ? "white" : Radix.primaryText
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    background: Rectangle {
        radius: height / 2
        color: chip.selected ? Radix.accent : Qt.rgba(Radix.primaryText.r, Radix.primaryText.g,
                                                      Radix.primaryText.b, 0.06)
    }
}
