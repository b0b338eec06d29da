import QtQuick
import TavikUi

// One small panel that edits a day and a reminder together, for the quick-entry bar, the
// suggestion card and the drawer. It is seeded once from `dueDate` and `reminderAt` (invalid
// Dates for none) and reports every change at once through scheduleChanged, with a day that
// always agrees with the reminder. Opening and closing report nothing.
Item {
    id: panel

    // The board's clock: "today", "tomorrow" and the default time follow it.
    required property Clock clock
    property date dueDate
    property date reminderAt
    readonly property alias draft: draft

    signal scheduleChanged(date day, date reminderAt)

    implicitWidth: 268
    implicitHeight: layout.implicitHeight

    SchedulePopoverController {
        id: draft
        clock: panel.clock
        onScheduleChanged: (day, reminderAt) => panel.scheduleChanged(day, reminderAt)
    }

    Component.onCompleted: draft.seed(panel.dueDate, panel.reminderAt)

    component Divider: Rectangle {
        width: parent ? parent.width - 28 : 0
        height: 1
        color: Radix.sandA4
    }

    Column {
        id: layout

        width: panel.width
        padding: 14
        spacing: 12

        Text {
            text: "安排在"
            font.pixelSize: 14
            color: Radix.secondaryText
        }

        Row {
            spacing: 6

            DialogChip {
                objectName: "todayChip"
                text: "今天"
                horizontalPadding: 12
                verticalPadding: 6
                selected: draft.todayActive
                onClicked: draft.chooseToday()
            }
            DialogChip {
                objectName: "tomorrowChip"
                text: "明天"
                horizontalPadding: 12
                verticalPadding: 6
                selected: draft.tomorrowActive
                onClicked: draft.chooseTomorrow()
            }
        }

        Item {
            width: layout.width - 28
            implicitHeight: dateField.implicitHeight

            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: "其他日期"
                font.pixelSize: 14
                color: Radix.primaryText
            }
            CompactDateField {
                id: dateField
                objectName: "dateField"
                anchors.right: parent.right
                clock: panel.clock
                value: draft.dateFieldValue
                // The lower limit is today as the panel is drawn.
                minDay: draft.today
                onPicked: day => draft.chooseDate(day)
            }
        }

        Divider {}

        ReminderSwitch {
            objectName: "reminderSwitch"
            width: layout.width - 28
            text: "到点提醒我"
            checked: draft.hasTime
            onToggled: draft.setReminderEnabled(checked)
        }

        Item {
            objectName: "timeRow"
            visible: draft.hasTime
            width: layout.width - 28
            implicitHeight: timeField.implicitHeight

            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: "时间"
                font.pixelSize: 14
                color: Radix.primaryText
            }
            CompactTimeField {
                id: timeField
                anchors.right: parent.right
                value: draft.timeFieldValue
                onPicked: time => draft.chooseTime(time)
            }
        }

        Row {
            objectName: "passedWarning"
            visible: draft.hasTime && draft.reminderPassed
            spacing: 4

            SymbolIcon {
                anchors.verticalCenter: parent.verticalCenter
                name: "exclamationmark.triangle"
                size: 14
                color: Radix.red11
            }
            Text {
                text: "该时间已过 —— 不会触发提醒"
                font.pixelSize: 14
                color: Radix.red11
            }
        }

        Text {
            objectName: "notificationHint"
            visible: draft.hasTime
            width: layout.width - 28
            text: "提示：在通知设置中将 Tavik 设为「提醒」，提醒会一直停留在屏幕上，直到你手动关闭。"
            font.pixelSize: 11
            color: Radix.secondaryText
            wrapMode: Text.Wrap
        }

        Text {
            visible: draft.hasTime && NotificationSettingsLink.available
            text: "打开通知设置"
            font.pixelSize: 14
            color: Radix.accent
            Accessible.role: Accessible.Link
            Accessible.name: text

            TapHandler {
                onTapped: NotificationSettingsLink.open()
            }
            HoverHandler {
                cursorShape: Qt.PointingHandCursor
            }
        }

        Divider {
            visible: draft.showClear
        }

        DialogChip {
            id: clearButton
            objectName: "clearButton"
            visible: draft.showClear
            text: "清除"
            horizontalPadding: 0
            verticalPadding: 0
            onClicked: draft.clear()

            contentItem: Row {
                spacing: 4

                SymbolIcon {
                    anchors.verticalCenter: parent.verticalCenter
                    name: "xmark.circle"
                    size: 14
                    color: Radix.secondaryText
                }
                Text {
                    text: "清除"
                    font.pixelSize: 14
                    color: Radix.secondaryText
                }
            }
            background: Item {}
        }
    }
}
