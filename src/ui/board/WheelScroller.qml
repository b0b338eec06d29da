import QtQuick

// Wheel and touchpad scrolling for a list that does not scroll by dragging, as lists on the
// desktop do: a drag on the board moves tasks, never the list.
WheelHandler {
    id: scroller

    required property Flickable flickable
    // Pixels per notch of a wheel without pixel deltas.
    property real notchStep: 48

    target: null
    orientation: Qt.Vertical

    onWheel: event => {
        const list = scroller.flickable
        const step = event.pixelDelta.y !== 0 ? event.pixelDelta.y
                                              : event.angleDelta.y / 120 * scroller.notchStep
        const top = list.originY - list.topMargin
        const bottom = Math.max(top, list.originY + list.contentHeight + list.bottomMargin
                                - list.height)
        list.contentY = Math.min(bottom, Math.max(top, list.contentY - step))
    }
}
