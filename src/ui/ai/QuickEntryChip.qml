import QtQuick
import QtQuick.Templates as T
import TavikUi

// A chip of the quick entry and its suggestion card: an optional symbol or list swatch, an
// optional label and an optional chevron on a capsule that is the whole hit area.
T.AbstractButton {
    id: chip

    property string symbol
    property bool showSwatch: false
    property color swatchColor: Radix.sand9
    property string label
    property bool chevron: false
    property color tint: Radix.secondaryText
    property color labelColor: tint
    property color fill: Qt.rgba(Radix.primaryText.r, Radix.primaryText.g, Radix.primaryText.b,
                                 0.06)

    horizontalPadding: 9
    verticalPadding: 5
    focusPolicy: Qt.NoFocus
    hoverEnabled: true
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    Accessible.name: label

    contentItem: Row {
        spacing: chip.showSwatch ? 5 : 4

        SymbolIcon {
            anchors.verticalCenter: parent.verticalCenter
            visible: chip.symbol.length > 0
            name: chip.symbol
            size: 11
            semibold: true
            color: chip.tint
        }
        CategorySwatch {
            anchors.verticalCenter: parent.verticalCenter
            visible: chip.showSwatch
            swatchColor: chip.swatchColor
            size: 10
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            visible: chip.label.length > 0
            width: Math.min(implicitWidth, 150)
            text: chip.label
            font.pixelSize: 14
            color: chip.labelColor
            maximumLineCount: 1
            elide: Text.ElideRight
        }
        SymbolIcon {
            anchors.verticalCenter: parent.verticalCenter
            visible: chip.chevron
            name: "chevron.down"
            size: 9
            semibold: true
            color: Radix.secondaryText
        }
    }

    background: Rectangle {
        radius: height / 2
        color: chip.fill
    }
}
