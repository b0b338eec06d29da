import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import TavikUi

// The update dialog: the icon beside a headline and a line of detail, the release notes
// when a newer version is found, and the buttons of the moment. The controller decides the
// texts and owns the window.
Window {
    id: dialog

    required property UpdateDialogController controller

    readonly property bool checking: controller.state === UpdateDialogController.Checking
    readonly property bool found: controller.state === UpdateDialogController.UpdateFound

    // The height the content asks for; the controller sizes the window to it.
    readonly property int fittedHeight: Math.ceil(content.implicitHeight) + 2 * 20

    width: 440
    minimumWidth: width
    maximumWidth: width
    color: Radix.appBackground

    Shortcut {
        sequences: ["Escape", StandardKey.Close]
        onActivated: dialog.controller.cancel()
    }
    // Return presses the filled button.
    Shortcut {
        sequences: ["Return", "Enter"]
        enabled: !dialog.checking
        onActivated: dialog.found ? dialog.controller.openDownload() : dialog.controller.cancel()
    }

    ColumnLayout {
        id: content
        objectName: "dialogContent"
        x: 20
        y: 20
        width: dialog.width - 40
        spacing: 16

        RowLayout {
            Layout.fillWidth: true
            spacing: 14

            AppIcon {
                Layout.preferredWidth: 56
                Layout.preferredHeight: 56
                Layout.alignment: Qt.AlignTop
            }

            ColumnLayout {
                Layout.fillWidth: true
                Layout.alignment: Qt.AlignVCenter
                spacing: 6

                Text {
                    objectName: "headline"
                    Layout.fillWidth: true
                    text: dialog.controller.headline
                    font.pixelSize: 15
                    font.weight: Font.DemiBold
                    color: Radix.primaryText
                    wrapMode: Text.Wrap
                }
                Text {
                    objectName: "detail"
                    Layout.fillWidth: true
                    visible: text.length > 0
                    text: dialog.controller.detail
                    font.pixelSize: 13
                    color: dialog.controller.state === UpdateDialogController.Failed
                           ? Radix.red11 : Radix.secondaryText
                    textFormat: Text.PlainText
                    wrapMode: Text.Wrap
                }
                ProgressBar {
                    id: progress
                    objectName: "progress"
                    Layout.fillWidth: true
                    Layout.topMargin: 4
                    visible: dialog.checking
                    indeterminate: true

                    background: Rectangle {
                        implicitHeight: 4
                        radius: 2
                        color: Radix.sandA3
                    }
                    contentItem: Item {
                        clip: true

                        // A short bar that sweeps across while nothing is known of the end.
                        Rectangle {
                            id: sweep
                            width: parent.width * 0.3
                            height: parent.height
                            radius: 2
                            color: Radix.accent

                            NumberAnimation on x {
                                running: progress.visible
                                loops: Animation.Infinite
                                from: -sweep.width
                                to: progress.availableWidth
                                duration: 1100
                                easing.type: Easing.InOutQuad
                            }
                        }
                    }
                }
            }
        }

        ColumnLayout {
            objectName: "notesBox"
            Layout.fillWidth: true
            visible: dialog.found && dialog.controller.notes.length > 0
            spacing: 6

            Text {
                text: "更新说明"
                font.pixelSize: 12
                font.weight: Font.DemiBold
                color: Radix.secondaryText
            }

            Rectangle {
                Layout.fillWidth: true
                Layout.preferredHeight: Math.min(notesText.implicitHeight + 20, 160)
                radius: 6
                color: Radix.sand1
                border.width: 1
                border.color: Radix.sandA4

                ScrollView {
                    anchors.fill: parent
                    anchors.margins: 10
                    clip: true
                    contentWidth: availableWidth

                    Text {
                        id: notesText
                        objectName: "notes"
                        width: parent.width
                        text: dialog.controller.notes
                        textFormat: Text.PlainText
                        font.pixelSize: 13
                        color: Radix.primaryText
                        wrapMode: Text.Wrap
                    }
                }
            }
        }

        RowLayout {
            Layout.alignment: Qt.AlignRight
            spacing: 8

            RoundedBezelButton {
                objectName: "cancelButton"
                visible: dialog.checking || dialog.found
                text: dialog.checking ? "取消" : "稍后"
                onClicked: dialog.controller.cancel()
            }
            RoundedBezelButton {
                objectName: "downloadButton"
                visible: dialog.found
                prominent: true
                text: "前往下载"
                onClicked: dialog.controller.openDownload()
            }
            RoundedBezelButton {
                objectName: "okButton"
                visible: !dialog.checking && !dialog.found
                prominent: true
                text: "好"
                onClicked: dialog.controller.cancel()
            }
        }
    }
}
