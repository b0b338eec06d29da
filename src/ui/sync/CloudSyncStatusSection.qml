import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import TavikUi

// The sync state: a header, one row (icon, title, detail, a spinner while syncing) and the
// footer. All words come from the monitor; a null monitor reads as off.
ColumnLayout {
    id: section

    required property CloudSyncMonitor monitor
    readonly property int syncState: monitor ? monitor.state : CloudSyncMonitor.Off
    // The monitor's texts are computed; reading these ties them to its changes.
    readonly property string detailText: {
        if (!monitor)
            return ""
        monitor.state
        monitor.stateText
        monitor.lastSyncedAt
        monitor.lowPowerMode
        monitor.progressDone
        return monitor.detail()
    }

    spacing: 6

    Text {
        Layout.leftMargin: 12
        text: section.monitor ? section.monitor.header() : "云同步"
        font.pixelSize: 12
        font.weight: Font.DemiBold
        color: Radix.secondaryText
    }

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: row.implicitHeight + 2 * 10
        radius: 8
        color: Radix.controlBackground
        border.width: 1
        border.color: Radix.sandA4

        RowLayout {
            id: row
            objectName: "syncStatusRow"
            anchors.fill: parent
            anchors.leftMargin: 12
            anchors.rightMargin: 12
            anchors.topMargin: 2 + 8
            anchors.bottomMargin: 2 + 8
            spacing: 10

            SymbolIcon {
                objectName: "syncStatusIcon"
                name: section.syncState === CloudSyncMonitor.Off ? "icloud.slash"
                    : section.syncState === CloudSyncMonitor.Error ? "exclamationmark.icloud.fill"
                    : "checkmark.icloud.fill"
                size: 18
                color: section.syncState === CloudSyncMonitor.Off ? Radix.secondaryText
                     : section.syncState === CloudSyncMonitor.Error ? Radix.red11
                     : CategoryPalette.color("46A758")
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2

                Text {
                    objectName: "syncStatusTitle"
                    Layout.fillWidth: true
                    text: {
                        section.syncState
                        return section.monitor ? section.monitor.title() : "未开启"
                    }
                    font.pixelSize: 14
                    color: Radix.primaryText
                }
                Text {
                    objectName: "syncStatusDetail"
                    Layout.fillWidth: true
                    visible: text.length > 0
                    text: section.detailText
                    wrapMode: Text.Wrap
                    font.pixelSize: 14
                    color: Radix.secondaryText
                }
            }
            BusyIndicator {
                objectName: "syncSpinner"
                visible: section.syncState === CloudSyncMonitor.Syncing
                running: visible
                Layout.preferredWidth: 18
                Layout.preferredHeight: 18
            }
        }
    }

    Text {
        objectName: "syncFooter"
        Layout.fillWidth: true
        Layout.leftMargin: 12
        Layout.rightMargin: 12
        wrapMode: Text.Wrap
        text: {
            section.syncState
            return section.monitor ? section.monitor.footer()
                                   : "登录同步账户后，任务会自动在你的所有设备之间同步。"
        }
        font.pixelSize: 12
        color: Radix.secondaryText
    }
}
