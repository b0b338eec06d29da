import QtQuick
import TavikUi

// Hosts TaskDrawer over the board: the card centred, no taller than the window less 80, over
// a light scrim. Escape, the close button and a press outside the card all ask to close; the
// owner then sets `task` back to null, which takes the card away and stores its note.
Item {
    id: overlay

    // The task shown, or null for none.
    property TaskItem task: null
    required property BoardController board
    readonly property alias drawer: loader.item

    signal closeRequested

    visible: task !== null

    // Keys the card leaves (an arrow at the note's edge) must not reach the board below.
    Keys.onPressed: event => event.accepted = true

    Rectangle {
        anchors.fill: parent
        color: "black"
        opacity: overlay.task !== null ? (Radix.dark ? 0.3 : 0.12) : 0
        Behavior on opacity {
            NumberAnimation {
                duration: 120
                easing.type: Easing.OutQuad
            }
        }
    }

    MouseArea {
        anchors.fill: parent
        enabled: overlay.task !== null
        acceptedButtons: Qt.AllButtons
        onPressed: overlay.closeRequested()
        onWheel: wheel => wheel.accepted = true
    }

    Loader {
        id: loader

        anchors.centerIn: parent
        active: overlay.task !== null
        focus: true

        sourceComponent: TaskDrawer {
            task: overlay.task
            board: overlay.board
            maxHeight: overlay.height - 80
            focus: true
            onCloseRequested: overlay.closeRequested()
        }

        onLoaded: item.forceActiveFocus()
    }
}
