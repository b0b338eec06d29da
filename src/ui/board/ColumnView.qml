import QtQuick
import TavikUi

// One column of the board: a header that stays in place, the rows scrolling under it, and
// the empty state. What the user asks of a row leaves as a signal; the board performs it.
Item {
    id: column

    required property string bucket
    required property string title
    required property TaskListModel tasks
    // The lists offered by the rows' menus (CategoryListModel).
    property var categories: null
    property string editingTaskId: ""
    // The row with the keyboard highlight; "" while the highlight is off.
    property string focusedTaskId: ""
    property bool compact: false
    // When it changes, the list scrolls back to its top.
    property string scrollResetKey: ""
    // Drawn at the right end of the header, 20 high.
    property Component headerAccessory: null
    property date now: new Date()
    // Some drag is under way on the board.
    property bool dragActive: false

    readonly property int headerTopInset: 44
    readonly property real chromeBottom: chrome.height
    // Scrolled rows are cut here, a little below the header so that no half line of text
    // touches it; at rest the first row starts below this line.
    readonly property real rowsTop: chromeBottom + 8
    readonly property alias listView: list
    readonly property alias headerAccessoryItem: accessory.item

    signal toggleRequested(TaskItem task)
    signal deleteRequested(TaskItem task)
    signal assignRequested(TaskItem task, string categoryId)
    signal editRequested(TaskItem task)
    signal detailsRequested(TaskItem task)

    // The first row 12 below the chrome, as at rest.
    function scrollToTop() {
        list.contentY = list.originY - list.topMargin
    }

    // Tells the board's drag where the list and its laid-out rows stand, in `space`'s
    // coordinates. The placeholder and rows on their way out report nothing.
    function reportFrames(drag, space) {
        drag.setColumnFrame(bucket, list.mapToItem(space, 0, 0, list.width, list.height))
        const rows = list.contentItem.children
        for (let i = 0; i < rows.length; ++i) {
            const row = rows[i]
            if (row.taskId === undefined || row.isGhost || row.index < 0 || !row.visible)
                continue
            drag.addRowFrame(row.taskId, bucket, row.mapToItem(space, 0, 0, row.width, row.height))
        }
    }

    // After the rows of the new selection have arrived, not before.
    onScrollResetKeyChanged: Qt.callLater(scrollToTop)
    onFocusedTaskIdChanged: {
        const row = tasks.indexOfId(focusedTaskId)
        if (row >= 0)
            reveal(row)
    }

    // Brings a row into the part of the list that nothing covers: below the chrome and above
    // the band the round button of the task dialog takes at the bottom.
    function reveal(row) {
        list.positionViewAtIndex(row, ListView.Contain)
        const item = list.itemAtIndex(row)
        if (!item)
            return
        const top = item.y - list.contentY
        const bottom = top + item.height
        const minTop = column.rowsTop + 4
        const maxBottom = list.height - list.bottomMargin
        let contentY = list.contentY
        if (bottom > maxBottom)
            contentY += bottom - maxBottom
        else if (top < minTop)
            contentY -= minTop - top
        const least = list.originY - list.topMargin
        const most = Math.max(least, list.originY + list.contentHeight + list.bottomMargin
                              - list.height)
        list.contentY = Math.min(most, Math.max(least, contentY))
    }

    // Nothing scrolled up shows through the header or the band above it.
    Item {
        id: listClip

        y: column.rowsTop
        width: parent.width
        height: parent.height - y
        clip: true

        ListView {
            id: list

            y: -listClip.y
            width: parent.width
            height: column.height
            topMargin: column.chromeBottom + 12
            bottomMargin: 82
            interactive: false
            boundsBehavior: Flickable.StopAtBounds
            model: column.tasks

            delegate: TaskRow {
                width: ListView.view.width
                transformOrigin: Item.TopLeft
                isEditing: !isGhost && taskId === column.editingTaskId
                focused: !isGhost && taskId === column.focusedTaskId
                dragActive: column.dragActive || isGhost
                compact: column.compact
                categories: isGhost ? null : column.categories
                now: column.now
                onToggleRequested: column.toggleRequested(task)
                onDeleteRequested: column.deleteRequested(task)
                onAssignRequested: categoryId => column.assignRequested(task, categoryId)
                onEditRequested: column.editRequested(task)
                onDetailsRequested: column.detailsRequested(task)
            }

            // Rows come in by opacity, leave shrinking to 0.96 about their top left corner and
            // fading, and the others make room on a spring.
            add: Transition {
                SpringMotion {
                    property: "opacity"
                    from: 0
                    to: 1
                    response: 0.28
                    epsilon: 0.005
                }
            }
            remove: Transition {
                SpringMotion {
                    property: "opacity"
                    to: 0
                    response: 0.28
                    epsilon: 0.005
                }
                SpringMotion {
                    property: "scale"
                    to: 0.96
                    response: 0.28
                    epsilon: 0.005
                }
            }
            // While a drag is on, the rows make way for the placeholder on a quicker spring.
            displaced: Transition {
                SpringMotion {
                    property: "y"
                    response: column.dragActive ? 0.18 : 0.28
                    dampingFraction: column.dragActive ? 0.85 : 1.0
                    epsilon: 0.25
                }
                // A row caught by a removal half-way must still end up whole.
                NumberAnimation {
                    properties: "opacity,scale"
                    to: 1
                    duration: 0
                }
            }
            move: Transition {
                SpringMotion {
                    property: "y"
                    response: column.dragActive ? 0.18 : 0.28
                    dampingFraction: column.dragActive ? 0.85 : 1.0
                    epsilon: 0.25
                }
            }

            WheelScroller {
                flickable: list
                enabled: !column.dragActive
            }
        }
    }

    Column {
        anchors.centerIn: parent
        width: parent.width
        spacing: 10
        visible: column.tasks.count === 0

        SymbolIcon {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "cloud.sun"
            size: 42
            color: Radix.sandA4
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "全部完成"
            font.pixelSize: 14
            color: Radix.sandA6
        }
    }

    Item {
        id: chrome

        width: parent.width
        height: column.headerTopInset + header.height

        // Presses and hovers on the header are the header's: none reach a row under it, and
        // the board's drag cannot take one over.
        MouseArea {
            width: parent.width
            height: column.rowsTop
            acceptedButtons: Qt.AllButtons
            hoverEnabled: true
            preventStealing: true
        }

        Item {
            id: header

            x: 18
            y: column.headerTopInset
            width: parent.width - 36
            height: Math.max(titleRow.height, accessory.active ? 20 : 0)

            Row {
                id: titleRow

                anchors.verticalCenter: parent.verticalCenter
                spacing: 5

                Text {
                    id: titleText
                    text: column.title
                    font.pixelSize: 14
                    font.weight: Font.DemiBold
                    color: Radix.primaryText
                }
                Text {
                    anchors.baseline: titleText.baseline
                    visible: column.tasks.taskCount > 0
                    text: column.tasks.taskCount
                    font.pixelSize: 14
                    color: Radix.sand11
                }
            }

            Loader {
                id: accessory

                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                width: item ? Math.min(item.implicitWidth, header.width - titleRow.width - 8) : 0
                height: 20
                active: column.headerAccessory !== null
                sourceComponent: column.headerAccessory
            }
            // The accessory learns the room it has, so it can shorten what it shows.
            Binding {
                target: accessory.item
                property: "availableWidth"
                value: header.width - titleRow.width - 8
                when: accessory.item !== null
            }
        }
    }
}
