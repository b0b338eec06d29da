import QtQuick
import TavikUi

// What a full row tells of a task's reminder or day and its list, as a line of chips.
// TaskMetaChips.Icons is the compact row's counterpart: small icons with popovers.
Row {
    id: chips

    required property TaskItem task
    property date now: new Date()
    // The list chip's name gives way so that the line ends here.
    property real maximumWidth: Infinity

    // One chip: an optional symbol and a text, or any content, on a rimmed fill.
    component Chip: Rectangle {
        id: chip

        property color ink: Radix.sand11
        property color fill: Radix.sandA2
        property color rim: Radix.sandA4
        property bool completed: false
        default property alias content: body.data

        implicitWidth: body.implicitWidth + 14
        implicitHeight: body.implicitHeight + 6
        radius: 6
        color: fill
        border.width: 0.5
        border.color: rim
        opacity: completed ? 0.5 : 1

        Row {
            id: body
            x: 7
            y: 3
            spacing: 4
        }
    }

    component ChipBody: Row {
        id: chipBody

        required property string symbol
        required property string text
        required property color ink

        spacing: 4

        SymbolIcon {
            anchors.verticalCenter: parent.verticalCenter
            name: chipBody.symbol
            size: 10
            semibold: true
            color: chipBody.ink
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: chipBody.text
            font.pixelSize: 12
            color: chipBody.ink
        }
    }

    component Icons: Row {
        id: icons

        required property TaskItem task
        property date now: new Date()

        spacing: 10
        visible: iconsMeta.showsIcons
        opacity: task && task.completed ? 0.5 : 1

        TaskMetaController {
            id: iconsMeta
            task: icons.task
            now: icons.now
        }

        MetaIcon {
            visible: iconsMeta.hasNote
            anchors.verticalCenter: parent.verticalCenter
            label: SymbolIcon {
                name: "text.alignleft"
                size: 11
                semibold: true
                color: Radix.sand11
            }
            detail: Text {
                text: icons.task ? icons.task.note : ""
                font.pixelSize: 12
                lineHeightMode: Text.FixedHeight
                lineHeight: TextLine.height(12) + 3
                width: Math.min(implicitWidth, 280)
                wrapMode: Text.Wrap
                horizontalAlignment: Text.AlignLeft
                color: Radix.primaryText
            }
        }
        MetaIcon {
            visible: iconsMeta.hasReminder
            anchors.verticalCenter: parent.verticalCenter
            label: SymbolIcon {
                name: "alarm"
                size: 11
                semibold: true
                color: iconsMeta.reminderOverdue ? Radix.red11 : Radix.amber11
            }
            detail: Text {
                text: iconsMeta.reminderDetail
                font.pixelSize: 12
                color: Radix.primaryText
            }
        }
        MetaIcon {
            visible: !iconsMeta.hasReminder && iconsMeta.hasVisibleDueDate
            anchors.verticalCenter: parent.verticalCenter
            label: SymbolIcon {
                name: "calendar"
                size: 11
                semibold: true
                color: iconsMeta.dateOverdue ? Radix.red11 : Radix.sand11
            }
            detail: Text {
                text: iconsMeta.dateText
                font.pixelSize: 12
                color: Radix.primaryText
            }
        }
        MetaIcon {
            visible: iconsMeta.hasCategory
            anchors.verticalCenter: parent.verticalCenter
            label: CategorySwatch {
                swatchColor: CategoryPalette.color(icons.task && icons.task.category
                                             ? icons.task.category.colorHex : "")
                filled: false
                size: 10
            }
            detail: Row {
                spacing: 5

                CategorySwatch {
                    anchors.verticalCenter: parent.verticalCenter
                    swatchColor: CategoryPalette.color(icons.task && icons.task.category
                                                 ? icons.task.category.colorHex : "")
                    filled: false
                    size: 10
                }
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    width: Math.min(implicitWidth, 240)
                    text: icons.task && icons.task.category ? icons.task.category.name : ""
                    elide: Text.ElideRight
                    font.pixelSize: 12
                    color: Radix.primaryText
                }
            }
        }
    }

    spacing: 6
    visible: meta.showsChips

    TaskMetaController {
        id: meta
        task: chips.task
        now: chips.now
    }

    // Chips are built only while they show: a long board makes a row for every task it
    // scrolls into view, and most rows show one chip or none.
    Loader {
        active: meta.hasReminder
        visible: active
        sourceComponent: Chip {
            completed: chips.task ? chips.task.completed : false
            fill: meta.reminderOverdue ? Radix.redA2 : Radix.amberA2
            rim: meta.reminderOverdue ? Radix.redA4 : Radix.amberA4

            ChipBody {
                symbol: "alarm"
                text: meta.reminderText
                ink: meta.reminderOverdue ? Radix.red11 : Radix.amber11
            }
        }
    }
    Loader {
        active: !meta.hasReminder && meta.hasVisibleDueDate
        visible: active
        sourceComponent: Chip {
            completed: chips.task ? chips.task.completed : false
            fill: meta.dateOverdue ? Radix.redA2 : Radix.sandA2
            rim: meta.dateOverdue ? Radix.redA4 : Radix.sandA4

            ChipBody {
                symbol: "calendar"
                text: meta.dateText
                ink: meta.dateOverdue ? Radix.red11 : Radix.sand11
            }
        }
    }
    Loader {
        id: listChip

        active: meta.hasCategory
        visible: active
        sourceComponent: Chip {
            completed: chips.task ? chips.task.completed : false

            Row {
                spacing: 5

                CategorySwatch {
                    anchors.verticalCenter: parent.verticalCenter
                    swatchColor: CategoryPalette.color(chips.task && chips.task.category
                                                 ? chips.task.category.colorHex : "")
                    filled: false
                    size: 10
                }
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    // The chip's own padding and the swatch take 29.
                    width: Math.min(implicitWidth,
                                    Math.max(24, chips.maximumWidth - listChip.x - 29))
                    text: chips.task && chips.task.category ? chips.task.category.name : ""
                    elide: Text.ElideRight
                    font.pixelSize: 12
                    color: Radix.sand11
                }
            }
        }
    }
}
