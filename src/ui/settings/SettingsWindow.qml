import QtQuick
import TavikUi

// The settings window: a band of tab buttons over the selected tab's view, both from the
// controller's list of tabs. The controller owns the window, picks the tab and sizes the
// window to the fitting size each view reports; this file only draws.
Window {
    id: settingsWindow

    required property SettingsWindowController controller

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
                model: settingsWindow.controller.tabs

                SettingsToolbarButton {
                    required property settingsTab modelData

                    objectName: "toolbarItem." + modelData.id
                    label: modelData.title
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
        anchors.top: toolbar.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        clip: true

        // Every tab's view, built once with the window; only the selected one shows. Each
        // sizes itself and reports that fitting size.
        Repeater {
            model: settingsWindow.controller.tabs

            Loader {
                id: tabView

                required property settingsTab modelData

                function reportSize() {
                    if (status === Loader.Ready)
                        settingsWindow.controller.reportContentSize(
                                    modelData.id, Qt.size(implicitWidth, implicitHeight))
                }

                objectName: "settingsTab." + modelData.id
                visible: settingsWindow.controller.currentTab === modelData.id
                Component.onCompleted: setSource(modelData.source,
                                                 { controller: settingsWindow.controller })
                onLoaded: reportSize()
                onImplicitWidthChanged: reportSize()
                onImplicitHeightChanged: reportSize()
            }
        }
    }
}
