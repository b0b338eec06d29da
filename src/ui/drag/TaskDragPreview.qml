import QtQuick
import TavikUi

// The floating copy of a dragged row: the row on a card with a soft shadow. It takes no input.
Item {
    id: preview

    required property TaskItem task
    property bool compact: false

    enabled: false

    // Rings widening and fading stand in for the shadow, 5 below the card.
    Repeater {
        model: 4

        Rectangle {
            required property int index

            anchors.fill: parent
            anchors.margins: -(index + 1) * 2
            anchors.topMargin: -(index + 1) * 2 + 5
            anchors.bottomMargin: -(index + 1) * 2 - 5
            radius: 8 + (index + 1) * 2
            color: Qt.rgba(0, 0, 0, 0.22 / (index + 2) / 2)
        }
    }
    Rectangle {
        anchors.fill: parent
        radius: 8
        color: Radix.controlBackground
        border.width: 1
        border.color: Qt.rgba(Radix.primaryText.r, Radix.primaryText.g, Radix.primaryText.b, 0.08)
    }

    TaskRow {
        anchors.fill: parent
        task: preview.task
        index: 0
        taskId: preview.task ? String(preview.task.id).replace(/[{}]/g, "") : ""
        title: preview.task ? preview.task.title : ""
        note: preview.task ? preview.task.note : ""
        completed: preview.task ? preview.task.completed : false
        categoryId: ""
        completing: false
        isGhost: false
        isDragging: false
        compact: preview.compact
        now: new Date()
    }
}
