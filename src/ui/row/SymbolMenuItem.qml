import QtQuick
import QtQuick.Controls
import TavikUi

// A menu entry with a named symbol before its text. A submenu's entry takes the symbol from
// the submenu's own `symbol` property.
MenuItem {
    id: item

    property string symbol: subMenu && subMenu.symbol !== undefined ? subMenu.symbol : ""
    property bool destructive: false

    contentItem: Row {
        spacing: 8

        Item {
            width: 16
            height: 16
            anchors.verticalCenter: parent.verticalCenter

            SymbolIcon {
                anchors.centerIn: parent
                name: item.symbol
                size: 14
                visible: item.symbol !== ""
                color: label.color
            }
        }
        Text {
            id: label
            anchors.verticalCenter: parent.verticalCenter
            text: item.text
            font.pixelSize: 14
            color: item.destructive ? Radix.red11
                                    : item.highlighted ? item.palette.highlightedText
                                                       : Radix.primaryText
        }
    }
}
