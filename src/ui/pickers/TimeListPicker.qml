import QtQuick
import QtQuick.Controls
import TavikUi

// A scrolling list of the day's quarter-hours to pick a reminder time. When it appears it
// stands, without animation, with the selected time (or `initial`) in the middle. Every slot
// is offered, also the past ones. It reports the chosen slot and never closes itself.
Item {
    id: picker

    // Invalid Date for none; only hour and minute count.
    property date selected
    // The moment whose day the slots belong to and where the list opens without a selection.
    property date initial
    readonly property alias list: slots
    readonly property alias times: times

    signal picked(date slot)

    implicitWidth: 150
    implicitHeight: 248

    TimeListModel {
        id: times
        initial: picker.initial
        selected: picker.selected
    }

    function centreOnAnchor() {
        if (times.anchorIndex >= 0)
            slots.positionViewAtIndex(times.anchorIndex, ListView.Center)
    }

    ListView {
        id: slots

        anchors.fill: parent
        model: times
        spacing: 1
        topMargin: 6
        bottomMargin: 6
        leftMargin: 6
        rightMargin: 6
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {
            policy: ScrollBar.AlwaysOn
        }

        delegate: TimeSlotRow {
            required property date slot
            required property bool isSelected
            required label

            width: slots.width - slots.leftMargin - slots.rightMargin
            selected: isSelected
            onClicked: picker.picked(slot)
        }
    }

    // Each time the list appears, and when its day or selection changes while shown.
    Component.onCompleted: centreOnAnchor()
    onVisibleChanged: {
        if (visible)
            Qt.callLater(centreOnAnchor)
    }
    Connections {
        target: times
        function onAnchorIndexChanged() {
            if (picker.visible)
                Qt.callLater(picker.centreOnAnchor)
        }
    }
}
