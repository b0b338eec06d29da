import QtQuick
import TavikUi

// The board's text field for titles and notes: plain text that wraps, reports the height of
// its laid-out text so that the parent can grow it, draws its own placeholder, and decides
// what Return and Escape mean.
//
// Chinese is typed through an input method, so the field stays correct while a composition
// is open: the preedit text is shown and counted in the height, but it is not part of `text`,
// the parent's text is never pushed into the field over it, and Return and Escape go to the
// input method instead of submitting or closing.
//
// `text` and `focused` are inputs; the field reports changes through textEdited and
// focusReported and the parent writes its own state, which flows back in. Neither is
// assigned from inside, so the parent's bindings stay intact.
Item {
    id: field

    property string text
    property bool focused: false
    property string placeholder
    property int fontSize: 14
    property int fontWeight: Font.Normal
    property alias allowsNewlines: rules.allowsNewlines
    property alias submitOnReturn: rules.submitOnReturn

    // Height of the laid-out text, preedit included; the last value reported.
    property real textHeight: 0
    // Height of one line as laid out. A line of Chinese takes the fallback CJK font's taller
    // ascent and descent, so it is measured on a Chinese sample, never taken as a constant.
    readonly property real lineHeight: Math.ceil(Math.max(lineMetrics.height, cjkLine.height))
    readonly property bool composing: edit.inputMethodComposing
    readonly property alias editor: edit

    signal textEdited(string text)
    signal focusReported(bool focused)
    signal heightReported(real height)
    signal submitted
    signal escapePressed
    // Tab in a field without newlines: the parent moves the focus on.
    signal tabPressed(bool backward)

    implicitHeight: textHeight
    clip: true

    GrowingTextController {
        id: rules
    }

    FontMetrics {
        id: lineMetrics
        font: edit.font
    }
    TextMetrics {
        id: cjkLine
        font: edit.font
        text: "国"
    }

    // TextEdit leaves the preedit out of its contentHeight, though it lays it out; a hidden
    // copy of the text with the preedit in place measures what is on screen.
    readonly property real measuredHeight: edit.inputMethodComposing
                                           ? Math.max(edit.contentHeight, composed.contentHeight)
                                           : edit.contentHeight

    function reportHeight() {
        if (rules.shouldReportHeight(field.measuredHeight, field.textHeight)) {
            field.textHeight = field.measuredHeight
            field.heightReported(field.measuredHeight)
        }
    }

    onMeasuredHeightChanged: reportHeight()

    Text {
        id: composed
        visible: false
        width: edit.width
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
        font: edit.font
        text: edit.inputMethodComposing ? edit.text.slice(0, edit.cursorPosition) + edit.preeditText
                                          + edit.text.slice(edit.cursorPosition)
                                        : ""
    }

    function syncText() {
        // Writing into an open composition would destroy it.
        if (!edit.inputMethodComposing && edit.text !== field.text)
            edit.text = field.text
    }

    function syncFocus() {
        if (field.focused && !edit.activeFocus) {
            // Without a window there is nothing to focus yet; a later change tries again.
            if (field.Window.window)
                edit.forceActiveFocus()
        } else if (!field.focused && edit.activeFocus) {
            edit.focus = false
        }
    }

    function reportFocus() {
        if (field.focused !== edit.activeFocus)
            field.focusReported(edit.activeFocus)
    }

    function insertNewline() {
        if (edit.selectedText.length > 0)
            edit.remove(edit.selectionStart, edit.selectionEnd)
        edit.insert(edit.cursorPosition, "\n")
    }

    onTextChanged: syncText()
    onFocusedChanged: syncFocus()
    Window.onWindowChanged: syncFocus()
    Component.onCompleted: {
        syncText()
        Qt.callLater(reportHeight)
        Qt.callLater(syncFocus)
    }

    // A press below the last line puts the caret at the end, as a press in the text would.
    MouseArea {
        anchors.fill: parent
        onPressed: {
            edit.forceActiveFocus(Qt.MouseFocusReason)
            edit.cursorPosition = edit.length
        }
    }

    Flickable {
        id: scroller

        anchors.fill: parent
        // It never scrolls by wheel or drag; only the caret moves it.
        interactive: false
        contentWidth: width
        contentHeight: field.measuredHeight
        boundsBehavior: Flickable.StopAtBounds

        function ensureVisible(rect) {
            if (contentY > rect.y)
                contentY = rect.y
            else if (contentY + height < rect.y + rect.height)
                contentY = rect.y + rect.height - height
            contentY = Math.max(0, Math.min(contentY, contentHeight - height))
        }

        TextEdit {
            id: edit

            width: scroller.width
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.Wrap
            font.pixelSize: field.fontSize
            font.weight: field.fontWeight
            color: Radix.primaryText
            selectionColor: Qt.rgba(Radix.accent.r, Radix.accent.g, Radix.accent.b, 0.3)
            selectedTextColor: Radix.primaryText
            selectByMouse: true
            persistentSelection: false

            onTextChanged: {
                if (edit.text !== field.text)
                    field.textEdited(edit.text)
            }
            onInputMethodComposingChanged: {
                // A composition that ended without a change of the text (cancelled) may have
                // held back a newer text from the parent.
                if (!inputMethodComposing)
                    Qt.callLater(field.syncText)
            }
            onCursorRectangleChanged: scroller.ensureVisible(cursorRectangle)
            onActiveFocusChanged: Qt.callLater(field.reportFocus)

            Keys.onPressed: event => {
                const backward = event.key === Qt.Key_Backtab
                        || (event.key === Qt.Key_Tab && (event.modifiers & Qt.ShiftModifier))
                if (backward || (event.key === Qt.Key_Tab && !rules.allowsNewlines)) {
                    // A title holds no tab: Tab moves on, as in any form. Shift+Tab moves
                    // back from any field, a note included.
                    event.accepted = true
                    field.tabPressed(backward)
                } else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) {
                    event.accepted = true
                    const action = rules.returnAction(edit.inputMethodComposing, event.modifiers)
                    if (action === GrowingTextController.LeaveToInputMethod)
                        Qt.inputMethod.commit()
                    else if (action === GrowingTextController.Submit)
                        field.submitted()
                    else
                        field.insertNewline()
                } else if (event.key === Qt.Key_Escape) {
                    event.accepted = true
                    if (edit.inputMethodComposing)
                        Qt.inputMethod.reset()
                    else
                        field.escapePressed()
                }
            }
        }
    }

    Text {
        // Exactly where the first character will stand: no inset, no padding.
        x: 0
        y: -scroller.contentY
        width: field.width
        visible: edit.text.length === 0 && edit.preeditText.length === 0
        text: field.placeholder
        font.pixelSize: field.fontSize
        font.weight: field.fontWeight
        color: Radix.tertiaryText
        elide: Text.ElideRight
    }
}
