import QtQuick
import TavikUi

// The quick-entry bar: a rounded field for a raw line, the schedule and list chips for the
// next task, and above it the AI accessory (the analyzing pill or the suggestion card). It
// writes nothing: creations leave through the controller's two signals.
Item {
    id: bar

    required property QuickEntryController entry
    readonly property TaskSuggestionController ai: entry.ai
    readonly property bool composing: field.composing
    readonly property bool chipsShown: entry.focused || entry.pickerOpen || entry.schedulePickerOpen
    readonly property bool scheduleActive: !isNaN(entry.chosenDueDate.getTime())
                                           || !isNaN(entry.chosenReminderAt.getTime())

    function tint(opacity) {
        return Qt.rgba(Radix.primaryText.r, Radix.primaryText.g, Radix.primaryText.b, opacity)
    }
    function listName(id) {
        const name = entry.listName(id)
        return name.length > 0 ? name : "无清单"
    }
    function listColor(id) {
        const hex = entry.listColorHex(id)
        return hex.length > 0 ? CategoryPalette.color(hex) : Radix.sand9
    }
    // Whether a point of `item` falls on what the bar draws: the bar, the card or the pill.
    function covers(item, x, y) {
        const within = target => {
            if (!target || !target.visible)
                return false
            const p = item.mapToItem(target, x, y)
            return p.x >= 0 && p.y >= 0 && p.x <= target.width && p.y <= target.height
        }
        const card = cardLoader.item
        return within(surface) || (card && card.opacity > 0 && within(card))
               || (pill.opacity > 0 && within(pill))
    }

    // Where the bar itself begins, below the accessory.
    readonly property real surfaceTop: surface.y

    implicitWidth: 405
    implicitHeight: stack.height

    Column {
        id: stack
        width: bar.width
        spacing: 8

        // The AI accessory: a fresh card per suggestion, else the pill while a request runs.
        Item {
            id: accessory
            objectName: "aiAccessory"
            width: stack.width
            // With less motion a leaving card keeps its room until it has faded.
            height: bar.ai.hasSuggestion
                    || (Motion.reduceMotion && cardLoader.item && cardLoader.item.leaving)
                    ? cardLoader.height
                                         : (bar.ai.isAnalyzing ? pill.implicitHeight : 0)
            visible: height > 0.5
            clip: true

            SpringBehavior on height {
                enabled: !Motion.reduceMotion
                response: 0.22
                dampingFraction: 0.85
                epsilon: 0.25
            }

            // The card enters rising from the accessory's bottom edge as it fades in, and
            // leaves the same way down; a new token is a new card. With less motion it only
            // fades. The loader is driven by hand so that a leaving card outlives its
            // suggestion until it is out of sight.
            Loader {
                id: cardLoader
                objectName: "suggestionLoader"
                anchors.bottom: parent.bottom
                width: parent.width
                active: false
                property int token: bar.ai.suggestionToken
                function enter() {
                    if (item && (item.leaving || item.madeFor !== token))
                        active = false
                    active = true
                }
                onTokenChanged: {
                    if (bar.ai.hasSuggestion)
                        enter()
                }
                Component.onCompleted: active = bar.ai.hasSuggestion
                Connections {
                    target: bar.ai
                    function onHasSuggestionChanged() {
                        if (bar.ai.hasSuggestion)
                            cardLoader.enter()
                        else if (cardLoader.item)
                            cardLoader.item.leave()
                    }
                }
                sourceComponent: SuggestionPanel {
                    id: card
                    objectName: "suggestionPanel"
                    entry: bar.entry
                    width: parent ? parent.width : 405
                    opacity: 0
                    property bool leaving: false
                    // The suggestion this card was made for.
                    property int madeFor: -1
                    transform: Translate {
                        id: rise
                        y: Motion.reduceMotion ? 0 : card.implicitHeight
                        SpringBehavior on y {
                            enabled: !Motion.reduceMotion
                            response: 0.22
                            dampingFraction: 0.85
                            epsilon: 0.25
                        }
                    }
                    function leave() {
                        leaving = true
                        opacity = 0
                        if (!Motion.reduceMotion)
                            rise.y = card.height
                    }
                    Component.onCompleted: {
                        madeFor = cardLoader.token
                        opacity = 1
                        rise.y = 0
                    }
                    Behavior on opacity {
                        NumberAnimation {
                            id: fade
                            duration: 180
                            easing.type: Easing.OutQuad
                            onRunningChanged: {
                                if (!running && card.leaving && !bar.ai.hasSuggestion)
                                    cardLoader.active = false
                            }
                        }
                    }
                    onAccepted: bar.entry.acceptSuggestion()
                    onDismissed: {
                        bar.ai.dismiss()
                        bar.entry.focused = true
                    }
                }
            }
            AnalyzingPill {
                id: pill
                objectName: "analyzingPill"
                anchors.bottom: parent.bottom
                opacity: bar.ai.isAnalyzing && !bar.ai.hasSuggestion ? 1 : 0
                visible: opacity > 0
                Behavior on opacity {
                    NumberAnimation {
                        duration: 150
                        easing.type: Easing.OutQuad
                    }
                }
            }
        }

        Rectangle {
            id: surface
            objectName: "barSurface"
            readonly property real leading: 18
            readonly property real trailing: 8 + (bar.isMultiline ? 10 : 0)
            readonly property real vertical: bar.isMultiline ? 14 : 7

            width: stack.width
            height: bar.isMultiline
                    ? vertical + field.height + 8 + rightSlot.height + vertical
                    : vertical + Math.max(field.height, rightSlot.height) + vertical
            radius: 24
            color: Radix.dark ? Qt.rgba(0.16, 0.16, 0.15, 0.97) : Qt.rgba(1, 1, 1, 0.97)
            border.width: 0.5
            border.color: hover.hovered ? Radix.sandA7 : Radix.sand6

            Behavior on border.color {
                ColorAnimation {
                    duration: 120
                    easing.type: Easing.OutQuad
                }
            }
            HoverHandler {
                id: hover
            }
            TapHandler {
                onTapped: bar.entry.focused = true
            }

            GrowingTextView {
                id: field
                objectName: "quickEntryField"
                x: surface.leading
                y: bar.isMultiline ? surface.vertical
                                   : (surface.height - height) / 2
                width: bar.isMultiline
                       ? surface.width - surface.leading - surface.trailing
                       : surface.width - surface.leading - surface.trailing - rightSlot.width - 8
                height: bar.fieldDisplayHeight
                text: bar.entry.title
                focused: bar.entry.focused
                placeholder: "接下来要做什么？"
                allowsNewlines: true
                submitOnReturn: true
                onTextEdited: text => bar.entry.title = text
                onFocusReported: focused => bar.entry.focused = focused
                onSubmitted: bar.entry.submit()
                onEscapePressed: bar.entry.handleEscape()
            }

            Item {
                id: rightSlot
                objectName: "rightSlot"
                x: surface.width - surface.trailing - width
                y: bar.isMultiline ? field.y + field.height + 8 : (surface.height - height) / 2
                width: bar.chipsShown ? chips.implicitWidth : hint.implicitWidth + 5
                height: 26

                Row {
                    id: chips
                    anchors.verticalCenter: parent.verticalCenter
                    visible: bar.chipsShown
                    spacing: 6

                    QuickEntryChip {
                        id: scheduleChip
                        objectName: "barScheduleChip"
                        readonly property string shortLabel: ScheduleFormat.shortLabel(
                                                           bar.entry.chosenDueDate,
                                                           bar.entry.chosenReminderAt,
                                                           bar.entry.clock.now())
                        symbol: !isNaN(bar.entry.chosenReminderAt.getTime())
                                ? "alarm.fill"
                                : (!isNaN(bar.entry.chosenDueDate.getTime()) ? "calendar" : "alarm")
                        label: shortLabel
                        tint: bar.scheduleActive ? Radix.accent : Radix.secondaryText
                        onClicked: bar.entry.toggleSchedule()

                        DialogPopover {
                            objectName: "barSchedulePopover"
                            visible: bar.entry.schedulePickerOpen
                            onClosed: bar.entry.closeSchedule()
                            contentItem: Loader {
                                active: bar.entry.schedulePickerOpen
                                sourceComponent: SchedulePopover {
                                    clock: bar.entry.clock
                                    width: implicitWidth
                                    dueDate: bar.entry.chosenDueDate
                                    reminderAt: bar.entry.chosenReminderAt
                                    onScheduleChanged: (day, reminderAt) => bar.entry.setSchedule(
                                                           day, reminderAt)
                                }
                            }
                        }
                    }
                    QuickEntryChip {
                        id: listChip
                        objectName: "barListChip"
                        showSwatch: true
                        swatchColor: bar.listColor(bar.entry.chosenListId)
                        label: bar.listName(bar.entry.chosenListId)
                        labelColor: Radix.primaryText
                        chevron: true
                        onClicked: bar.entry.togglePicker()

                        DialogPopover {
                            id: listPopover
                            objectName: "barListPopover"
                            visible: bar.entry.pickerOpen
                            onClosed: bar.entry.closePicker()
                            onOpened: listMenu.forceActiveFocus()
                            contentItem: Column {
                                id: listMenu
                                padding: 6
                                spacing: 1
                                focus: true
                                Keys.onUpPressed: bar.entry.moveSelection(-1)
                                Keys.onDownPressed: bar.entry.moveSelection(1)
                                Keys.onReturnPressed: bar.entry.closePicker()
                                Keys.onEnterPressed: bar.entry.closePicker()

                                Repeater {
                                    model: [{ id: "", name: "", colorHex: "" }].concat(
                                               bar.entry.lists)

                                    DialogListRow {
                                        required property var modelData
                                        objectName: "barListRow." + modelData.id
                                        width: Math.max(190 - 12, implicitWidth)
                                        listName: bar.listName(modelData.id)
                                        swatchColor: bar.listColor(modelData.id)
                                        chosen: bar.entry.chosenListId === modelData.id
                                        onClicked: bar.entry.chooseList(modelData.id)
                                    }
                                }
                            }
                        }
                    }
                }

                Row {
                    id: hint
                    objectName: "shortcutHint"
                    anchors.verticalCenter: parent.verticalCenter
                    visible: !bar.chipsShown
                    spacing: 3

                    Keycap {
                        label: "Ctrl"
                    }
                    Keycap {
                        label: "N"
                    }
                }
            }
        }
    }

    // The layout decision: the line measured at the width it has beside the chips.
    property real singleLineHeight: oneLine.contentHeight
    property real contentTextHeight: measure.contentHeight
    property bool isMultiline: false
    readonly property real fieldDisplayHeight: {
        const line = singleLineHeight > 0 ? singleLineHeight : 17
        const h = Math.max(field.textHeight, line)
        return Math.min(h, singleLineHeight > 0 ? singleLineHeight * 6 : 102)
    }
    function recomputeMultiline() {
        if (singleLineHeight <= 0)
            return
        const multiline = contentTextHeight > singleLineHeight + 1
        if (multiline !== isMultiline)
            isMultiline = multiline
    }
    onSingleLineHeightChanged: recomputeMultiline()
    onContentTextHeightChanged: recomputeMultiline()

    Text {
        id: measure
        visible: false
        width: Math.max(60, bar.width - 20 - 9 - chips.implicitWidth - 10)
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
        font.pixelSize: 14
        text: bar.entry.title.length > 0 ? bar.entry.title : " "
    }
    // One line as the field draws it: Chinese comes from a fallback font whose lines are
    // taller than a blank's, so a blank alone would call every Chinese line two.
    Text {
        id: oneLine
        visible: false
        textFormat: Text.PlainText
        font.pixelSize: 14
        text: " 字"
    }

    Shortcut {
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        context: Qt.WindowShortcut
        enabled: bar.entry.focused && !bar.ai.hasSuggestion && !bar.composing
        onActivated: bar.entry.submit()
    }
    Shortcut {
        sequence: "Ctrl+N"
        context: Qt.WindowShortcut
        onActivated: bar.entry.focused = true
    }
    Shortcut {
        sequence: "Ctrl+K"
        context: Qt.WindowShortcut
        onActivated: {
            if (bar.entry.focused || bar.entry.pickerOpen)
                bar.entry.togglePicker()
            else
                bar.entry.focused = true
        }
    }
}
