import QtQuick
import QtQuick.Templates as T
import TavikUi

// The small clear button at the end of a filled chip: an "xmark" on a circle that lights up
// under the pointer.
T.AbstractButton {
    id: dot

    // Drawn on the accent colour: white mark, white hover.
    property bool onAccent: false

    implicitWidth: 16
    implicitHeight: 16
    padding: 0
    focusPolicy: Qt.NoFocus
    hoverEnabled: true
    Accessible.name: "清除"

    contentItem: SymbolIcon {
        name: "xmark"
        size: 8
        font.weight: Font.Bold
        color: dot.onAccent ? "white" : Radix.secondaryText
    }

    background: Rectangle {
        radius: width / 2
        color: !dot.hovered ? "transparent"
                            : dot.onAccent ? Qt.rgba(1, 1, 1, 0.25)
                                           : Qt.rgba(Radix.primaryText.r, Radix.primaryText.g,
                                                     Radix.primaryText.b, 0.1)
    }
}
