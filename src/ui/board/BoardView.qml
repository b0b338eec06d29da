import QtQuick
import QtQuick.Controls
import TavikUi

// The content of the board window: three columns side by side, the toolbar cluster in the
// top right corner, the task dialog in the bottom right corner. All rules live in the
// BoardController; this view draws its state and forwards pointer and key input to it.
FocusScope {
    id: boardView

    required property BoardController controller
    // The shell sets this when the window is translucent and the compositor blurs behind it.
    property bool translucent: false
    // The task whose detail card is open over the board, or null.
    property TaskItem drawerTask: null

    readonly property alias columnsRow: columnsRow
    readonly property alias doneButton: doneButton
    readonly property alias donePopup: donePopup

    // The columns' models, left to right as the keyboard moves.
    readonly property var columns: controller.columnModels

    Component.onCompleted: {
        if (Window.window && Window.window.visible)
            controller.boardAppeared()
    }

    Connections {
        target: boardView.Window.window
        function onVisibleChanged() {
            if (boardView.Window.window.visible) {
                boardView.controller.boardAppeared()
            } else {
                // The card stores its note as it goes; a hidden board must not hold it back.
                boardView.drawerTask = null
                boardView.controller.boardDisappeared()
            }
        }
        // Switching to another application ends a drag without a drop.
        function onActiveChanged() {
            if (!boardView.Window.window.active)
                boardView.controller.drag.cancel()
        }
    }

    readonly property BoardDragState dragState: controller.dragState
    readonly property bool dragging: dragState.draggingId !== ""

    // Whether a press at `point` (board coordinates) lands on the columns themselves, not on
    // what is drawn over them: the task dialog, the toolbar, the drawer, a popup. Pointer
    // handlers see presses that those accepted too.
    function pressReachesColumns(point) {
        if (boardView.childAt(point.x, point.y) !== columnsRow)
            return false
        // A column's header and the band above it are not the rows'.
        for (let i = 0; i < columnRepeater.count; ++i) {
            const column = columnRepeater.itemAt(i).columnView
            const at = boardView.mapToItem(column, point.x, point.y)
            if (at.x >= 0 && at.x < column.width && at.y >= 0 && at.y < column.rowsTop)
                return false
        }
        const overlay = boardView.Overlay.overlay
        if (!overlay)
            return true
        const at = boardView.mapToItem(overlay, point.x, point.y)
        return overlay.childAt(at.x, at.y) === null
    }

    // Where rows, columns and tabs stand now, for the drag to find its target.
    function reportDragFrames() {
        const drag = controller.drag
        drag.clearRowFrames()
        for (let i = 0; i < columnRepeater.count; ++i) {
            const column = columnRepeater.itemAt(i).columnView
            column.reportFrames(drag, boardView)
            if (column.headerAccessoryItem && column.headerAccessoryItem.reportFrames)
                column.headerAccessoryItem.reportFrames(drag, boardView)
        }
    }

    ToolTipStyle {}

    // The window's backdrop: opaque where nothing blurs behind it, the scrim over both.
    Rectangle {
        anchors.fill: parent
        color: boardView.translucent ? "transparent" : Radix.appBackground
    }
    Rectangle {
        anchors.fill: parent
        color: Radix.windowScrim
        opacity: 0.618
    }

    // The columns row holds the keyboard focus of the board and draws no ring.
    Item {
        id: columnsRow

        anchors.fill: parent
        focus: true
        activeFocusOnTab: true

        Keys.onPressed: event => {
            event.accepted = boardView.controller.handleBoardKey(event.key, event.modifiers)
        }

        Binding {
            target: boardView.controller
            property: "boardFocused"
            value: columnsRow.activeFocus
        }

        // A click that reaches the row is a click on empty board area.
        MouseArea {
            anchors.fill: parent
            onPressed: columnsRow.forceActiveFocus(Qt.MouseFocusReason)
            onClicked: boardView.controller.requestBlurInput()
        }

        // The board's one drag: past 8 it takes the pointer from the rows, so a shorter
        // press-and-move stays a click.
        DragHandler {
            id: boardDrag

            property bool canceledByGrab: false
            // The press landed on something drawn over the columns: this gesture moves nothing.
            property bool overlaid: false

            target: null
            dragThreshold: 8
            acceptedButtons: Qt.LeftButton
            onCanceled: canceledByGrab = true
            onActiveChanged: {
                if (active) {
                    canceledByGrab = false
                    overlaid = !boardView.pressReachesColumns(centroid.pressPosition)
                    if (overlaid)
                        return
                    columnsRow.forceActiveFocus(Qt.MouseFocusReason)
                    follow()
                } else if (overlaid) {
                    overlaid = false
                } else if (canceledByGrab) {
                    boardView.controller.drag.cancel()
                } else {
                    boardView.controller.drag.dragEnded()
                }
            }
            onCentroidChanged: {
                if (active && !overlaid)
                    follow()
            }

            function follow() {
                boardView.reportDragFrames()
                boardView.controller.drag.dragChanged(centroid.pressPosition, centroid.position)
            }
        }

        // The first movement of the mouse turns the keyboard highlight off.
        // Qt Quick re-sends a hover at the same place on every frame while the pointer rests
        // over the window; only a real move counts.
        HoverHandler {
            property point lastPosition: Qt.point(-1, -1)

            onPointChanged: {
                // A point reset on leaving reads (0, 0); rows shifting under a resting pointer
                // move nothing in the scene.
                if (!hovered)
                    return
                const position = point.scenePosition
                if (position.x === lastPosition.x && position.y === lastPosition.y)
                    return
                lastPosition = position
                if (boardView.controller.keyboardActive)
                    boardView.controller.pointerMoved()
            }
        }

        Row {
            anchors.fill: parent

            Repeater {
                id: columnRepeater

                model: boardView.columns

                Item {
                    id: slot

                    required property TaskListModel modelData
                    required property int index
                    readonly property alias columnView: columnView

                    // Equal shares of what the two hairlines leave.
                    width: (columnsRow.width - 0.5 * (boardView.columns.length - 1))
                           / boardView.columns.length + (index > 0 ? 0.5 : 0)
                    height: columnsRow.height

                    // Before every column but the first: a hairline whose ends fade out.
                    Rectangle {
                        visible: slot.index > 0
                        width: 0.5
                        y: 44
                        height: parent.height - 44
                        gradient: Gradient {
                            GradientStop {
                                position: 0
                                color: "transparent"
                            }
                            GradientStop {
                                position: 48 / Math.max(96, slot.height - 44)
                                color: Radix.sandA6
                            }
                            GradientStop {
                                position: 1 - 48 / Math.max(96, slot.height - 44)
                                color: Radix.sandA6
                            }
                            GradientStop {
                                position: 1
                                color: "transparent"
                            }
                        }
                    }

                    ColumnView {
                        id: columnView

                        objectName: "column_" + slot.modelData.bucket
                        x: slot.index > 0 ? 0.5 : 0
                        width: parent.width - x
                        height: parent.height
                        bucket: slot.modelData.bucket
                        title: slot.modelData.title
                        tasks: slot.modelData
                        categories: boardView.controller.categoriesModel
                        editingTaskId: boardView.controller.editingTaskId
                        focusedTaskId: boardView.controller.highlightedTaskId
                        compact: boardView.controller.compactRows
                        dragActive: boardView.dragging
                        now: boardView.controller.displayNow
                        scrollResetKey: slot.modelData.bucket === "later"
                                        ? boardView.controller.laterScrollResetKey : ""
                        headerAccessory: slot.modelData.bucket === "later" ? categoryStrip : null

                        onToggleRequested: task => boardView.controller.toggle(task)
                        onDeleteRequested: task => boardView.controller.deleteTask(task)
                        onAssignRequested: (task, categoryId) => boardView.controller
                                           .assignTaskCategory(task, categoryId)
                        onEditRequested: task => boardView.controller.beginEditing(task)
                        onDetailsRequested: task => boardView.drawerTask = task
                    }
                }
            }
        }
    }

    Component {
        id: categoryStrip

        CompactCategoryStrip {
            categories: boardView.controller.categoriesModel
            selectedCategoryId: boardView.controller.selectedCategoryId
            dragState: boardView.dragState
            onSelectRequested: categoryId => boardView.controller.selectCategory(categoryId)
            onCreateRequested: (name, colorHex) => boardView.controller.createCategory(name,
                                                                                     colorHex)
            onDeleteRequested: categoryId => boardView.controller.deleteCategory(categoryId)
        }
    }

    CreateTaskPanel {
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.rightMargin: 18
        anchors.bottomMargin: 16
        clock: boardView.controller.clock
        categories: boardView.controller.categoriesModel
        defaultListId: boardView.controller.selectedCategoryId
        editingTask: boardView.controller.editingTask
        board: boardView.controller
        onCreateRequested: draft => boardView.controller.createEnhanced(draft)
        onSaveRequested: (task, draft) => boardView.controller.saveEdit(task, draft)
        onDeleteRequested: task => boardView.controller.deleteTask(task)
        onEndEditingRequested: boardView.controller.endEditing()
    }

    // The toolbar cluster, in the 44-point band at the top.
    Row {
        id: toolbar

        anchors.top: parent.top
        anchors.right: parent.right
        anchors.topMargin: 6
        anchors.rightMargin: 6
        spacing: 8

        AbstractButton {
            id: updatePill

            anchors.verticalCenter: parent.verticalCenter
            implicitHeight: 24
            leftPadding: 12
            rightPadding: 12
            hoverEnabled: true
            focusPolicy: Qt.NoFocus
            // Comes and goes scaling from 0.9 and fading, on the pill's spring.
            visible: opacity > 0
            opacity: boardView.controller.updateAvailable ? 1 : 0
            scale: boardView.controller.updateAvailable ? 1 : 0.9
            ToolTip.visible: hovered
            ToolTip.delay: 600
            ToolTip.text: "下载并安装新版本"
            onClicked: boardView.controller.checkForUpdates()

            Behavior on opacity {
                SpringMotion {
                    response: 0.25
                    dampingFraction: 1.0
                    epsilon: 0.005
                }
            }
            Behavior on scale {
                SpringMotion {
                    response: 0.25
                    dampingFraction: 1.0
                    epsilon: 0.005
                }
            }

            background: Rectangle {
                radius: height / 2
                color: Radix.accent
            }
            contentItem: Text {
                text: "更新"
                font.pixelSize: 12
                font.weight: Font.DemiBold
                color: "white"
                verticalAlignment: Text.AlignVCenter
            }
        }

        ViewModeButton {
            anchors.verticalCenter: parent.verticalCenter
            compact: boardView.controller.compactRows
            onClicked: boardView.controller.toggleViewMode()
        }

        AbstractButton {
            id: doneButton

            anchors.verticalCenter: parent.verticalCenter
            implicitWidth: 32
            implicitHeight: 32
            hoverEnabled: true
            focusPolicy: Qt.NoFocus
            ToolTip.visible: hovered && !boardView.controller.showDone
            ToolTip.delay: 600
            ToolTip.text: "已完成的任务"
            onClicked: boardView.controller.showDone = !boardView.controller.showDone

            background: Rectangle {
                radius: 12
                color: boardView.controller.showDone ? Radix.accent
                                                 : doneButton.hovered ? Radix.sandA3 : "transparent"

                Behavior on color {
                    ColorAnimation {
                        duration: 120
                        easing.type: Easing.OutQuad
                    }
                }
            }
            contentItem: Item {
                SymbolIcon {
                    anchors.centerIn: parent
                    name: "checklist"
                    size: 13
                    semibold: true
                    color: boardView.controller.showDone ? "white" : Radix.secondaryText
                }
            }

            // The done list hangs below the button, its arrow on the button's lower edge.
            Popup {
                id: donePopup

                readonly property int arrowHeight: 8
                // The list is made when the popover first opens, not for the board's first frame.
                property bool listMade: false

                y: doneButton.height + arrowHeight
                // From the list's fixed width, not the popup's: that one is still 0 when a
                // popup open from launch places itself.
                x: doneButton.width - (doneLoader.item ? doneLoader.item.listWidth : 0)
                padding: 0
                // Takes the keyboard while open, so that Escape closes it.
                focus: true
                visible: boardView.controller.showDone
                closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutsideParent
                onClosed: boardView.controller.showDone = false
                onAboutToShow: listMade = true

                contentItem: Loader {
                    id: doneLoader

                    active: donePopup.listMade
                    sourceComponent: DoneListView {
                        tasks: boardView.controller.doneModel
                        onToggleRequested: task => boardView.controller.toggle(task)
                        onDeleteRequested: task => boardView.controller.deleteTask(task)
                    }
                }
                background: Item {
                    // A few widening, fading rings stand in for the popover's shadow.
                    Repeater {
                        model: 3

                        Rectangle {
                            required property int index

                            anchors.fill: parent
                            anchors.margins: -(index + 1)
                            anchors.topMargin: -index
                            anchors.bottomMargin: -(index + 2)
                            radius: 10 + index + 1
                            color: "transparent"
                            border.width: 1
                            border.color: Qt.rgba(0, 0, 0, Radix.dark ? 0.3 : 0.06 - index * 0.015)
                        }
                    }
                    Rectangle {
                        anchors.fill: parent
                        radius: 10
                        color: Radix.controlBackground
                        border.width: 0.5
                        border.color: Radix.sandA6
                    }
                    // The arrow: a square turned on its corner, half of it above the card.
                    Rectangle {
                        width: donePopup.arrowHeight * Math.SQRT2
                        height: width
                        rotation: 45
                        x: donePopup.width - doneButton.width / 2 - width / 2
                        y: -height / 2
                        color: Radix.controlBackground
                        border.width: 0.5
                        border.color: Radix.sandA6
                    }
                    Rectangle {
                        x: donePopup.width - doneButton.width / 2 - donePopup.arrowHeight * 1.5
                        y: 0.5
                        width: donePopup.arrowHeight * 3
                        height: donePopup.arrowHeight
                        color: Radix.controlBackground
                    }
                }
            }
        }
    }

    // The floating copy of the dragged task, over everything; gone once the drop is being
    // committed, as the placeholder then shows the row.
    Item {
        id: dragOverlay

        anchors.fill: parent
        z: 10
        visible: boardView.dragging && !boardView.dragState.committing

        TaskDragPreview {
            objectName: "dragPreview"
            visible: boardView.dragState.targetKind !== "assignCategory"
            task: boardView.dragState.draggingTask
            compact: boardView.controller.compactRows
            x: boardView.dragState.grabbedOrigin.x + boardView.dragState.translation.width
            y: boardView.dragState.grabbedOrigin.y + boardView.dragState.translation.height
            width: boardView.dragState.grabbedSize.width
            height: boardView.dragState.grabbedSize.height
        }

        // Over a list's tab the copy becomes a tag beside the pointer.
        Item {
            objectName: "dragTagBadge"
            visible: boardView.dragState.targetKind === "assignCategory"
            width: 30
            height: 30
            x: boardView.dragState.dragLocation.x + 18 - width / 2
            y: boardView.dragState.dragLocation.y + 18 - height / 2

            Repeater {
                model: 3

                Rectangle {
                    required property int index

                    anchors.fill: parent
                    anchors.margins: -(index + 1) * 2
                    anchors.topMargin: -(index + 1) * 2 + 3
                    anchors.bottomMargin: -(index + 1) * 2 - 3
                    radius: 8 + (index + 1) * 2
                    color: Qt.rgba(0, 0, 0, 0.22 / (index + 2) / 2)
                }
            }
            Rectangle {
                anchors.fill: parent
                radius: 8
                color: Radix.accent
            }
            SymbolIcon {
                anchors.centerIn: parent
                name: "tag.fill"
                size: 13
                semibold: true
                color: "white"
            }
        }
    }

    // The detail card, over everything else on the board.
    TaskDrawerOverlay {
        anchors.fill: parent
        task: boardView.drawerTask
        board: boardView.controller
        onCloseRequested: {
            boardView.drawerTask = null
            boardView.forceActiveFocus()
        }
    }
}
