import QtQuick
import QtQuick.Controls
import TavikUi

// The ten list colours in a row; a press picks one and closes the popover.
Popup {
    id: popover

    required property CategoryStripController controller

    x: Math.round((parent ? parent.width : 0) / 2 - width / 2)
    y: (parent ? parent.height : 0) + 6
    margins: 8
    padding: 12
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside

    background: CategoryPopoverSurface {}

    contentItem: Row {
        spacing: 10

        Repeater {
            model: CategoryPalette.hexes

            delegate: Item {
                id: choice
                required property string modelData
                required property int index

                objectName: "colorChoice" + index
                width: 14
                height: 14

                CategorySwatch {
                    anchors.centerIn: parent
                    swatchColor: CategoryPalette.color(choice.modelData)
                    filled: popover.controller.draftColor === choice.modelData
                    size: 14
                }
                MouseArea {
                    anchors.fill: parent
                    onClicked: popover.controller.pickColor(choice.modelData)
                }
                Accessible.role: Accessible.Button
                Accessible.name: choice.modelData
            }
        }
    }
}
