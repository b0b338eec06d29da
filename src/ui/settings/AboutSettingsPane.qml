import QtQuick
import QtQuick.Layouts
import TavikUi

// The About tab: icon, name, tagline and version beside "检查更新", a rule, then the link.
// Its height follows the content; the insets are the tab container's.
Item {
    id: pane

    required property SettingsWindowController controller

    implicitWidth: controller.tabWidth
    implicitHeight: content.implicitHeight + content.anchors.topMargin + 24

    ColumnLayout {
        id: content
        anchors.top: parent.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.topMargin: 22
        anchors.leftMargin: 24
        anchors.rightMargin: 24
        spacing: 14

        RowLayout {
            objectName: "aboutHeader"
            Layout.fillWidth: true
            spacing: 14

            AppIcon {
                Layout.preferredWidth: 56
                Layout.preferredHeight: 56
                Layout.alignment: Qt.AlignVCenter
            }

            ColumnLayout {
                Layout.alignment: Qt.AlignVCenter
                spacing: 3

                Text {
                    objectName: "aboutName"
                    text: "Tavik"
                    font.pixelSize: 15
                    font.weight: Font.DemiBold
                    color: Radix.primaryText
                }
                Text {
                    objectName: "aboutTagline"
                    text: "轻盈的三栏任务看板"
                    font.pixelSize: 12
                    color: Radix.secondaryText
                }
                Text {
                    objectName: "aboutVersion"
                    text: pane.controller.versionLine
                    font.pixelSize: 11
                    color: Radix.secondaryText
                }
            }

            Item {
                Layout.fillWidth: true
            }

            RoundedBezelButton {
                objectName: "checkForUpdatesButton"
                Layout.alignment: Qt.AlignVCenter
                text: "检查更新"
                onClicked: pane.controller.checkForUpdatesPressed()
            }
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Radix.sandA4
        }

        RowLayout {
            // 16 after the rule instead of the column's 14.
            Layout.topMargin: 2
            spacing: 8

            AboutLinkButton {
                objectName: "followButton"
                text: "关注作者"
                onClicked: pane.controller.openFollow()
            }
        }
    }
}
