import QtQuick
import QtQuick.Templates as T
import TavikUi

// A date field: the day as "2026/6/20" on a small rounded field that opens a month grid.
// Days before `minDay` cannot be chosen. It reports the start of the chosen day.
T.AbstractButton {
    id: field

    required property Clock clock
    property date value
    property date minDay
    signal picked(date day)

    horizontalPadding: 10
    verticalPadding: 4
    focusPolicy: Qt.NoFocus
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    Accessible.name: "其他日期"
    onClicked: grid.open()

    contentItem: Text {
        text: field.value.toLocaleDateString(Qt.locale("zh_CN"), "yyyy/M/d")
        font.pixelSize: 14
        color: Radix.primaryText
    }
    background: Rectangle {
        radius: 6
        color: Qt.rgba(Radix.primaryText.r, Radix.primaryText.g, Radix.primaryText.b,
                       grid.visible ? 0.08 : 0.05)
    }

    DialogPopover {
        id: grid

        contentItem: CalendarGridPicker {
            clock: field.clock
            selected: field.value
            minDay: field.minDay
            monthStart: field.value
            onPicked: day => {
                grid.close()
                field.picked(day)
            }
        }
    }
}
