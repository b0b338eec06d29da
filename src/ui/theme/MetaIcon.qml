import QtQuick
import QtQuick.Controls
import TavikUi

// A small icon of a compact row that shows its detail in a popover after the pointer has
// rested on it for 0.35 s. Leaving drops the popover at once.
Item {
    id: metaIcon

    property Component label
    property Component detail
    property bool showPop: false
    readonly property int hoverDelay: 350

    implicitWidth: 16
    implicitHeight: 16

    Loader {
        anchors.centerIn: parent
        sourceComponent: metaIcon.label
    }

    HoverHandler {
        id: hover
        onHoveredChanged: {
            // Every crossing of the edge cancels a pending wait first.
            wait.stop()
            if (hovered)
                wait.start()
            else
                metaIcon.showPop = false
        }
    }

    Timer {
        id: wait
        interval: metaIcon.hoverDelay
        onTriggered: metaIcon.showPop = true
    }

    // A row of a long board has four of these: each builds its popover on its first hover.
    onShowPopChanged: {
        if (showPop)
            popLoader.active = true
    }

    Loader {
        id: popLoader
        active: false
        sourceComponent: popover
    }

    Component {
        id: popover

        Popup {
            parent: metaIcon
            visible: metaIcon.showPop
            closePolicy: Popup.NoAutoClose
            // Icons sit at the right edge of a row: the popover shifts to stay inside the window.
            margins: 8
            x: (metaIcon.width - width) / 2
            y: metaIcon.height + 6
            leftPadding: 12
            rightPadding: 12
            topPadding: 8
            bottomPadding: 8

            // The detail keeps the size it gives itself; a Loader as the content item would be
            // squeezed to whatever width the popup had before the detail arrived.
            contentItem: Item {
                implicitWidth: detailLoader.item ? detailLoader.item.width : 0
                implicitHeight: detailLoader.item ? detailLoader.item.height : 0

                Loader {
                    id: detailLoader
                    sourceComponent: metaIcon.detail
                }
            }
            background: Rectangle {
                radius: 8
                color: Radix.controlBackground
                border.width: 0.5
                border.color: Radix.sandA6
            }
        }
    }
}
