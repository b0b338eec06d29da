import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Templates as T
import TavikUi

// The AI tab: the switch, the key, the model and a test of the two. Every edit goes straight
// to the configuration; there is nothing to save. The test's outcome stays on show until
// the next test, and a test still running when the tab is left is dropped.
Item {
    id: pane

    required property SettingsWindowController controller
    property bool showKey: false
    readonly property AIConfig config: settings.config

    implicitWidth: controller.tabWidth
    implicitHeight: form.implicitHeight + 2 * form.anchors.margins

    AISettingsController {
        id: settings
    }

    onVisibleChanged: {
        if (!visible)
            settings.cancelTest()
    }

    component GroupBox: Rectangle {
        default property alias content: inner.data
        Layout.fillWidth: true
        implicitHeight: inner.implicitHeight + 2 * 2
        radius: 8
        color: Radix.controlBackground
        border.width: 1
        border.color: Radix.sandA4

        ColumnLayout {
            id: inner
            anchors.fill: parent
            anchors.margins: 2
            spacing: 0
        }
    }
    component FormRow: Item {
        id: formRow
        property string label
        default property alias control: slot.data
        Layout.fillWidth: true
        implicitHeight: 36

        Text {
            id: rowLabel
            x: 12
            anchors.verticalCenter: parent.verticalCenter
            text: formRow.label
            font.pixelSize: 14
            color: Radix.primaryText
        }
        Item {
            id: slot
            anchors.left: rowLabel.right
            anchors.leftMargin: 16
            anchors.right: parent.right
            anchors.rightMargin: 12
            anchors.top: parent.top
            anchors.bottom: parent.bottom
        }
    }
    component RowRule: Rectangle {
        Layout.fillWidth: true
        Layout.leftMargin: 12
        implicitHeight: 1
        color: Radix.sandA4
    }
    component Footer: Text {
        Layout.fillWidth: true
        Layout.leftMargin: 12
        Layout.rightMargin: 12
        Layout.bottomMargin: 8
        wrapMode: Text.Wrap
        font.pixelSize: 12
        color: Radix.secondaryText
        linkColor: Radix.accent
        onLinkActivated: link => Qt.openUrlExternally(link)

        HoverHandler {
            cursorShape: parent.hoveredLink.length > 0 ? Qt.PointingHandCursor : Qt.ArrowCursor
        }
    }
    component FormField: TextInput {
        property string placeholder
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        font.pixelSize: 14
        color: Radix.primaryText
        selectByMouse: true
        clip: true
        horizontalAlignment: TextInput.AlignRight

        Text {
            anchors.fill: parent
            visible: parent.text.length === 0 && !parent.inputMethodComposing
            text: parent.placeholder
            font: parent.font
            color: Radix.tertiaryText
            horizontalAlignment: Text.AlignRight
            elide: Text.ElideLeft
        }
    }

    ColumnLayout {
        id: form
        objectName: "aiForm"
        anchors.fill: parent
        anchors.margins: 10
        spacing: 6

        GroupBox {
            ReminderSwitch {
                id: enabledSwitch
                objectName: "aiEnabledSwitch"
                Layout.fillWidth: true
                Layout.margins: 10
                text: "启用 AI 整理"
                checked: pane.config ? pane.config.isEnabled : false
                onToggled: pane.config.isEnabled = checked
            }
        }
        Footer {
            text: "在输入框输入任务后，Tavik 会用 Gemini 自动整理出更简洁的标题，并拆分备注、时间和分类，在输入框上方给出可一键采纳的建议。"
        }

        Text {
            Layout.leftMargin: 12
            Layout.topMargin: 4
            text: "Gemini"
            font.pixelSize: 12
            font.weight: Font.DemiBold
            color: Radix.secondaryText
        }
        GroupBox {
            FormRow {
                label: "API Key"

                FormField {
                    id: keyField
                    objectName: "apiKeyField"
                    anchors.rightMargin: 28
                    echoMode: pane.showKey ? TextInput.Normal : TextInput.Password
                    text: pane.config ? pane.config.apiKey : ""
                    onTextEdited: pane.config.apiKey = text
                }
                T.AbstractButton {
                    id: eye
                    objectName: "showKeyButton"
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    width: 22
                    height: 22
                    focusPolicy: Qt.NoFocus
                    hoverEnabled: true
                    Accessible.name: pane.showKey ? "隐藏" : "显示"
                    ToolTip.visible: hovered
                    ToolTip.delay: 600
                    ToolTip.text: pane.showKey ? "隐藏" : "显示"
                    onClicked: pane.showKey = !pane.showKey
                    contentItem: SymbolIcon {
                        name: pane.showKey ? "eye.slash" : "eye"
                        size: 14
                        color: Radix.secondaryText
                    }
                }
            }
            RowRule {}
            FormRow {
                label: "模型"

                FormField {
                    objectName: "modelField"
                    text: pane.config ? pane.config.model : ""
                    placeholder: pane.config ? pane.config.defaultModel : ""
                    onTextEdited: pane.config.model = text
                }
            }
            RowRule {}
            FormRow {
                label: "接口"

                Text {
                    objectName: "endpointHost"
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    text: settings.endpointHost
                    font.pixelSize: 14
                    color: Radix.secondaryText
                }
            }
        }
        Footer {
            textFormat: Text.StyledText
            text: "在 <a href=\"https://aistudio.google.com/app/apikey\">Google AI Studio</a> 获取 API Key。模型留空则使用默认 "
                  + (pane.config ? pane.config.defaultModel : "") + "。"
        }

        GroupBox {
            Layout.topMargin: 4

            RowLayout {
                Layout.fillWidth: true
                Layout.margins: 10
                spacing: 8

                T.Button {
                    id: testButton
                    objectName: "testButton"
                    text: "测试连接"
                    enabled: settings.canTest
                    focusPolicy: Qt.NoFocus
                    hoverEnabled: true
                    horizontalPadding: 12
                    verticalPadding: 5
                    implicitWidth: implicitContentWidth + leftPadding + rightPadding
                    implicitHeight: implicitContentHeight + topPadding + bottomPadding
                    onClicked: settings.runTest()
                    contentItem: Text {
                        text: testButton.text
                        font.pixelSize: 14
                        color: testButton.enabled ? Radix.primaryText : Radix.tertiaryText
                    }
                    background: Rectangle {
                        radius: 6
                        color: Radix.sand1
                        border.width: 1
                        border.color: testButton.hovered && testButton.enabled ? Radix.sandA7
                                                                               : Radix.sandA4
                    }
                }
                BusyIndicator {
                    objectName: "testSpinner"
                    visible: settings.testState === AISettingsController.Testing
                    running: visible
                    Layout.preferredWidth: 18
                    Layout.preferredHeight: 18
                }
                Item {
                    Layout.fillWidth: true
                }
                Row {
                    id: testStatus
                    objectName: "testStatus"
                    readonly property bool success: settings.testState === AISettingsController.Success
                    readonly property bool failure: settings.testState === AISettingsController.Failure
                    readonly property color tint: success ? CategoryPalette.color("46A758")
                                                          : Radix.red11
                    Layout.maximumWidth: 300
                    visible: success || failure
                    spacing: 5

                    SymbolIcon {
                        anchors.top: parent.top
                        anchors.topMargin: 1
                        name: testStatus.success ? "checkmark.circle.fill"
                                                 : "exclamationmark.triangle.fill"
                        size: 14
                        color: testStatus.tint
                    }
                    Text {
                        id: statusText
                        objectName: "testStatusText"
                        width: Math.min(implicitWidth, 300 - 19)
                        text: settings.testText
                        font.pixelSize: 14
                        color: testStatus.tint
                        wrapMode: testStatus.failure ? Text.Wrap : Text.NoWrap
                        maximumLineCount: testStatus.failure ? 2 : 1
                        elide: Text.ElideRight

                        HoverHandler {
                            id: statusHover
                        }
                        ToolTip.visible: testStatus.failure && statusHover.hovered
                        ToolTip.text: settings.testText
                    }
                }
            }
        }
        Footer {
            text: "任务文本会发送到 Google Gemini 进行整理，请勿在任务中输入敏感信息。"
        }
    }
}
