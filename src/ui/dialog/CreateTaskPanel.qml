import QtQuick
import QtQuick.Controls
import QtQuick.Templates as T
import TavikUi

// The board's dialog for creating and editing a task. At rest a round "plus" button in the
// board's corner; opened, that button grows into a card with the title, the note, the day,
// the reminder and the list, and a row of buttons. The card works on a private draft
// (TaskDialogController) and writes no record: it hands the draft to the board.
//
// Submitting hands over one enhancedDraft: trimmed texts, a null list id for no list and
// invalid Dates for no day or no reminder.
Item {
    id: panel

    // The board's clock, for the draft and the month grid.
    required property Clock clock
    // CategoryListModel: the lists offered, in strip order.
    property var categories: null
    // The list proposed for a new task ("" for none).
    property string defaultListId: ""
    // The task open for editing (a TaskItem), or null for a new one. Setting another task
    // opens it at once.
    property var editingTask: null
    // Optional: an object whose blurInput() signal reports a click on empty board area.
    property var board: null

    readonly property alias dialog: dialog
    readonly property bool open: dialog.open

    signal createRequested(enhancedDraft draft)
    signal saveRequested(TaskItem task, enhancedDraft draft)
    signal deleteRequested(var task)
    signal endEditingRequested

    // For a host that forwards the click on empty board area itself.
    function handleBlurInput() {
        dialog.handleBlurInput()
    }

    implicitWidth: surface.width
    implicitHeight: surface.height
    width: implicitWidth
    height: implicitHeight

    readonly property color primaryTint: Radix.primaryText
    function tint(opacity) {
        return Qt.rgba(primaryTint.r, primaryTint.g, primaryTint.b, opacity)
    }
    function listColor(hex) {
        return hex.length > 0 ? CategoryPalette.color(hex) : Radix.sand9
    }

    TaskDialogController {
        id: dialog

        clock: panel.clock
        categories: panel.categories
        defaultListId: panel.defaultListId
        editingTask: panel.editingTask

        onCreateRequested: draft => panel.createRequested(draft)
        onSaveRequested: (task, draft) => panel.saveRequested(task, draft)
        onDeleteRequested: task => panel.deleteRequested(task)
        onEndEditingRequested: panel.endEditingRequested()
    }

    Connections {
        target: panel.board
        ignoreUnknownSignals: true

        function onBlurInput() {
            dialog.handleBlurInput()
        }
    }

    readonly property bool composing: cardLoader.item !== null && cardLoader.item.composing
    readonly property bool popoverOpen: dialog.datePickerOpen || dialog.timePickerOpen
                                        || dialog.listPickerOpen

    Shortcut {
        sequence: "Ctrl+N"
        context: Qt.WindowShortcut
        onActivated: dialog.newTaskShortcut()
    }
    Shortcut {
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        context: Qt.WindowShortcut
        enabled: dialog.open && !panel.composing
        onActivated: dialog.submit()
    }
    Shortcut {
        sequence: "Escape"
        context: Qt.WindowShortcut
        // An open popover takes Escape for itself first.
        enabled: dialog.open && !panel.composing && !panel.popoverOpen
        onActivated: dialog.closePanel()
    }

    // The button and the card are one surface that changes shape; `progress` runs from the
    // round button (0) to the card (1) on a spring.
    Item {
        id: surface

        property real progress: dialog.open ? 1 : 0
        SpringBehavior on progress {
            response: 0.28
            dampingFraction: 0.85
            epsilon: 0.002
        }

        anchors.right: parent.right
        anchors.bottom: parent.bottom
        width: 44 + (cardLoader.implicitWidth - 44) * progress
        height: 44 + (cardLoader.implicitHeight - 44) * progress

        readonly property real radius: Math.min(height / 2, 22 + (20 - 22) * Math.min(1, progress))

        // A few widening, fading rings stand in for a blurred shadow.
        Repeater {
            model: 4
            delegate: Rectangle {
                id: ring
                required property int index
                x: -ring.index
                y: 3 - ring.index
                width: surface.width + 2 * ring.index
                height: surface.height + 2 * ring.index
                radius: surface.radius + ring.index
                color: "transparent"
                border.width: 1
                border.color: Qt.rgba(0, 0, 0, (Radix.dark ? 0.18 : 0.06) * (4 - ring.index) / 4)
            }
        }

        Rectangle {
            id: glass
            anchors.fill: parent
            radius: surface.radius
            color: Radix.dark ? Qt.rgba(0.16, 0.16, 0.15, 1) : Qt.rgba(1, 1, 1, 1)
            border.width: 1
            border.color: Radix.sandA4
            clip: true

            // A press on the card's gaps and margins must not reach the row behind it.
            MouseArea {
                anchors.fill: parent
                acceptedButtons: Qt.AllButtons
                onWheel: wheel => wheel.accepted = true
            }

            T.AbstractButton {
                id: fab

                objectName: "fab"

                anchors.centerIn: parent
                width: 44
                height: 44
                opacity: 1 - Math.min(1, surface.progress * 2)
                visible: opacity > 0
                enabled: !dialog.open
                focusPolicy: Qt.NoFocus
                hoverEnabled: true
                Accessible.name: "新建任务"
                ToolTip.visible: hovered
                ToolTip.delay: 600
                ToolTip.text: "新建任务 (Ctrl+N)"
                onClicked: dialog.openPanel()

                contentItem: SymbolIcon {
                    name: "plus"
                    size: 16
                    semibold: true
                    color: Radix.primaryText
                }
                background: Rectangle {
                    radius: width / 2
                    color: fab.hovered ? panel.tint(0.04) : "transparent"
                }
            }

            // The card is made on its first opening, not with the board, and kept after.
            Loader {
                id: cardLoader

                anchors.right: parent.right
                anchors.bottom: parent.bottom
                active: false
                Component.onCompleted: active = dialog.open

                Connections {
                    target: dialog

                    function onOpenChanged() {
                        if (dialog.open)
                            cardLoader.active = true
                    }
                }

                sourceComponent: Column {
                    id: card

                    objectName: "card"

                    // While an input method composes, Return and Escape belong to it.
                    readonly property bool composing: titleField.composing || noteField.composing

                    width: 380
                    padding: 12
                    spacing: 4
                    opacity: Math.max(0, Math.min(1, surface.progress * 2 - 1))
                    visible: opacity > 0 || dialog.open
                    enabled: dialog.open

                    // Title and note editors.
                    component EditorFrame: Rectangle {
                        id: frame
                        required property GrowingTextView field
                        required property int minLines
                        required property int maxLines
                        property bool hovered: hover.hovered

                        height: Math.max(minLines * field.lineHeight,
                                         Math.min(maxLines * field.lineHeight, field.textHeight)) + 16
                        radius: 8
                        color: Qt.rgba(Radix.primaryText.r, Radix.primaryText.g, Radix.primaryText.b,
                                       field.focused ? 0.06 : frame.hovered ? 0.04 : 0)
                        Behavior on color {
                            ColorAnimation {
                                duration: 120
                                easing.type: Easing.OutQuad
                            }
                        }
                        HoverHandler {
                            id: hover
                        }
                    }

                    EditorFrame {
                        width: card.width - card.leftPadding - card.rightPadding
                        field: titleField
                        minLines: 1
                        maxLines: 3

                        GrowingTextView {
                            id: titleField
                            objectName: "titleField"
                            anchors.fill: parent
                            anchors.margins: 8
                            text: dialog.title
                            focused: dialog.titleFocused
                            placeholder: "接下来要做什么？"
                            allowsNewlines: false
                            submitOnReturn: true
                            onTextEdited: text => dialog.title = text
                            onFocusReported: focused => dialog.titleFocused = focused
                            onSubmitted: dialog.submit()
                            onEscapePressed: dialog.closePanel()
                            onTabPressed: backward => {
                                if (!backward)
                                    dialog.noteFocused = true
                            }
                        }
                    }

                    EditorFrame {
                        width: card.width - card.leftPadding - card.rightPadding
                        field: noteField
                        minLines: 3
                        maxLines: 6

                        GrowingTextView {
                            id: noteField
                            objectName: "noteField"
                            anchors.fill: parent
                            anchors.margins: 8
                            text: dialog.note
                            focused: dialog.noteFocused
                            placeholder: "备注"
                            allowsNewlines: true
                            submitOnReturn: false
                            onTextEdited: text => dialog.note = text
                            onFocusReported: focused => dialog.noteFocused = focused
                            onSubmitted: dialog.submit()
                            onEscapePressed: dialog.closePanel()
                            onTabPressed: backward => {
                                if (backward)
                                    dialog.titleFocused = true
                            }
                        }
                    }

                    // Day, reminder and list.
                    Column {
                        id: settings

                        readonly property real rowWidth: width - leftPadding - rightPadding

                        width: card.width - card.leftPadding - card.rightPadding
                        leftPadding: 8
                        rightPadding: 8
                        topPadding: 6

                        component SettingRow: Item {
                            id: settingRow
                            property string label
                            property alias icon: iconSlot.data
                            property alias control: controlSlot.data

                            implicitHeight: Math.max(labelText.implicitHeight,
                                                     controlSlot.childrenRect.height) + 16

                            Item {
                                id: iconSlot
                                width: 24
                                height: parent.height
                            }
                            Text {
                                id: labelText
                                x: 24
                                anchors.verticalCenter: parent.verticalCenter
                                text: settingRow.label
                                font.pixelSize: 14
                                color: Radix.primaryText
                            }
                            Item {
                                id: controlSlot
                                anchors.right: parent.right
                                anchors.verticalCenter: parent.verticalCenter
                                width: childrenRect.width
                                height: childrenRect.height
                            }
                        }

                        component DashedSeparator: Item {
                            height: 2

                            DashedRule {
                                x: 24
                                width: parent.width - 24
                                height: 2
                                color: Radix.sandA6
                                lineWidth: 1.5
                            }
                        }

                        SettingRow {
                            id: dayRow
                            width: settings.rowWidth
                            label: "日期"
                            icon: SymbolIcon {
                                anchors.verticalCenter: parent.verticalCenter
                                name: "calendar"
                                size: 12
                                font.weight: Font.Medium
                                color: Radix.secondaryText
                            }
                            control: Row {
                                spacing: 5

                                DialogChip {
                                    id: todayChip
                                    objectName: "todayChip"
                                    anchors.verticalCenter: parent.verticalCenter
                                    text: "今天"
                                    selected: dialog.todayActive
                                    onClicked: dialog.toggleToday()
                                }
                                DialogChip {
                                    id: tomorrowChip
                                    objectName: "tomorrowChip"
                                    anchors.verticalCenter: parent.verticalCenter
                                    text: "明天"
                                    selected: dialog.tomorrowActive
                                    onClicked: dialog.toggleTomorrow()
                                }
                                ScheduleCapsule {
                                    id: calendarChip
                                    objectName: "calendarChip"
                                    anchors.verticalCenter: parent.verticalCenter
                                    active: !isNaN(dialog.customDay.getTime())
                                    text: active ? ScheduleFormat.day(dialog.customDay, dialog.today) : ""
                                    emptySymbol: "ellipsis"
                                    onActivated: dialog.openDatePicker()
                                    onCleared: dialog.clearDay()

                                    DialogPopover {
                                        id: datePopover
                                        objectName: "datePopover"
                                        visible: dialog.datePickerOpen
                                        onClosed: dialog.datePickerOpen = false

                                        // Made when first opened, not with the board.
                                        property bool made: false
                                        onAboutToShow: made = true
                                        contentItem: Loader {
                                            active: datePopover.made
                                            sourceComponent: CalendarGridPicker {
                                                clock: panel.clock
                                                selected: dialog.day
                                                minDay: dialog.today
                                                monthStart: dialog.gridMonth
                                                onPicked: day => dialog.pickDay(day)
                                            }
                                        }
                                    }
                                }
                            }
                        }

                        DashedSeparator {
                            width: settings.rowWidth
                        }

                        SettingRow {
                            id: reminderRow
                            width: settings.rowWidth
                            label: "提醒"
                            icon: SymbolIcon {
                                anchors.verticalCenter: parent.verticalCenter
                                name: "alarm"
                                size: 12
                                font.weight: Font.Medium
                                color: Radix.secondaryText
                            }
                            control: ScheduleCapsule {
                                id: reminderChip
                                objectName: "reminderChip"
                                active: !isNaN(dialog.time.getTime())
                                text: active ? ScheduleFormat.time(dialog.time) : ""
                                emptyText: "无"
                                onActivated: dialog.openTimePicker()
                                onCleared: dialog.clearTime()

                                DialogPopover {
                                    id: timePopover
                                    objectName: "timePopover"
                                    visible: dialog.timePickerOpen
                                    onClosed: dialog.timePickerOpen = false

                                    // Made when first opened, not with the board.
                                    property bool made: false
                                    onAboutToShow: made = true
                                    contentItem: Loader {
                                        active: timePopover.made
                                        sourceComponent: TimeListPicker {
                                            selected: dialog.time
                                            initial: dialog.defaultTime
                                            onPicked: slot => dialog.pickTime(slot)
                                        }
                                    }
                                }
                            }
                        }

                        DashedSeparator {
                            width: settings.rowWidth
                        }

                        SettingRow {
                            id: listRow
                            width: settings.rowWidth
                            label: "清单"
                            icon: Rectangle {
                                x: 1
                                anchors.verticalCenter: parent.verticalCenter
                                width: 12
                                height: 12
                                radius: 3.5
                                color: "transparent"
                                border.width: 1.5
                                border.color: Radix.secondaryText
                            }
                            control: T.AbstractButton {
                                id: listPill

                                objectName: "listPill"

                                horizontalPadding: 9
                                verticalPadding: 5
                                focusPolicy: Qt.NoFocus
                                implicitWidth: implicitContentWidth + leftPadding + rightPadding
                                implicitHeight: implicitContentHeight + topPadding + bottomPadding
                                Accessible.name: "清单：" + dialog.chosenListName
                                onClicked: dialog.openListPicker()

                                contentItem: Row {
                                    spacing: 5

                                    CategorySwatch {
                                        anchors.verticalCenter: parent.verticalCenter
                                        swatchColor: panel.listColor(dialog.chosenListColorHex)
                                        filled: false
                                        size: 10
                                    }
                                    Text {
                                        anchors.verticalCenter: parent.verticalCenter
                                        text: dialog.chosenListName
                                        font.pixelSize: 14
                                        color: Radix.primaryText
                                        maximumLineCount: 1
                                        elide: Text.ElideRight
                                        width: Math.min(implicitWidth, 160)
                                    }
                                    SymbolIcon {
                                        anchors.verticalCenter: parent.verticalCenter
                                        name: "chevron.down"
                                        size: 9
                                        semibold: true
                                        color: Radix.secondaryText
                                    }
                                }
                                background: Rectangle {
                                    radius: height / 2
                                    color: panel.tint(0.06)
                                }

                                DialogPopover {
                                    id: listPopover
                                    objectName: "listPopover"
                                    visible: dialog.listPickerOpen
                                    onClosed: dialog.listPickerOpen = false

                                    contentItem: Column {
                                        id: listRows
                                        // The widest row's natural width, so that the popover fits
                                        // the longest name and is at least 190 wide.
                                        property real widest: 0
                                        function fit(rowWidth) {
                                            widest = Math.max(widest, rowWidth)
                                        }

                                        padding: 6
                                        spacing: 1
                                        width: Math.max(190, widest + 12)

                                        DialogListRow {
                                            width: listRows.width - 12
                                            listName: dialog.listName("")
                                            swatchColor: Radix.sand9
                                            chosen: dialog.chosenListId === ""
                                            onClicked: dialog.chooseList("")
                                            onImplicitWidthChanged: listRows.fit(implicitWidth)
                                        }
                                        Repeater {
                                            model: panel.categories
                                            delegate: DialogListRow {
                                                required property string categoryId
                                                required property string name
                                                required property string colorHex

                                                width: listRows.width - 12
                                                listName: name
                                                swatchColor: panel.listColor(colorHex)
                                                chosen: dialog.chosenListId === categoryId
                                                onClicked: dialog.chooseList(categoryId)
                                                onImplicitWidthChanged: listRows.fit(implicitWidth)
                                            }
                                        }
                                    }
                                }
                            }
                        }
                    }

                    // Trash on the left, the main button on the right.
                    Item {
                        id: buttonRow

                        // Horizontal padding 8, top padding 10.
                        readonly property real rowHeight: Math.max(trash.height, mainButton.implicitHeight)

                        width: card.width - card.leftPadding - card.rightPadding
                        implicitHeight: 10 + rowHeight

                        T.AbstractButton {
                            id: trash

                            objectName: "trashButton"

                            // Moved 7 to the left of its place.
                            x: 8 - 7
                            y: 10 + (buttonRow.rowHeight - height) / 2
                            width: 30
                            height: 30
                            padding: 0
                            focusPolicy: Qt.NoFocus
                            hoverEnabled: true
                            Accessible.name: dialog.editing ? "删除任务" : "取消"
                            ToolTip.visible: hovered
                            ToolTip.delay: 600
                            ToolTip.text: dialog.editing ? "删除任务" : "取消"
                            onClicked: dialog.trash()

                            contentItem: SymbolIcon {
                                name: "trash"
                                size: 12
                                font.weight: Font.Medium
                                color: Radix.secondaryText
                            }
                            background: Rectangle {
                                radius: width / 2
                                color: panel.tint(trash.hovered ? 0.08 : 0)
                                Behavior on color {
                                    ColorAnimation {
                                        duration: 120
                                        easing.type: Easing.OutQuad
                                    }
                                }
                            }
                        }

                        T.AbstractButton {
                            id: mainButton

                            objectName: "mainButton"

                            x: buttonRow.width - 8 - width
                            y: 10 + (buttonRow.rowHeight - height) / 2
                            text: dialog.editing ? "保存" : "创建"
                            enabled: dialog.canCreate
                            opacity: enabled ? 1 : 0.45
                            horizontalPadding: 16
                            verticalPadding: 6
                            focusPolicy: Qt.NoFocus
                            implicitWidth: implicitContentWidth + leftPadding + rightPadding
                            implicitHeight: implicitContentHeight + topPadding + bottomPadding
                            onClicked: dialog.submit()

                            contentItem: Text {
                                text: mainButton.text
                                font.pixelSize: 14
                                font.weight: Font.Medium
                                color: "white"
                                horizontalAlignment: Text.AlignHCenter
                                verticalAlignment: Text.AlignVCenter
                            }
                            background: Rectangle {
                                radius: height / 2
                                color: mainButton.pressed ? Qt.darker(Radix.accent, 1.1) : Radix.accent
                            }
                        }
                    }
                }
            }
        }
    }
}
