import QtQuick
import TavikUi

// One key of a shortcut hint: a symbol or a short text on a faint rounded square.
Rectangle {
    id: keycap

    property string label
    property bool isSymbol: false

    implicitWidth: Math.max(17, content.implicitWidth + 6)
    implicitHeight: 17
    radius: 5
    color: Qt.rgba(Radix.primaryText.r, Radix.primaryText.g, Radix.primaryText.b, 0.06)

    Text {
        id: content
        anchors.centerIn: parent
        text: keycap.isSymbol ? Icons.glyph(keycap.label) : keycap.label
        font.family: keycap.isSymbol ? Icons.fontFamily : Qt.application.font.family
        font.pixelSize: 10
        font.weight: Font.DemiBold
        color: Radix.secondaryText
    }
}
