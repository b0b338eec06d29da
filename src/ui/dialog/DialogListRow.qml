import QtQuick
import QtQuick.Templates as T
import TavikUi

// A row of the dialog's list popover: the list's swatch (filled when chosen), its name and,
// on the chosen row, a check mark. The whole row is the hit area.
T.AbstractButton {
    id: row

    property string listName
    property color swatchColor: Radix.sand9
    property bool chosen: false

    horizontalPadding: 10
    verticalPadding: 7
    focusPolicy: Qt.NoFocus
    hoverEnabled: true
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    Accessible.name: listName

    contentItem: Item {
        implicitWidth: swatch.width + 8 + name.implicitWidth + 14 + mark.implicitWidth
        implicitHeight: Math.max(name.implicitHeight, swatch.height)

        CategorySwatch {
            id: swatch
            anchors.verticalCenter: parent.verticalCenter
            swatchColor: row.swatchColor
            filled: row.chosen
            size: 10
        }
        Text {
            id: name
            x: swatch.width + 8
            width: Math.min(implicitWidth, parent.width - x - 14 - mark.implicitWidth)
            anchors.verticalCenter: parent.verticalCenter
            text: row.listName
            font.pixelSize: 14
            color: Radix.primaryText
            maximumLineCount: 1
            elide: Text.ElideRight
        }
        SymbolIcon {
            id: mark
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            visible: row.chosen
            name: "checkmark"
            size: 11
            semibold: true
            color: Radix.secondaryText
        }
    }

    background: Rectangle {
        radius: 6
        color: row.hovered ? Qt.rgba(Radix.primaryText.r, Radix.primaryText.g,
                                     Radix.primaryText.b, 0.06)
                           : "transparent"
    }
}
