import QtQuick
import QtQuick.Controls.Basic
import TavikUi

// A borderless button that reads as a link: the accent colour at size 13.
AbstractButton {
    id: link

    hoverEnabled: true
    padding: 0
    Accessible.role: Accessible.Link
    Accessible.name: text

    contentItem: Text {
        text: link.text
        font.pixelSize: 13
        font.underline: link.hovered || link.visualFocus
        color: link.down ? Qt.darker(Radix.accent, 1.2) : Radix.accent
    }

    HoverHandler {
        cursorShape: Qt.PointingHandCursor
    }
}
