import QtQuick
import QtQuick.Controls
import QtQuick.Templates as T
import TavikUi

// The card that rises above the quick-entry bar with what AI made of the line. Every field
// edits the suggestion controller's draft at once; the two ways out go back to the bar.
// The bar makes a fresh card for each suggestion, so the local state starts anew.
Rectangle {
    id: panel

    required property QuickEntryController entry
    readonly property TaskSuggestionController controller: entry.ai
    property bool titleFocused: false
    property bool schedulePopoverOpen: false
    property bool categoryPopoverOpen: false
    // An empty note starts folded away, a suggested one open.
    property bool showNote: controller.draftNote.length > 0
    readonly property bool scheduleActive: !isNaN(controller.draftDueDate.getTime())
                                           || !isNaN(controller.draftReminderAt.getTime())
    readonly property string scheduleLabel: ScheduleFormat.shortLabel(
                                                controller.draftDueDate,
                                                controller.draftReminderAt,
                                                entry.clock.now())
    readonly property string summary: controller.suggestion.summary

    signal accepted
    signal dismissed

    function tint(opacity) {
        return Qt.rgba(Radix.primaryText.r, Radix.primaryText.g, Radix.primaryText.b, opacity)
    }
    function listName(id) {
        const name = entry.listName(id)
        return name.length > 0 ? name : "无分类"
    }
    function listColor(id) {
        const hex = entry.listColorHex(id)
        return hex.length > 0 ? CategoryPalette.color(hex) : Radix.sand9
    }

    Component.onCompleted: showNote = controller.draftNote.length > 0

    implicitWidth: 405
    implicitHeight: layout.implicitHeight
    radius: 20
    color: Radix.dark ? Qt.rgba(0.16, 0.16, 0.15, 0.97) : Qt.rgba(1, 1, 1, 0.97)
    border.width: 0.5
    border.color: Radix.sand6

    Column {
        id: layout
        width: parent.width
        padding: 14
        spacing: 10

        readonly property real innerWidth: width - leftPadding - rightPadding

        // Header: what this is, what was organized, and the way out.
        Item {
            width: layout.innerWidth
            height: 22

            Row {
                anchors.left: parent.left
                anchors.right: closeButton.left
                anchors.rightMargin: 8
                anchors.verticalCenter: parent.verticalCenter
                spacing: 6
                clip: true

                SymbolIcon {
                    anchors.verticalCenter: parent.verticalCenter
                    name: "sparkles"
                    size: 12
                    semibold: true
                    color: Radix.accent
                }
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: "AI 建议"
                    font.pixelSize: 14
                    color: Radix.secondaryText
                }
                Text {
                    objectName: "suggestionSummary"
                    anchors.verticalCenter: parent.verticalCenter
                    visible: panel.summary.length > 0
                    text: "· " + panel.summary
                    font.pixelSize: 14
                    color: Radix.secondaryText
                    maximumLineCount: 1
                    elide: Text.ElideRight
                }
            }
            T.AbstractButton {
                id: closeButton
                objectName: "suggestionClose"
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                width: 22
                height: 22
                focusPolicy: Qt.NoFocus
                hoverEnabled: true
                Accessible.name: "使用原文"
                ToolTip.visible: hovered
                ToolTip.delay: 600
                ToolTip.text: "使用原文"
                onClicked: panel.dismissed()
                contentItem: SymbolIcon {
                    name: "xmark"
                    size: 11
                    semibold: true
                    color: Radix.secondaryText
                }
                background: Rectangle {
                    radius: width / 2
                    color: panel.tint(closeButton.hovered ? 0.1 : 0.06)
                }
            }
        }

        GrowingTextView {
            id: titleField
            objectName: "suggestionTitle"
            width: layout.innerWidth
            height: Math.max(24, Math.min(72, textHeight))
            text: panel.controller.draftTitle
            focused: panel.titleFocused
            placeholder: "标题"
            allowsNewlines: false
            submitOnReturn: true
            onTextEdited: text => panel.controller.draftTitle = text
            onFocusReported: focused => panel.titleFocused = focused
            onSubmitted: panel.accepted()
            onEscapePressed: panel.dismissed()
        }

        T.AbstractButton {
            objectName: "addNoteButton"
            visible: !panel.showNote
            focusPolicy: Qt.NoFocus
            implicitWidth: implicitContentWidth
            implicitHeight: implicitContentHeight
            onClicked: panel.showNote = true
            contentItem: Row {
                spacing: 5
                SymbolIcon {
                    anchors.verticalCenter: parent.verticalCenter
                    name: "text.alignleft"
                    size: 13
                    color: Radix.secondaryText
                }
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: "添加备注"
                    font.pixelSize: 14
                    color: Radix.secondaryText
                }
            }
        }
        Rectangle {
            visible: panel.showNote
            width: layout.innerWidth
            height: 54 + 4
            radius: 12
            color: Radix.sandA2

            GrowingTextView {
                objectName: "suggestionNote"
                anchors.fill: parent
                anchors.leftMargin: 10
                anchors.rightMargin: 10
                anchors.topMargin: 8
                anchors.bottomMargin: 4
                text: panel.controller.draftNote
                placeholder: "备注（可选）"
                allowsNewlines: true
                submitOnReturn: false
                onTextEdited: text => panel.controller.draftNote = text
                onEscapePressed: panel.dismissed()
            }
        }

        Row {
            spacing: 8

            QuickEntryChip {
                id: scheduleChip
                objectName: "suggestionScheduleChip"
                horizontalPadding: 10
                verticalPadding: 6
                symbol: !isNaN(panel.controller.draftReminderAt.getTime())
                        ? "alarm.fill"
                        : (!isNaN(panel.controller.draftDueDate.getTime()) ? "calendar" : "alarm")
                label: panel.scheduleLabel.length > 0 ? panel.scheduleLabel : "时间"
                tint: panel.scheduleActive ? Radix.accent : Radix.secondaryText
                fill: panel.scheduleActive
                      ? Qt.rgba(Radix.accent.r, Radix.accent.g, Radix.accent.b, 0.12)
                      : panel.tint(0.06)
                onClicked: {
                    panel.categoryPopoverOpen = false
                    panel.schedulePopoverOpen = !panel.schedulePopoverOpen
                }

                DialogPopover {
                    objectName: "suggestionSchedulePopover"
                    visible: panel.schedulePopoverOpen
                    onClosed: panel.schedulePopoverOpen = false
                    contentItem: Loader {
                        active: panel.schedulePopoverOpen
                        sourceComponent: SchedulePopover {
                            clock: panel.entry.clock
                            width: implicitWidth
                            dueDate: panel.controller.draftDueDate
                            reminderAt: panel.controller.draftReminderAt
                            onScheduleChanged: (day, reminderAt) => panel.entry.setDraftSchedule(
                                                   day, reminderAt)
                        }
                    }
                }
            }
            QuickEntryChip {
                id: listChip
                objectName: "suggestionListChip"
                horizontalPadding: 10
                verticalPadding: 6
                showSwatch: true
                swatchColor: panel.listColor(panel.entry.draftListId)
                label: panel.listName(panel.entry.draftListId)
                labelColor: Radix.primaryText
                chevron: true
                onClicked: {
                    panel.schedulePopoverOpen = false
                    panel.categoryPopoverOpen = !panel.categoryPopoverOpen
                }

                DialogPopover {
                    objectName: "suggestionListPopover"
                    visible: panel.categoryPopoverOpen
                    onClosed: panel.categoryPopoverOpen = false
                    contentItem: Column {
                        padding: 6
                        spacing: 1

                        Repeater {
                            model: [{ id: "", name: "", colorHex: "" }].concat(panel.entry.lists)

                            DialogListRow {
                                required property var modelData
                                objectName: "suggestionListRow." + modelData.id
                                width: Math.max(190 - 12, implicitWidth)
                                listName: panel.listName(modelData.id)
                                swatchColor: panel.listColor(modelData.id)
                                chosen: panel.entry.draftListId === modelData.id
                                onClicked: {
                                    panel.entry.chooseDraftList(modelData.id)
                                    panel.categoryPopoverOpen = false
                                }
                            }
                        }
                    }
                }
            }
        }

        Rectangle {
            width: layout.innerWidth
            height: 0.5
            color: Radix.sand6
        }

        Row {
            anchors.right: parent.right
            anchors.rightMargin: layout.rightPadding
            spacing: 8

            T.AbstractButton {
                objectName: "useRawButton"
                focusPolicy: Qt.NoFocus
                horizontalPadding: 10
                verticalPadding: 8
                implicitWidth: implicitContentWidth + leftPadding + rightPadding
                implicitHeight: implicitContentHeight + topPadding + bottomPadding
                onClicked: panel.dismissed()
                contentItem: Text {
                    text: "使用原文"
                    font.pixelSize: 14
                    color: Radix.secondaryText
                }
            }
            T.AbstractButton {
                id: acceptButton
                objectName: "acceptButton"
                focusPolicy: Qt.NoFocus
                hoverEnabled: true
                horizontalPadding: 14
                verticalPadding: 8
                implicitWidth: implicitContentWidth + leftPadding + rightPadding
                implicitHeight: implicitContentHeight + topPadding + bottomPadding
                ToolTip.visible: hovered
                ToolTip.delay: 600
                ToolTip.text: "接受 AI 建议并创建任务"
                onClicked: panel.accepted()
                contentItem: Row {
                    spacing: 6
                    SymbolIcon {
                        anchors.verticalCenter: parent.verticalCenter
                        name: "sparkles"
                        size: 12
                        semibold: true
                        color: "white"
                    }
                    Text {
                        anchors.verticalCenter: parent.verticalCenter
                        text: "接受"
                        font.pixelSize: 14
                        font.weight: Font.DemiBold
                        color: "white"
                    }
                    Text {
                        anchors.verticalCenter: parent.verticalCenter
                        text: "Ctrl⏎"
                        font.pixelSize: 12
                        font.weight: Font.DemiBold
                        color: "white"
                        opacity: 0.7
                    }
                }
                background: Rectangle {
                    radius: height / 2
                    color: Radix.accent
                }
            }
        }
    }

    // Accepting answers to Ctrl+Return wherever the focus is in the window.
    Shortcut {
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        context: Qt.WindowShortcut
        onActivated: panel.accepted()
    }
}
