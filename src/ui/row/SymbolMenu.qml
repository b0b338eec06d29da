import QtQuick
import QtQuick.Controls
import TavikUi

// A menu on the app's own rounded surface, in the colours of the scheme, its entries
// SymbolMenuItems.
Menu {
    topPadding: 5
    bottomPadding: 5
    leftPadding: 5
    rightPadding: 5
    delegate: SymbolMenuItem {}

    background: Rectangle {
        implicitWidth: 180
        radius: 8
        color: Radix.controlBackground
        border.width: 1
        border.color: Radix.sandA6
    }
}
