import QtQuick
import QtQuick.Controls
import TavikUi

// The plus button's popover: a colour button and a name field over the create button.
Popup {
    id: popover

    required property CategoryStripController controller

    readonly property alias nameField: nameField
    readonly property alias colorButton: colorButton
    readonly property alias colorPopover: colorPopover
    readonly property alias createButton: createButton

    readonly property color primary: Radix.primaryText
    readonly property bool nameFocused: nameField.activeFocus
    // An input method still composing counts as editing, even before focus settles.
    readonly property bool fieldEditing: nameField.inputMethodComposing

    width: 240
    x: Math.round((parent ? parent.width : 0) / 2 - width / 2)
    y: (parent ? parent.height : 0) + 6
    margins: 8
    padding: 14
    focus: true
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside

    background: CategoryPopoverSurface {}

    enter: Transition {
        NumberAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: 120
            easing.type: Easing.OutQuad
        }
    }

    contentItem: Column {
        spacing: 12

        Rectangle {
            id: nameRow
            width: parent.width
            height: 33
            radius: 8
            color: Qt.rgba(popover.primary.r, popover.primary.g, popover.primary.b,
                           popover.nameFocused || popover.fieldEditing ? 0.06
                                                                       : fieldHover.hovered ? 0.04 : 0)
            Behavior on color {
                ColorAnimation {
                    duration: 120
                    easing.type: Easing.OutQuad
                }
            }

            HoverHandler {
                id: fieldHover
            }

            Row {
                anchors.fill: parent
                leftPadding: 8
                rightPadding: 8
                spacing: 8

                Rectangle {
                    id: colorButton
                    objectName: "colorButton"
                    anchors.verticalCenter: parent.verticalCenter
                    width: 20
                    height: 20
                    radius: 6
                    color: swatchHover.hovered ? Radix.sandA3 : "transparent"
                    Behavior on color {
                        ColorAnimation {
                            duration: 120
                            easing.type: Easing.OutQuad
                        }
                    }
                    Accessible.role: Accessible.Button
                    Accessible.name: "颜色"

                    CategorySwatch {
                        anchors.centerIn: parent
                        swatchColor: CategoryPalette.color(popover.controller.draftColor)
                        filled: false
                        size: 12
                    }
                    HoverHandler {
                        id: swatchHover
                    }
                    MouseArea {
                        anchors.fill: parent
                        onClicked: popover.controller.openColorPicker()
                    }

                    CategoryColorPopover {
                        id: colorPopover
                        controller: popover.controller
                        // Back to the name, so Return still creates.
                        onClosed: {
                            popover.controller.closeColorPicker();
                            if (popover.opened)
                                nameField.forceActiveFocus();
                        }
                    }
                }

                TextInput {
                    id: nameField
                    objectName: "nameField"
                    anchors.verticalCenter: parent.verticalCenter
                    width: parent.width - parent.leftPadding - parent.rightPadding
                           - colorButton.width - parent.spacing
                    clip: true
                    font.pixelSize: 14
                    color: Radix.primaryText
                    selectionColor: Radix.accent
                    selectedTextColor: "white"
                    selectByMouse: true
                    text: popover.controller.draftName
                    onTextEdited: popover.controller.draftName = text
                    onAccepted: popover.controller.create()
                }
            }
        }

        AbstractButton {
            id: createButton
            objectName: "createButton"
            width: parent.width
            height: 33
            enabled: popover.controller.canCreate
            opacity: enabled ? 1 : 0.5
            focusPolicy: Qt.NoFocus
            onClicked: popover.controller.create()

            // A plain rounded surface in place of the interactive glass.
            background: Rectangle {
                radius: 12
                color: Qt.rgba(popover.primary.r, popover.primary.g, popover.primary.b,
                               createButton.pressed ? 0.12 : createButton.hovered ? 0.09 : 0.06)
                border.width: 1
                border.color: Radix.sandA4
                Behavior on color {
                    ColorAnimation {
                        duration: 120
                        easing.type: Easing.OutQuad
                    }
                }
            }
            contentItem: Text {
                text: "创建清单"
                font.pixelSize: 14
                font.weight: Font.Medium
                color: Radix.primaryText
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
            }
        }
    }

    // The popover's window takes the keyboard a moment after it appears; a second try
    // covers a field that was not ready yet.
    Timer {
        id: focusSoon
        interval: 50
        onTriggered: nameField.forceActiveFocus()
    }
    Timer {
        id: focusRetry
        interval: 300
        onTriggered: {
            if (!nameField.activeFocus)
                nameField.forceActiveFocus();
        }
    }

    Connections {
        target: popover.controller
        function onPickingColorChanged() {
            if (popover.controller.pickingColor)
                colorPopover.open();
            else
                colorPopover.close();
        }
    }

    onOpened: {
        focusSoon.restart();
        focusRetry.restart();
    }
    onClosed: {
        focusSoon.stop();
        focusRetry.stop();
        controller.dismiss();
    }
}
