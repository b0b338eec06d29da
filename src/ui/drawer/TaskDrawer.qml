import QtQuick
import QtQuick.Templates as T
import TavikUi

// The detail card of one task, and the one editor of its rich note. It writes into the
// record itself: the title as it is typed, the schedule at each pick, the note when the card
// goes away. The host gives the task, a height limit and the board (clock, hub, reminders),
// centres the card, and removes it on closeRequested; the card never removes itself.
FocusScope {
    id: drawer

    property TaskItem task: null
    // Gives the card its clock, its hub and the reminder sink, and hears when it is up.
    required property BoardController board
    // Upper limit of the card's height; the card is never lower than 400 whatever this is.
    property real maxHeight: 0

    property bool titleFocused: false
    property real titleHeight: 0

    readonly property alias controller: controller
    readonly property alias noteEditor: noteEditor
    readonly property alias titleField: titleField

    signal closeRequested

    width: controller.width
    height: controller.cardHeight

    readonly property color primaryTint: Radix.primaryText
    function tint(opacity) {
        return Qt.rgba(primaryTint.r, primaryTint.g, primaryTint.b, opacity)
    }

    TaskDrawerController {
        id: controller

        task: drawer.task
        board: drawer.board
        document: noteDocument
        maxHeight: drawer.maxHeight
        noteTextHeight: noteMeasure.contentHeight
    }

    Component.onCompleted: controller.appear()
    Component.onDestruction: controller.disappear()

    // Escape anywhere in the card outside the title field (the window's cancel command).
    Keys.onEscapePressed: drawer.closeRequested()

    // Measures the note's plain characters at the editor's width, styling left out.
    Text {
        id: noteMeasure
        visible: false
        width: controller.width - 2 * controller.hPadding
        text: controller.measureText
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        font.pixelSize: controller.noteFontSize
    }

    // A few widening, fading rings stand in for a blurred shadow.
    Repeater {
        model: 4
        delegate: Rectangle {
            id: ring
            required property int index
            x: -ring.index
            y: 3 - ring.index
            width: drawer.width + 2 * ring.index
            height: drawer.height + 2 * ring.index
            radius: 22 + ring.index
            color: "transparent"
            border.width: 1
            border.color: Qt.rgba(0, 0, 0, (Radix.dark ? 0.18 : 0.06) * (4 - ring.index) / 4)
        }
    }

    Rectangle {
        id: glass
        anchors.fill: parent
        radius: 22
        // Opaque: the card stands over the columns, which must not show through the note.
        color: Radix.dark ? "#232321" : Radix.sand1
        border.width: 1
        border.color: Radix.sandA4
    }

    // A press on the card's empty parts must not reach what lies behind it.
    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        onPressed: mouse => mouse.accepted = true
        onWheel: wheel => wheel.accepted = true
    }

    component GlassButton: T.AbstractButton {
        id: glassButton
        focusPolicy: Qt.NoFocus
        hoverEnabled: true

        background: Rectangle {
            radius: height / 2
            color: drawer.tint(glassButton.down ? 0.12 : glassButton.hovered ? 0.09 : 0.06)
            Behavior on color {
                ColorAnimation {
                    duration: 120
                    easing.type: Easing.OutQuad
                }
            }
        }
    }

    Column {
        id: layout

        x: controller.hPadding
        y: 18
        width: controller.width - 2 * controller.hPadding
        height: drawer.height - 18 - 22
        spacing: 12

        Row {
            id: header

            width: layout.width
            spacing: 8

            GrowingTextView {
                id: titleField

                width: header.width - scheduleButton.width - closeButton.width - 2 * header.spacing
                // One to three lines.
                height: Math.max(lineHeight, Math.min(3 * lineHeight, drawer.titleHeight))
                text: controller.title
                focused: drawer.titleFocused
                placeholder: "标题"
                fontSize: 14
                fontWeight: Font.DemiBold
                allowsNewlines: false
                submitOnReturn: true
                onTextEdited: text => controller.title = text
                onFocusReported: focused => drawer.titleFocused = focused
                onHeightReported: height => drawer.titleHeight = height
                // Return makes no line and does nothing else.
                onSubmitted: {}
                onEscapePressed: drawer.closeRequested()
                onTabPressed: backward => {
                    if (!backward)
                        noteEditor.forceActiveFocus(Qt.TabFocusReason)
                }
            }

            GlassButton {
                id: scheduleButton

                height: 24
                leftPadding: 9
                rightPadding: 9
                implicitWidth: implicitContentWidth + leftPadding + rightPadding
                Accessible.name: controller.scheduleLabel.length > 0 ? controller.scheduleLabel
                                                                     : "日程"
                onClicked: controller.toggleSchedule()

                contentItem: Row {
                    spacing: 4

                    readonly property color tone: controller.scheduleActive ? Radix.accent
                                                                            : Radix.secondaryText

                    SymbolIcon {
                        anchors.verticalCenter: parent.verticalCenter
                        name: controller.scheduleIcon
                        size: 12
                        semibold: true
                        color: parent.tone
                    }
                    Text {
                        anchors.verticalCenter: parent.verticalCenter
                        visible: controller.scheduleLabel.length > 0
                        text: controller.scheduleLabel
                        font.pixelSize: 14
                        color: parent.tone
                    }
                }

                DialogPopover {
                    id: schedulePopover
                    visible: controller.scheduleOpen
                    onClosed: controller.scheduleOpen = false

                    // Built afresh at each opening, so it starts from the task as it is then.
                    contentItem: Loader {
                        active: controller.scheduleOpen
                        sourceComponent: SchedulePopover {
                            clock: drawer.board.clock
                            width: implicitWidth
                            dueDate: controller.dueDate
                            reminderAt: controller.reminderAt
                            onScheduleChanged: (day, reminderAt) => controller.applySchedule(
                                                   day, reminderAt)
                        }
                    }
                }
            }

            GlassButton {
                id: closeButton

                width: 24
                height: 24
                Accessible.name: "关闭"
                onClicked: drawer.closeRequested()

                contentItem: SymbolIcon {
                    name: "xmark"
                    size: 11
                    semibold: true
                    color: Radix.secondaryText
                }
            }
        }

        Rectangle {
            width: layout.width
            height: 1
            color: Radix.sandA4
        }

        Item {
            id: noteArea

            width: layout.width
            height: layout.height - header.height - 1 - 2 * layout.spacing

            Text {
                // Where the first character of the note will stand.
                visible: controller.noteEmpty && noteEditor.preeditText.length === 0
                width: noteArea.width
                text: "写点备注…"
                font.pixelSize: controller.noteFontSize
                color: Radix.tertiaryText
            }

            Flickable {
                id: noteScroller

                anchors.fill: parent
                clip: true
                contentWidth: width
                contentHeight: noteEditor.height
                boundsBehavior: Flickable.StopAtBounds
                flickableDirection: Flickable.VerticalFlick

                function ensureVisible(rect) {
                    if (contentY > rect.y)
                        contentY = rect.y
                    else if (contentY + height < rect.y + rect.height)
                        contentY = rect.y + rect.height - height
                }

                // The editor starts at the card's text edge, level with the title.
                TextEdit {
                    id: noteEditor

                    width: noteScroller.width
                    // A click anywhere below the text still lands in the editor.
                    height: Math.max(implicitHeight, noteScroller.height)
                    textFormat: TextEdit.RichText
                    wrapMode: TextEdit.Wrap
                    font.pixelSize: controller.noteFontSize
                    color: Radix.primaryText
                    selectionColor: Qt.rgba(Radix.accent.r, Radix.accent.g, Radix.accent.b, 0.3)
                    selectedTextColor: Radix.primaryText
                    selectByMouse: true
                    persistentSelection: true
                    onCursorRectangleChanged: noteScroller.ensureVisible(cursorRectangle)
                    Keys.onBacktabPressed: titleField.editor.forceActiveFocus(Qt.BacktabFocusReason)
                    // Escape during a composition belongs to the input method, not the card.
                    Keys.onEscapePressed: event => {
                        if (inputMethodComposing)
                            Qt.inputMethod.reset()
                        else
                            event.accepted = false
                    }

                    RichTextDocument {
                        id: noteDocument
                        textDocument: noteEditor.textDocument
                        editor: noteEditor
                    }
                }

                T.ScrollBar.vertical: T.ScrollBar {
                    id: scrollBar
                    width: 6
                    policy: noteScroller.contentHeight > noteScroller.height
                            ? T.ScrollBar.AsNeeded : T.ScrollBar.AlwaysOff
                    contentItem: Rectangle {
                        implicitWidth: 6
                        radius: 3
                        color: drawer.tint(0.25)
                        opacity: scrollBar.active ? 1 : 0
                        Behavior on opacity {
                            NumberAnimation {
                                duration: 120
                                easing.type: Easing.OutQuad
                            }
                        }
                    }
                }
            }
        }
    }
}
