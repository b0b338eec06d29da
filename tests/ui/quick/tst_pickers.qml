import QtQuick
import QtTest
import TavikUi
import TavikTest

Item {
    id: root
    width: 600
    height: 520

    Component {
        id: popoverComponent
        SchedulePopover {
            clock: SystemClock
            x: 10
            y: 10
        }
    }
    Component {
        id: gridComponent
        CalendarGridPicker {
            clock: SystemClock
            x: 300
            y: 10
        }
    }
    Component {
        id: spyComponent
        SignalSpy {}
    }

    TestCase {
        id: test
        name: "SchedulePickers"
        when: windowShown

        function spy(target, signalName) {
            return createTemporaryObject(spyComponent, test, { target: target, signalName: signalName })
        }

        function part(parent, name) {
            const found = findChild(parent, name)
            verify(found, "no " + name)
            return found
        }

        function startOfToday() {
            const d = new Date()
            d.setHours(0, 0, 0, 0)
            return d
        }

        function isNone(date) {
            return isNaN(date.getTime())
        }

        function test_controlsReportAndShow() {
            const popover = createTemporaryObject(popoverComponent, root)
            const reports = spy(popover, "scheduleChanged")
            waitForRendering(popover)

            mouseClick(part(popover, "todayChip"))
            compare(reports.count, 1)
            verify(part(popover, "todayChip").selected)
            verify(part(popover, "clearButton").visible)

            mouseClick(part(popover, "reminderSwitch"))
            compare(reports.count, 2)
            verify(part(popover, "reminderSwitch").checked)
            verify(part(popover, "timeRow").visible)
            verify(part(popover, "notificationHint").visible)

            popover.draft.chooseToday()
            popover.draft.chooseTime(startOfToday())
            verify(part(popover, "passedWarning").visible)

            mouseClick(part(popover, "clearButton"))
            const last = reports.signalArguments[reports.count - 1]
            verify(isNone(last[0]))
            verify(isNone(last[1]))
            verify(!part(popover, "clearButton").visible)
            verify(!part(popover, "reminderSwitch").checked)
            verify(!part(popover, "passedWarning").visible)
        }

        function test_gridPicksOnlyFromMinDay() {
            const picker = createTemporaryObject(gridComponent, root, {
                                                     monthStart: new Date(2024, 5, 1),
                                                     minDay: new Date(2024, 5, 12)
                                                 })
            picker.grid.firstDayOfWeek = Qt.Sunday
            const picks = spy(picker, "picked")
            waitForRendering(picker)

            const before = part(picker, "cell_2024-06-11")
            verify(!before.enabled)
            mouseClick(before)
            compare(picks.count, 0)
            verify(part(picker, "cell_2024-07-06").enabled)
            mouseClick(part(picker, "cell_2024-06-20"))
            compare(picks.signalArguments[0][0].getTime(), new Date(2024, 5, 20).getTime())
        }
    }
}
