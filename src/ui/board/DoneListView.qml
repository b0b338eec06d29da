import QtQuick
import QtQuick.Controls
import TavikUi

// The finished tasks, in the popover of the done button. Unticking a line reopens its task
// at once; the line's menu deletes it.
Column {
    id: done

    required property TaskListModel tasks

    signal toggleRequested(TaskItem task)
    signal deleteRequested(TaskItem task)

    // The parts take this width, not the column's: the popover sizes the column from them.
    readonly property int listWidth: 300

    width: listWidth
    spacing: 0

    Item {
        width: done.listWidth
        height: headerTitle.implicitHeight + 20

        Text {
            id: headerTitle
            x: 16
            anchors.verticalCenter: parent.verticalCenter
            text: done.tasks.title
            font.pixelSize: 14
            font.weight: Font.DemiBold
            color: Radix.primaryText
        }
        Text {
            anchors.right: parent.right
            anchors.rightMargin: 16
            anchors.verticalCenter: parent.verticalCenter
            text: done.tasks.count
            font.pixelSize: 14
            color: Radix.secondaryText
        }
    }

    Rectangle {
        width: done.listWidth
        height: 1
        color: Radix.sandA4
    }

    Text {
        visible: done.tasks.count === 0
        width: done.listWidth
        topPadding: 30
        bottomPadding: 30
        horizontalAlignment: Text.AlignHCenter
        text: "还没有已完成的任务"
        font.pixelSize: 14
        color: Radix.secondaryText
    }

    ListView {
        id: list

        visible: done.tasks.count > 0
        width: done.listWidth
        height: Math.min(contentHeight, 340)
        interactive: false
        clip: true
        model: done.tasks

        delegate: Item {
            id: line

            required property TaskItem task
            required property string title

            width: ListView.view.width
            height: Math.max(lineCheckbox.height, lineTitle.implicitHeight) + 14

            MouseArea {
                anchors.fill: parent
                acceptedButtons: Qt.RightButton
                // Made on the press: a menu per line would be built with every line.
                onPressed: mouse => lineMenu.createObject(line).popup(line, mouse.x, mouse.y)
            }

            TaskCheckbox {
                id: lineCheckbox
                x: 16
                anchors.verticalCenter: parent.verticalCenter
                completed: true
                ToolTip.visible: hovered
                ToolTip.delay: 600
                ToolTip.text: "标记为未完成"
                onClicked: done.toggleRequested(line.task)
            }
            Text {
                id: lineTitle
                anchors.left: lineCheckbox.right
                anchors.leftMargin: 10
                anchors.right: parent.right
                anchors.rightMargin: 16
                anchors.verticalCenter: parent.verticalCenter
                text: line.title
                font.pixelSize: 14
                font.strikeout: true
                color: Radix.secondaryText
                elide: Text.ElideRight
            }

            Component {
                id: lineMenu

                SymbolMenu {
                    onClosed: destroy()

                    SymbolMenuItem {
                        text: "删除"
                        symbol: "trash"
                        destructive: true
                        onTriggered: done.deleteRequested(line.task)
                    }
                }
            }
        }

        WheelScroller {
            flickable: list
        }
    }
}
