import QtQuick
import TavikUi

// The quick-entry window: borderless, above other windows, holding the bar with its AI
// accessory above it. The window is larger than what it shows, so that the card can grow
// upwards and the popovers fit; the rest is transparent, and a press there, like a press
// in another application, closes it with nothing created.
Window {
    id: window

    required property QuickEntryController entry
    // Where the bar's top edge sits in the window; the host places the window by it.
    readonly property int barTop: 340

    signal leaveRequested

    width: 620
    height: 720
    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
    color: "transparent"
    title: "Tavik 快速添加"

    onActiveChanged: {
        if (!active && visible)
            window.leaveRequested()
    }

    MouseArea {
        id: backdrop
        objectName: "backdrop"
        anchors.fill: parent
        // Presses on the bar's and the card's own surfaces fall through to here too.
        onPressed: mouse => {
            if (!bar.covers(backdrop, mouse.x, mouse.y))
                window.leaveRequested()
        }
    }

    CreateTaskBar {
        id: bar
        objectName: "createTaskBar"
        entry: window.entry
        width: 405
        x: Math.round((window.width - width) / 2)
        // The bar stays put; the accessory grows upwards from it.
        y: window.barTop - surfaceTop
    }
}
