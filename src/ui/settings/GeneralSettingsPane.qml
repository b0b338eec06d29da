import QtQuick
import TavikUi

// The General tab: a grouped form of fixed size. Its only section is the cloud sync status,
// shown when the app hands over a sync monitor; without one the form stays empty, at the
// same size.
Item {
    id: pane

    required property SettingsWindowController controller
    // The cloud sync monitor; null while the app has none.
    property QtObject syncMonitor: null

    implicitWidth: controller.tabWidth
    implicitHeight: controller.generalHeight

    Column {
        id: form
        objectName: "generalForm"
        anchors.fill: parent
        anchors.margins: 20
        spacing: 10

        // The sync status section goes here, fed with pane.syncMonitor.
    }
}
