import QtQuick
import QtQuick.Templates as T
import TavikUi

// A popover attached to the bounds of its parent control: centred above it, kept inside the
// window, on a raised rounded surface. It closes on Escape and on any press outside it; that
// press does nothing else, so a row behind the popover's rim is never opened by it.
T.Popup {
    id: popover

    // Above the control unless there is no room; then below it. Worked out as it opens, when
    // the control has its final place in the window, and again as its content settles.
    property bool above: true
    readonly property real gap: 6

    function place() {
        if (!parent)
            return
        const top = parent.mapToItem(null, 0, 0).y
        above = top - gap - implicitHeight >= margins
    }

    x: parent ? Math.round((parent.width - width) / 2) : 0
    y: above ? -height - gap : (parent ? parent.height + gap : 0)
    onAboutToShow: place()
    onImplicitHeightChanged: {
        if (visible)
            place()
    }
    margins: 8
    padding: 0
    modal: true
    dim: false
    focus: true
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding

    enter: Transition {
        NumberAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: 120
            easing.type: Easing.OutQuad
        }
    }
    exit: Transition {
        NumberAnimation {
            property: "opacity"
            from: 1
            to: 0
            duration: 120
            easing.type: Easing.OutQuad
        }
    }

    background: Item {
        // A few widening, fading rings stand in for a blurred shadow.
        Repeater {
            model: 4
            delegate: Rectangle {
                id: ring
                required property int index
                x: -ring.index
                y: 3 - ring.index
                width: parent.width + 2 * ring.index
                height: parent.height + 2 * ring.index
                radius: 12 + ring.index
                color: "transparent"
                border.width: 1
                border.color: Qt.rgba(0, 0, 0, (Radix.dark ? 0.16 : 0.05) * (4 - ring.index) / 4)
            }
        }
        Rectangle {
            anchors.fill: parent
            radius: 12
            color: Radix.dark ? "#232321" : Radix.sand1
            border.width: 1
            border.color: Radix.sandA4
        }
    }
}
