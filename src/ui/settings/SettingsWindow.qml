import QtQuick
import TavikUi

// The settings window: a band of tab buttons over the selected tab's view. The controller
// owns the window, picks the tab and sizes the window; this file only draws.
Window {
    id: settingsWindow

    required property SettingsWindowController controller

    // Each tab's view, built once. They hang outside the window until select() moves one
    // of them into the content host, so the other keeps its own fitting size.
    readonly property GeneralSettingsPane generalTab: GeneralSettingsPane {
        implicitWidth: settingsWindow.controller.tabWidth
        implicitHeight: settingsWindow.controller.generalHeight
    }
    readonly property AboutSettingsPane aboutTab: AboutSettingsPane {
        implicitWidth: settingsWindow.controller.tabWidth
        versionLine: settingsWindow.controller.versionLine
        onCheckForUpdatesPressed: settingsWindow.controller.checkForUpdatesPressed()
        onFollowPressed: settingsWindow.controller.openFollow()
    }

    color: Radix.appBackground

    Shortcut {
        sequences: [StandardKey.Close]
        onActivated: settingsWindow.close()
    }

    Rectangle {
        id: toolbar
        objectName: "toolbar"
        width: parent.width
        height: settingsWindow.controller.toolbarHeight
        color: Radix.sand1

        Row {
            anchors.centerIn: parent
            spacing: 4

            Repeater {
                model: settingsWindow.controller.toolbarItems

                SettingsToolbarButton {
                    required property var modelData

                    objectName: "toolbarItem." + modelData.id
                    label: modelData.label
                    symbol: modelData.symbol
                    selected: settingsWindow.controller.currentTab === modelData.id
                    onClicked: settingsWindow.controller.select(modelData.id)
                }
            }
        }

        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Radix.sandA4
        }
    }

    Item {
        objectName: "contentHost"
        anchors.top: toolbar.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        clip: true
    }
}
