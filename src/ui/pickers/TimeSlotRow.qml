import QtQuick
import QtQuick.Templates as T
import TavikUi

// One quarter-hour of the time list: its time, centred, on a rounded row that takes the
// accent colour when selected and a faint tint under the pointer.
T.AbstractButton {
    id: row

    property string label
    property bool selected: false

    topPadding: 6
    bottomPadding: 6
    focusPolicy: Qt.NoFocus
    hoverEnabled: true
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    Accessible.name: label

    contentItem: Text {
        text: row.label
        font.pixelSize: 14
        color: row.selected ? "white" : Radix.primaryText
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    background: Rectangle {
        radius: 6
        color: row.selected ? Radix.accent
                            : row.hovered ? Qt.rgba(Radix.primaryText.r, Radix.primaryText.g,
                                                    Radix.primaryText.b, 0.06)
                                          : "transparent"
    }
}
