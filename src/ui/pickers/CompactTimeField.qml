import QtQuick
import TavikUi

// An hour-and-minute field: "HH:mm" that can be typed over, or stepped a minute at a time
// with the arrow keys and the wheel. Every minute of the day can be chosen. It reports a
// moment on the day of `value` through picked().
Rectangle {
    id: field

    property date value
    signal picked(date time)

    implicitWidth: input.implicitWidth + 20
    implicitHeight: input.implicitHeight + 8
    radius: 6
    color: Qt.rgba(Radix.primaryText.r, Radix.primaryText.g, Radix.primaryText.b,
                   input.activeFocus ? 0.08 : 0.05)

    function text(moment) {
        return ScheduleFormat.time(moment)
    }

    function pickMinutes(minutes) {
        const wrapped = ((minutes % 1440) + 1440) % 1440
        const moment = new Date(field.value.getTime())
        moment.setHours(Math.floor(wrapped / 60), wrapped % 60, 0, 0)
        field.picked(moment)
    }

    function currentMinutes() {
        return field.value.getHours() * 60 + field.value.getMinutes()
    }

    TextInput {
        id: input

        anchors.centerIn: parent
        text: field.text(field.value)
        font.pixelSize: 14
        color: Radix.primaryText
        selectByMouse: true
        // No validator: it would refuse the half-typed "2_:__" that typing over a selection
        // passes through. A complete time is checked below.
        inputMask: "99:99"
        Accessible.name: "时间"

        // Only what the user types is picked, at once. Losing the focus picks nothing, so a
        // field hidden by 清除 cannot bring back the time it showed.
        onTextEdited: {
            const match = /^([01]\d|2[0-3]):([0-5]\d)$/.exec(text)
            if (!match)
                return
            const minutes = Number(match[1]) * 60 + Number(match[2])
            if (minutes !== field.currentMinutes())
                field.pickMinutes(minutes)
        }
        // A time left half typed goes back to the last one picked.
        onActiveFocusChanged: {
            if (!activeFocus)
                text = Qt.binding(() => field.text(field.value))
        }
        Keys.onUpPressed: field.pickMinutes(field.currentMinutes() + 1)
        Keys.onDownPressed: field.pickMinutes(field.currentMinutes() - 1)
    }

    WheelHandler {
        onWheel: event => field.pickMinutes(field.currentMinutes() + (event.angleDelta.y > 0 ? 1 : -1))
    }
}
