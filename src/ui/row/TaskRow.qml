import QtQuick
import QtQuick.Controls
import TavikUi

// One open task of a column. It draws the task and reports what the user asks for; it never
// changes a record itself. The full layout shows title, note and chips; the compact one a
// single line with small icons.
Item {
    id: row

    required property TaskItem task
    // Position in the column; -1 once the row is on its way out.
    required property int index
    required property string taskId
    required property string title
    required property string note
    required property bool completed
    required property string categoryId
    required property bool completing
    // The placeholder of a dragged task: drawn, but it takes no input.
    required property bool isGhost
    required property bool isDragging

    property bool dragActive: false
    property bool isEditing: false
    property bool focused: false
    property bool compact: false
    // The lists offered by the context menu (CategoryListModel).
    property var categories: null
    property date now: new Date()

    signal toggleRequested
    signal deleteRequested
    signal assignRequested(string categoryId)
    signal editRequested
    signal detailsRequested

    implicitHeight: block.item ? block.item.implicitHeight : 0
    opacity: isDragging ? 0.35 : 1
    enabled: !isGhost
    // A switch of density springs the rows to their new heights; nothing else does.
    clip: densitySpring.running

    onCompactChanged: densitySpring.restart()

    Timer {
        id: densitySpring
        interval: 500
    }

    Behavior on implicitHeight {
        enabled: densitySpring.running

        SpringMotion {
            response: 0.25
            dampingFraction: 1.0
            epsilon: 0.25
        }
    }

    // One line of title or note, as the fonts lay it out.
    readonly property real lineHeight: TextLine.height(14)

    // Behind everything: the tint of the task open in the dialog.
    Rectangle {
        anchors.fill: parent
        color: Radix.primaryText
        opacity: 0.04
        visible: row.isEditing && !row.dragActive
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.RightButton
        // At the pointer, which is where the press was, not where the cursor is now.
        onPressed: mouse => contextMenu.createObject(row).popup(row, mouse.x, mouse.y)
    }

    TaskCheckbox {
        id: checkbox
        x: 18
        y: row.compact ? (row.height - height) / 2 : 16
        completed: row.completed || row.completing
        onClicked: row.toggleRequested()
    }

    Item {
        id: textBlock
        x: checkbox.x + checkbox.width + 10
        width: row.width - x - 18
        height: row.height

        // A single tap on the text opens the task; it lies under the chips so that their
        // icons keep their hover.
        MouseArea {
            anchors.fill: parent
            onClicked: row.editRequested()
        }

        // Only the layout on show is built: a row is made for every task scrolled into view.
        Loader {
            id: block
            anchors.fill: parent
            sourceComponent: row.compact ? compactLayout : fullLayout
        }

        Component {
            id: fullLayout

            Column {
                topPadding: 16
                bottomPadding: 16
                spacing: 10

                // Line spacing 4 lies between lines, not under the last one.
                Item {
                    // Title and a gap of at least 8 share the line, 4 apart.
                    width: parent.width - 12
                    height: titleText.implicitHeight - 4

                    Text {
                        id: titleText
                        width: parent.width
                        text: row.title
                        font.pixelSize: 14
                        font.strikeout: row.completed
                        color: row.completed ? Radix.secondaryText : Radix.primaryText
                        wrapMode: Text.Wrap
                        maximumLineCount: 2
                        elide: Text.ElideRight
                        lineHeightMode: Text.FixedHeight
                        lineHeight: row.lineHeight + 4
                    }
                }
                Item {
                    // A note of blanks still takes its line; an empty one takes nothing.
                    visible: row.note.length > 0
                    width: parent.width
                    height: noteText.implicitHeight - 4

                    Text {
                        id: noteText
                        width: parent.width
                        text: row.note
                        font.pixelSize: 14
                        color: Radix.secondaryText
                        wrapMode: Text.Wrap
                        maximumLineCount: 3
                        elide: Text.ElideRight
                        lineHeightMode: Text.FixedHeight
                        lineHeight: row.lineHeight + 4
                    }
                }
                TaskMetaChips {
                    task: row.task
                    now: row.now
                    maximumWidth: parent.width - 12
                }
            }
        }

        Component {
            id: compactLayout

            Item {
                implicitHeight: Math.max(compactTitle.implicitHeight, icons.implicitHeight) + 32

                Text {
                    id: compactTitle
                    anchors.verticalCenter: parent.verticalCenter
                    width: parent.width - 16 - (icons.visible ? icons.width + 8 : 0)
                    text: row.title
                    font.pixelSize: 14
                    font.strikeout: row.completed
                    color: row.completed ? Radix.secondaryText : Radix.primaryText
                    elide: Text.ElideRight
                    maximumLineCount: 1
                }
                TaskMetaChips.Icons {
                    id: icons
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    task: row.task
                    now: row.now
                }
            }
        }

        DashedRule {
            anchors.bottom: parent.bottom
            width: parent.width
        }
    }

    // The keyboard focus ring, inset 7 across and 1 down from the row's edges.
    Rectangle {
        anchors.fill: parent
        anchors.leftMargin: 7
        anchors.rightMargin: 7
        anchors.topMargin: 1
        anchors.bottomMargin: 1
        radius: 7
        color: "transparent"
        border.width: 2
        border.color: Radix.accent
        visible: row.focused
    }

    Component {
        id: contextMenu

        TaskContextMenu {
            categories: row.categories
            categoryId: row.categoryId
            onEditRequested: row.editRequested()
            onDetailsRequested: row.detailsRequested()
            onAssignRequested: categoryId => row.assignRequested(categoryId)
            onDeleteRequested: row.deleteRequested()
            onClosed: destroy()
        }
    }
}
