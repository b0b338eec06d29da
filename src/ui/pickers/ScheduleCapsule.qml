import QtQuick
import QtQuick.Templates as T
import TavikUi

// The dialog's calendar chip and reminder control: a capsule whose main part opens a picker
// and which, while it holds a value, is filled with the accent colour and ends in a
// ClearDot.
Item {
    id: capsule

    // The value's text; without one the symbol `emptySymbol` or the text `emptyText` shows.
    property string text
    property string emptySymbol
    property string emptyText
    property bool active: false
    readonly property alias mainButton: main

    signal activated
    signal cleared

    implicitWidth: row.implicitWidth
    implicitHeight: row.implicitHeight

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: capsule.active ? Radix.accent : Qt.rgba(Radix.primaryText.r, Radix.primaryText.g,
                                                       Radix.primaryText.b, 0.06)
    }

    Row {
        id: row

        T.AbstractButton {
            id: main

            anchors.verticalCenter: parent.verticalCenter
            leftPadding: 10
            rightPadding: capsule.active ? 3 : 10
            topPadding: 5
            bottomPadding: 5
            focusPolicy: Qt.NoFocus
            hoverEnabled: true
            implicitWidth: implicitContentWidth + leftPadding + rightPadding
            implicitHeight: implicitContentHeight + topPadding + bottomPadding
            Accessible.name: capsule.text.length > 0 ? capsule.text : capsule.emptyText
            onClicked: capsule.activated()

            contentItem: Item {
                implicitWidth: capsule.text.length > 0 || capsule.emptySymbol.length === 0
                               ? label.implicitWidth : symbol.implicitWidth
                implicitHeight: label.implicitHeight

                Text {
                    id: label
                    anchors.centerIn: parent
                    visible: capsule.text.length > 0 || capsule.emptySymbol.length === 0
                    text: capsule.text.length > 0 ? capsule.text : capsule.emptyText
                    font.pixelSize: 14
                    color: capsule.active ? "white" : Radix.primaryText
                }
                SymbolIcon {
                    id: symbol
                    anchors.centerIn: parent
                    visible: !label.visible
                    name: capsule.emptySymbol.length > 0 ? capsule.emptySymbol : "ellipsis"
                    size: 14
                    color: capsule.active ? "white" : Radix.primaryText
                }
            }
        }

        Item {
            visible: capsule.active
            anchors.verticalCenter: parent.verticalCenter
            implicitWidth: clear.implicitWidth + 4
            implicitHeight: clear.implicitHeight

            ClearDot {
                id: clear
                onAccent: true
                onClicked: capsule.cleared()
            }
        }
    }
}
