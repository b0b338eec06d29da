import QtQuick
import TavikUi

// A named symbol drawn from the icon font.
Text {
    id: icon
    required property string name
    property int size: 13
    property bool semibold: false

    text: Icons.glyph(name)
    font.family: Icons.fontFamily
    font.pixelSize: size
    font.weight: semibold ? Font.DemiBold : Font.Normal
    color: Radix.secondaryText
    horizontalAlignment: Text.AlignHCenter
    verticalAlignment: Text.AlignVCenter
}
