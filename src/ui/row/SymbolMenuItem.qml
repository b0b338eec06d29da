import QtQuick
import QtQuick.Controls
import TavikUi

// A menu entry with a named symbol before its text. A submenu's entry takes the symbol from
// the submenu's own `symbol` property.
MenuItem {
    id: item

    property string symbol: subMenu && subMenu.symbol !== undefined ? subMenu.symbol : ""
    property bool destructive: false

    implicitHeight: 28
    leftPadding: 8
    rightPadding: 8

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
            // Long list names end in an ellipsis at the menu's edge; the symbol and the
            // submenu arrow take 24 and 16.
            width: Math.min(implicitWidth, item.availableWidth - 24 - (item.subMenu ? 16 : 0))
            text: item.text
            elide: Text.ElideRight
            font.pixelSize: 14
            color: item.highlighted ? "white" : item.destructive ? Radix.red11 : Radix.primaryText
        }
    }

    arrow: SymbolIcon {
        x: item.width - width - item.rightPadding
        anchors.verticalCenter: parent.verticalCenter
        visible: item.subMenu !== null
        name: "chevron.right"
        size: 13
        color: label.color
    }

    background: Rectangle {
        implicitWidth: 170
        radius: 5
        color: !item.highlighted ? "transparent" : item.destructive ? Radix.redA9 : Radix.accent
    }
}
