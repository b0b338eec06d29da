import QtQuick
import QtQuick.Controls
import TavikUi

// One tab of the list strip. An unselected tab shows only its swatch (or the grid icon of
// 全部); the selected one adds its name. The selection pill is drawn by the strip.
Item {
    id: tab

    // Filled from the categories model; 全部 passes "" for both id and colour.
    required property string categoryId
    required property string name
    required property string colorHex

    property string selectedCategoryId: ""
    property bool hot: false
    property bool reduceMotion: false
    // The selected tab's name ends in an ellipsis past this width.
    property real maximumTitleWidth: Infinity
    // 全部 cannot be deleted, so it has no context menu.
    readonly property bool deletable: categoryId !== ""
    readonly property alias isSelected: tabState.isSelected
    readonly property alias menu: menu

    signal selectRequested(string categoryId)
    signal deleteRequested(string categoryId)

    CategoryTabController {
        id: tabState
        categoryId: tab.categoryId
        selectedCategoryId: tab.selectedCategoryId
        hot: tab.hot
    }

    implicitWidth: label.implicitWidth + 2 * tabState.horizontalPadding
    implicitHeight: label.implicitHeight + 10
    width: implicitWidth
    height: implicitHeight
    clip: true

    Behavior on width {
        enabled: !tab.reduceMotion
        SpringMotion {
            response: 0.28
            dampingFraction: 0.86
            epsilon: 0.25
        }
    }

    Accessible.role: Accessible.Button
    Accessible.name: tab.name

    // Under a drag the hovered tab gets a faint capsule; the selected one keeps its pill.
    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: Radix.sandA3
        visible: tabState.showsHotCapsule
    }

    Row {
        id: label
        x: tabState.horizontalPadding
        anchors.verticalCenter: parent.verticalCenter
        spacing: 5

        CategorySwatch {
            objectName: "swatch"
            anchors.verticalCenter: parent.verticalCenter
            visible: tab.colorHex !== ""
            swatchColor: CategoryPalette.color(tab.colorHex)
            filled: tabState.swatchFilled
            size: 10
        }
        SymbolIcon {
            anchors.verticalCenter: parent.verticalCenter
            visible: tab.colorHex === ""
            name: "square.grid.2x2"
            size: 11
            semibold: true
            color: tabState.isSelected ? Radix.sand12 : Radix.sand11
        }
        Text {
            objectName: "title"
            anchors.verticalCenter: parent.verticalCenter
            visible: tabState.isSelected
            width: Math.min(implicitWidth, Math.max(24, tab.maximumTitleWidth))
            text: tab.name
            elide: Text.ElideRight
            font.pixelSize: 14
            font.weight: Font.Medium
            color: Radix.sand12
            maximumLineCount: 1
        }
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        onClicked: mouse => {
            if (mouse.button === Qt.RightButton) {
                if (tab.deletable)
                    menu.popup(mouse.x, mouse.y);
                return;
            }
            tab.selectRequested(tab.categoryId);
        }
    }

    SymbolMenu {
        id: menu
        objectName: "tabMenu"

        SymbolMenuItem {
            objectName: "deleteItem"
            text: "删除清单"
            symbol: "trash"
            destructive: true
            // No question asked: the tab's menu is the confirmation.
            onTriggered: tab.deleteRequested(tab.categoryId)
        }
    }
}
