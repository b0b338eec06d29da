import QtQuick
import QtQuick.Controls
import TavikUi

// The line between groups of a SymbolMenu.
MenuSeparator {
    topPadding: 4
    bottomPadding: 4
    contentItem: Rectangle {
        implicitHeight: 1
        color: Radix.sandA4
    }
}
