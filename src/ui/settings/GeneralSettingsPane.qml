import QtQuick
import QtQuick.Layouts
import TavikUi

// The General tab: the cloud sync status and, under it, the sync account. The pane grows to
// fit its content, and the window with it.
Item {
    id: pane

    required property SettingsWindowController controller
    readonly property CloudSync cloudSync: controller.cloudSync

    implicitWidth: controller.tabWidth
    implicitHeight: Math.max(controller.generalHeight, form.implicitHeight + 2 * 20)

    onVisibleChanged: {
        if (visible)
            accountForm.focusFirstField()
    }

    ColumnLayout {
        id: form
        objectName: "generalForm"
        anchors.fill: parent
        anchors.margins: 20
        spacing: 10

        CloudSyncStatusSection {
            objectName: "cloudSyncStatusSection"
            Layout.fillWidth: true
            monitor: pane.cloudSync ? pane.cloudSync.monitor : null
        }
        CloudAccountForm {
            id: accountForm
            objectName: "cloudAccountForm"
            Layout.fillWidth: true
            visible: pane.controller.cloudAccount !== null
            account: pane.controller.cloudAccount
        }
        Item {
            Layout.fillHeight: true
        }
    }
}
